#include "structures.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "bom_window.h"
#include "failure.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "site.h"

namespace host {

namespace {

// Attributes of view revisions. Named once, since they are looked up for each value of each line.
const std::string numbers = "occurrence_numbers";
const std::string items = "occurrence_items";
const std::string revisions = "occurrence_revisions";
const std::string quantities = "occurrence_quantities";
const std::string sequences = "occurrence_sequences";
const std::string note_occurrences = "note_occurrences";
const std::string note_types = "note_types";
const std::string note_texts = "note_texts";

void require_length(const std::string& text, std::size_t size, const char* what) {
  if (text.size() > size) {
    refuse(STRUCT_text_too_long, std::string("a ") + what + " has up to " + std::to_string(size) +
                                     " bytes, not " + std::to_string(text.size()));
  }
}

}  // namespace

void Occurrence::write(const std::string& attribute, const Scalar&) {
  refuse(STORE_unknown_attribute, "occurrences have no " + attribute);
}

// ---------------------------------------------------------------------------------- structure

void Structure::follow() {
  const std::uint64_t stamp = store_.stamp(view_revision_);
  if (stamp != stamp_) {
    rebuild();
    stamp_ = stamp;
  }
}

/** Handles of occurrences that are still there stay what they are. */
void Structure::rebuild() {
  std::unordered_map<int, Occurrence*> known;
  for (Occurrence* occurrence : in_order_) {
    known.emplace(occurrence->number_, occurrence);
    occurrence->position_ = Occurrence::gone;
  }
  in_order_.clear();
  for (const Scalar& value : store_.values(view_revision_, numbers)) {
    const int number = std::get<int>(value);
    Occurrence*& occurrence = known[number];
    if (occurrence == nullptr) {
      occurrence = all_.emplace_back(std::make_unique<Occurrence>(*this, number)).get();
    }
    occurrence->position_ = in_order_.size();
    in_order_.push_back(occurrence);
    last_number_ = std::max(last_number_, number);
  }
  for (const auto& [number, occurrence] : known) {
    if (occurrence->is_gone()) {
      drop(*occurrence);
    }
  }
}

/** Takes the handle back. The object stays, since lines may point to it. */
void Structure::drop(Occurrence& occurrence) {
  store_.transients().remove(occurrence.handle_);
  occurrence.handle_ = NULLTAG;
  occurrence.position_ = Occurrence::gone;
}

const std::vector<Occurrence*>& Structure::occurrences() {
  follow();
  return in_order_;
}

tag Structure::handle(Occurrence& occurrence) {
  if (occurrence.handle_ == NULLTAG) {
    occurrence.handle_ = store_.transients().add(occurrence);
  }
  return occurrence.handle_;
}

std::size_t Structure::position(const Occurrence& occurrence) {
  follow();
  if (occurrence.is_gone()) {
    refuse(STORE_deleted_tag, "occurrence " + std::to_string(occurrence.number_) + " of object " +
                                  std::to_string(view_revision_));
  }
  return occurrence.position_;
}

tag Structure::item(const Occurrence& occurrence) {
  const std::size_t place = position(occurrence);
  return std::get<tag>(store_.values(view_revision_, items)[place]);
}

tag Structure::revision(const Occurrence& occurrence) {
  const std::size_t place = position(occurrence);
  return std::get<tag>(store_.values(view_revision_, revisions)[place]);
}

const std::string& Structure::quantity(const Occurrence& occurrence) {
  const std::size_t place = position(occurrence);
  return std::get<std::string>(store_.values(view_revision_, quantities)[place]);
}

const std::string& Structure::sequence(const Occurrence& occurrence) {
  const std::size_t place = position(occurrence);
  return std::get<std::string>(store_.values(view_revision_, sequences)[place]);
}

void Structure::set_quantity(const Occurrence& occurrence, const std::string& quantity) {
  require_quantity(quantity);
  store_.set_element(view_revision_, quantities, position(occurrence), quantity);
  note_own_change();
}

void Structure::set_sequence(const Occurrence& occurrence, const std::string& sequence) {
  require_sequence(sequence);
  store_.set_element(view_revision_, sequences, position(occurrence), sequence);
  note_own_change();
}

Occurrence& Structure::add(tag item, tag revision) {
  follow();
  const int number = last_number_ + 1;
  store_.append(view_revision_, numbers, number);
  store_.append(view_revision_, items, item);
  store_.append(view_revision_, revisions, revision);
  store_.append(view_revision_, quantities, std::string());
  store_.append(view_revision_, sequences, std::string());
  Occurrence& added = *all_.emplace_back(std::make_unique<Occurrence>(*this, number));
  added.position_ = in_order_.size();
  in_order_.push_back(&added);
  last_number_ = number;
  note_own_change();
  return added;
}

void Structure::remove(Occurrence& occurrence) {
  const std::size_t place = position(occurrence);
  for (const std::string* list : {&numbers, &items, &revisions, &quantities, &sequences}) {
    store_.erase(view_revision_, *list, place);
  }
  for (std::size_t i = store_.values(view_revision_, note_occurrences).size(); i-- > 0;) {
    if (store_.values(view_revision_, note_occurrences)[i] == Scalar(occurrence.number_)) {
      erase_note(i);
    }
  }
  follow();
}

std::vector<std::pair<tag, std::string>> Structure::notes(const Occurrence& occurrence) {
  position(occurrence);  // says whether it is still there
  const Values& of = store_.values(view_revision_, note_occurrences);
  const Values& types = store_.values(view_revision_, note_types);
  const Values& texts = store_.values(view_revision_, note_texts);
  std::vector<std::pair<tag, std::string>> found;
  for (std::size_t i = 0; i < of.size(); ++i) {
    if (std::get<int>(of[i]) == occurrence.number_) {
      found.emplace_back(std::get<tag>(types[i]), std::get<std::string>(texts[i]));
    }
  }
  return found;
}

void Structure::set_note(const Occurrence& occurrence, tag note_type, const std::string& text) {
  require_length(text, STRUCT_note_size, "note");
  position(occurrence);
  const Values& of = store_.values(view_revision_, note_occurrences);
  const Values& types = store_.values(view_revision_, note_types);
  std::size_t index = 0;
  while (index < of.size() && (std::get<int>(of[index]) != occurrence.number_ ||
                               std::get<tag>(types[index]) != note_type)) {
    ++index;
  }
  if (index < of.size()) {
    if (text.empty()) {
      erase_note(index);
    } else {
      store_.set_element(view_revision_, note_texts, index, text);
    }
  } else if (!text.empty()) {
    store_.append(view_revision_, note_occurrences, occurrence.number_);
    store_.append(view_revision_, note_types, note_type);
    store_.append(view_revision_, note_texts, text);
  }
  note_own_change();
}

void Structure::erase_note(std::size_t index) {
  for (const std::string* list : {&note_occurrences, &note_types, &note_texts}) {
    store_.erase(view_revision_, *list, index);
  }
}

void require_sequence(const std::string& text) {
  require_length(text, STRUCT_sequence_size, "sequence number");
}

namespace {

/** Reads a number that is not negative; false when the text is none. */
bool parse_quantity(const std::string& text, double* number) {
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, *number, std::chars_format::fixed);
  return error == std::errc() && rest == end && std::isfinite(*number) && *number >= 0;
}

}  // namespace

