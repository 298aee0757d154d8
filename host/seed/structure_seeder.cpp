#include "structure_seeder.h"

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

void StructureSeeder::take(const Node& root) {
  for (const Node& type : root.items_of("view_types")) {
    take_view_type(type);
  }
  for (const Node& type : root.items_of("note_types")) {
    ensure(type, "PSNoteType", {{"note_type_name", type.name()}});
  }
  for (const Node& rule : root.items_of("revision_rules")) {
    take_rule(rule);
  }
  for (const Node& structure : root.items_of("structures")) {
    take_structure(structure);
  }
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

void StructureSeeder::take_structure(const Node& node) {
  node.allow_only({"item", "revision", "view_type", "lines"}, workspace_members);
  const tag item = find_item(node.at("item"));
  const tag revision = find_revision_of(node.at("revision"), item);
  const tag view = take_view(node, item, view_type_of(node));
  const tag view_revision = take_view_revision(node, view, item, revision);
  Lines lines;
  const Node nodes = node.at("lines");
  for (const Node& line : nodes.items()) {
    take_line(line, lines);
  }
  std::vector<tag> children;
  for (const Scalar& child : lines.items) {
    children.push_back(std::get<tag>(child));
  }
  at_place(nodes, [&] { site_.structures().refuse_cycle(item, children); });
  put_lists(nodes, view_revision,
            {{"occurrence_numbers", lines.numbers},
             {"occurrence_items", lines.items},
             {"occurrence_revisions", lines.revisions},
             {"occurrence_quantities", lines.quantities},
             {"occurrence_sequences", lines.sequences},
             {"note_occurrences", lines.note_occurrences},
             {"note_types", lines.note_types},
             {"note_texts", lines.note_texts}});
}

tag StructureSeeder::take_view(const Node& node, tag item, tag view_type) {
  const Store::Criteria key = {{"parent_item", item}, {"view_type", view_type}};
  const tag known = store_.find_one("PSBOMView", key);
  if (known != NULLTAG) {
    return known;
  }
  Store::Criteria values = key;
  values.emplace_back("object_type", std::string("PSBOMView"));
  values.emplace_back("object_name", view_name(store_, item, NULLTAG, view_type));
  const tag view = make(node, "PSBOMView", values);
  take_owner(node, view);
  return view;
}

tag StructureSeeder::take_view_revision(const Node& node, tag view, tag item, tag revision) {
  Store::Criteria key = {{"bom_view", view}, {"structure_of", revision}};
  const tag known = store_.find_one("PSBOMViewRevision", key);
  key.emplace_back("object_name",
                   view_name(store_, item, revision, store_.reference(view, "view_type")));
  return take_workspace_object(node, known, type_of(node, "PSBOMViewRevision"), key);
}

void StructureSeeder::take_line(const Node& node, Lines& lines) {
  node.allow_only({"item", "revision", "quantity", "sequence", "notes"});
  const int number = static_cast<int>(lines.numbers.size()) + 1;
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
    node.refuse("the item has no revision \"" + node.text() + "\"");
  }
  return revision;
}

tag StructureSeeder::view_type_of(const Node& node) {
  const auto named = node.find("view_type");
  return named ? find(*named, "PSViewType", "view_type_name", "view type")
               : usual_view_type(store_);
}

}  // namespace host
