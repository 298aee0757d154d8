#include "structure_seeder.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "object_id.h"
#include "revision_rules.h"
#include "structures.h"

namespace host {

namespace {

/** A text, or a whole number in place of its text. */
std::string text_or_number(const Node& node) {
  return node.is_text() ? node.text()
                        : std::to_string(node.number_up_to(std::numeric_limits<int>::max()));
}

std::string optional_text(const Node& owner, const char* member) {
  const auto node = owner.find(member);
  return node ? text_or_number(*node) : std::string();
}

}  // namespace

void StructureSeeder::take_definitions(const Node& root) {
  each_of(root, "view_types", [this](const Node& type) { take_view_type(type); });
  each_of(root, "note_types", [this](const Node& type) {
    if (!type.is_text()) {
      type.allow_only({"name"});
    }
    const Node name = type.is_text() ? type : type.at("name");
    ensure(name, "PSNoteType", {{"note_type_name", name.name()}});
  });
  each_of(root, "revision_rules", [this](const Node& rule) { take_rule(rule); });
}

void StructureSeeder::take_view_type(const Node& node) {
  if (!node.is_text()) {
    node.allow_only({"name", "default"});
  }
  const Node name = node.is_text() ? node : node.at("name");
  ensure(name, "PSViewType", {{"view_type_name", name.name()}});
  const auto is_default = node.is_text() ? std::nullopt : node.find("default");
  if (is_default && is_default->logical_value()) {
    store_.set_setting("default_view_type", name.name());
  }
}

void StructureSeeder::take_rule(const Node& node) {
  node.allow_only({"name", "clauses"});
  const Node name = node.at("name");
  const tag rule = ensure(name, "RevisionRule", {{"rule_name", name.name()}});
  Values clauses;
  for (const Node& clause : node.at("clauses").items()) {
    clauses.emplace_back(clause_of(clause));
  }
  put_list(node, rule, "clauses", clauses);
}

/** "latest", or {"status": name}. */
std::string StructureSeeder::clause_of(const Node& node) {
  if (node.is_object()) {
    node.allow_only({"status"});
    return status_clause(node.at("status").name());
  }
  if (node.text() != latest_clause) {
    node.refuse("expected \"latest\" or {\"status\": name}");
  }
  return latest_clause;
}

/** The lines are one value: those of the seed take the place of the ones that are there. */
void StructureSeeder::take_structure(const Node& node, std::size_t number) {
  node.allow_only({"item", "revision", "view_type", "view", "lines"}, workspace_members);
  const tag item = find_item(node.at("item"));
  const tag revision = find_revision_of(node.at("revision"), item);
  const tag view = take_view(node, item, view_type_of(node));
  Lines lines;
  const Node nodes = node.at("lines");
  int line_number = 0;
  each(nodes.items(), [&](const Node& line) { take_line(line, ++line_number, lines); });
  const tag view_revision = take_view_revision(node, view, item, revision, lines);
  taken_.push_back({item, view_revision, number, node.part().begin});
}

void StructureSeeder::check_cycles(const SeedText& text) {
  std::vector<tag> items;
  for (const Taken& structure : taken_) {
    items.push_back(structure.item);
  }
  site_.structures().find_cycles(items, [&](const std::vector<tag>& cycle) {
    tag child = NULLTAG;
    const Taken& last = last_of(cycle, &child);
    run_.faults.add(text.fault_at(
        last.begin, {"structures", std::to_string(last.number)}, {"lines"},
        error_text(STRUCT_contains_itself) + ": item " + store_.text(last.item, "item_id") +
            " is a part of item " + store_.text(child, "item_id")));
  });
}

/** Of the structures that make up a cycle, the one that is last in the seed. */
const StructureSeeder::Taken& StructureSeeder::last_of(const std::vector<tag>& cycle, tag* child) {
  const Attribute& items =
      *store_.class_named("PSBOMViewRevision").find_attribute("occurrence_items");
  for (auto taken = taken_.rbegin(); taken != taken_.rend(); ++taken) {
    const auto found = std::find(cycle.begin(), cycle.end(), taken->item);
    if (found == cycle.end()) {
      continue;
    }
    *child = std::next(found) == cycle.end() ? cycle.front() : *std::next(found);
    const std::vector<tag> children = store_.saved_references(taken->view_revision, items);
    if (std::find(children.begin(), children.end(), *child) != children.end()) {
      return *taken;
    }
  }
  refuse(ORK_internal_error, "a cycle of structures that were not seeded");
}

tag StructureSeeder::take_view(const Node& node, tag item, tag view_type) {
  const Store::Criteria key = {{"parent_item", item}, {"view_type", view_type}};
  const tag known = store_.find_one("PSBOMView", key);
  if (const auto view = node.find("view")) {
    view->allow_only({}, workspace_members);
    Store::Criteria values = key;
    values.emplace_back("object_name", view_name(store_, item, NULLTAG, view_type));
    return take_workspace_object(*view, known, type_of(*view, "PSBOMView"), values);
  }
  if (known != NULLTAG) {
    return known;
  }
  Store::Criteria values = key;
  values.emplace_back("object_type", std::string("PSBOMView"));
  values.emplace_back("object_name", view_name(store_, item, NULLTAG, view_type));
  Draft view(store_, store_.class_named("PSBOMView"), NULLTAG);
  for (const auto& [attribute, value] : values) {
    view.set(node, attribute.c_str(), value);
  }
  take_owner(node, view);
  return view.take(node);
}

tag StructureSeeder::take_view_revision(const Node& node, tag view, tag item, tag revision,
                                        const Lines& lines) {
  Store::Criteria key = {{"structure_of", revision}, {"bom_view", view}};
  const tag known = store_.find_one("PSBOMViewRevision", key);
  key.emplace_back("object_name",
                   view_name(store_, item, revision, store_.reference(view, "view_type")));
  const Node place = node.at("lines");
  return take_workspace_object(node, known, type_of(node, "PSBOMViewRevision"), key,
                               [&](Draft& draft) {
                                 draft.set_list(place, "occurrence_numbers", lines.numbers);
                                 draft.set_list(place, "occurrence_items", lines.items);
                                 draft.set_list(place, "occurrence_revisions", lines.revisions);
                                 draft.set_list(place, "occurrence_quantities", lines.quantities);
                                 draft.set_list(place, "occurrence_sequences", lines.sequences);
                                 draft.set_list(place, "note_occurrences", lines.note_occurrences);
                                 draft.set_list(place, "note_types", lines.note_types);
                                 draft.set_list(place, "note_texts", lines.note_texts);
                               });
}

void StructureSeeder::take_line(const Node& node, int number, Lines& lines) {
  node.allow_only({"item", "revision", "quantity", "sequence", "notes"});
  const tag item = find_item(node.at("item"));
  const auto revision = node.find("revision");
  const std::string quantity = optional_text(node, "quantity");
  const std::string sequence = optional_text(node, "sequence");
  at_place(node, [&] {
    require_quantity(quantity);
    require_sequence(sequence);
  });
  lines.numbers.emplace_back(number);
  lines.items.emplace_back(item);
  lines.revisions.emplace_back(revision ? find_revision_of(*revision, item) : NULLTAG);
  lines.quantities.emplace_back(quantity);
  lines.sequences.emplace_back(sequence);
  if (const auto notes = node.find("notes")) {
    take_notes(*notes, number, lines);
  }
}

void StructureSeeder::take_notes(const Node& node, int number, Lines& lines) {
  for (const auto& [type_name, text] : node.members()) {
    const tag type = store_.find_one("PSNoteType", {{"note_type_name", type_name}});
    if (type == NULLTAG) {
      text.refuse("there is no note type \"" + type_name + "\"");
    }
    lines.note_occurrences.emplace_back(number);
    lines.note_types.emplace_back(type);
    lines.note_texts.emplace_back(text.name());
  }
}

tag StructureSeeder::find_item(const Node& node) {
  tag& item = items_[node.name()];
  if (item == NULLTAG) {
    item = find(node, "Item", "item_id", "item");
  }
  return item;
}

tag StructureSeeder::find_revision_of(const Node& node, tag item) {
  const tag revision = find_revision(store_, item, node.name());
  if (revision == NULLTAG) {
    refuse_unknown(node, "the item has no revision \"" + node.text() + "\"");
  }
  return revision;
}

tag StructureSeeder::view_type_of(const Node& node) {
  const auto named = node.find("view_type");
  return named ? find(*named, "PSViewType", "view_type_name", "view type")
               : usual_view_type(store_);
}

}  // namespace host