void require_quantity(const std::string& text) {
  require_length(text, STRUCT_quantity_size, "quantity");
  double ignored = 0;
  if (!text.empty() && !parse_quantity(text, &ignored)) {
    refuse(STRUCT_bad_quantity, text);
  }
}

double number_of_quantity(const std::string& text) {
  double number = 1;
  return !text.empty() && parse_quantity(text, &number) ? number : 1;
}

// --------------------------------------------------------------------------------- structures

Structures::Structures(Store& store) : store_(store) {}
Structures::~Structures() = default;

Structure& Structures::of(tag view_revision) {
  std::unique_ptr<Structure>& structure = structures_[view_revision];
  if (structure == nullptr) {
    if (!store_.is_a(view_revision, "PSBOMViewRevision")) {
      refuse(STRUCT_not_a_view_revision, "object " + std::to_string(view_revision));
    }
    structure = std::make_unique<Structure>(store_, view_revision);
  }
  return *structure;
}

void Structures::refuse_cycle(tag item, const std::vector<tag>& children) {
  const std::unordered_set<tag> parts(children.begin(), children.end());
  std::unordered_set<tag> seen{item};
  std::vector<tag> to_do{item};
  while (!to_do.empty()) {
    const tag above = to_do.back();
    to_do.pop_back();
    if (parts.contains(above)) {
      refuse(STRUCT_contains_itself, "item " + store_.text(item, "item_id") +
                                         " is a part of item " + store_.text(above, "item_id"));
    }
    for (const tag next : items_above(above)) {
      if (seen.insert(next).second) {
        to_do.push_back(next);
      }
    }
  }
}

namespace {

/** An item on the way down, with those below it that are still to be looked at. */
struct Step {
  tag item;
  std::vector<tag> to_do;
};

}  // namespace

/** Goes down from each item once; what is met again on the way down is a part of itself. */
void Structures::find_cycles(const std::vector<tag>& from, const SeeCycle& see) {
  std::unordered_map<tag, bool> is_on_the_way; /**< of all items that were met */
  std::vector<Step> way;
  const auto enter = [&](tag item) {
    is_on_the_way[item] = true;
    way.push_back({item, items_below(item)});
  };
  for (const tag first : from) {
    if (!is_on_the_way.contains(first)) {
      enter(first);
    }
    while (!way.empty()) {
      Step& step = way.back();
      if (step.to_do.empty()) {
        is_on_the_way[step.item] = false;
        way.pop_back();
        continue;
      }
      const tag below = step.to_do.back();
      step.to_do.pop_back();
      const auto met = is_on_the_way.find(below);
      if (met == is_on_the_way.end()) {
        enter(below);
      } else if (met->second) {
        std::vector<tag> cycle;
        for (auto above = way.rbegin(); cycle.empty() || cycle.back() != below; ++above) {
          cycle.push_back(above->item);
        }
        std::reverse(cycle.begin(), cycle.end());
        see(cycle);
      }
    }
  }
}

/** The items of an item's saved structures, of all its revisions and views, each once. */
std::vector<tag> Structures::items_below(tag item) {
  static const std::string class_name = "PSBOMViewRevision";
  const Attribute& children = *store_.class_named(class_name).find_attribute(items);
  std::vector<tag> below;
  store_.for_each("PSBOMView", {{"parent_item", item}}, [&](tag view, const Class&) {
    store_.for_each(class_name, {{"bom_view", view}}, [&](tag view_revision, const Class&) {
      const std::vector<tag> more = store_.saved_references(view_revision, children);
      below.insert(below.end(), more.begin(), more.end());
      return true;
    });
    return true;
  });
  std::sort(below.begin(), below.end());
  below.erase(std::unique(below.begin(), below.end()), below.end());
  return below;
}

/** Items that have an item as a child, as saved or as changed by this process. */
std::vector<tag> Structures::items_above(tag item) {
  std::vector<tag> above;
  for (const tag user : store_.find("PSBOMViewRevision", {{items, item}})) {
    above.push_back(item_of_view_revision(store_, user));
  }
  for (Structure* structure : unsaved_) {
    if (!store_.exists(structure->view_revision())) {
      continue;
    }
    const Values& children = store_.values(structure->view_revision(), items);
    if (std::find(children.begin(), children.end(), Scalar(item)) != children.end()) {
      above.push_back(item_of_view_revision(store_, structure->view_revision()));
    }
  }
  return above;
}

Window& Structures::open_window() {
  auto window = std::make_unique<Window>(store_, *this);
  Window& opened = *window;
  windows_.emplace(opened.handle(), std::move(window));
  return opened;
}

void Structures::close_window(Window& window) {
  window.close();
  windows_.erase(window.handle());
}

// -------------------------------------------------------------------------------------- views

tag default_view_type(Store& store) {
  const auto name = store.setting("default_view_type");
  return name ? store.find_one("PSViewType", {{"view_type_name", *name}}) : NULLTAG;
}

tag usual_view_type(Store& store) {
  const tag type = default_view_type(store);
  return type != NULLTAG ? type
                         : store.find_one("PSViewType", {{"view_type_name", std::string("view")}});
}

tag item_of_view_revision(Store& store, tag view_revision) {
  return store.reference(store.reference(view_revision, "bom_view"), "parent_item");
}

std::string view_name(Store& store, tag item, tag revision, tag view_type) {
  std::string name = store.text(item, "item_id");
  if (revision != NULLTAG) {
    name += "/" + store.text(revision, "item_revision_id");
  }
  return name + "-" + store.text(view_type, "view_type_name");
}

}  // namespace host
