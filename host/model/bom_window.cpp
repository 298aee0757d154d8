#include "bom_window.h"

#include <algorithm>
#include <cstdio>

#include "access.h"
#include "failure.h"
#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/store.h"
#include "ork/struct.h"

namespace host {

namespace {

/** Sums of decimal fractions are decimal fractions again, in as many digits as quantities have. */
std::string quantity_text(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.12g", number);
  return text;
}

void put(tag object, Values* values) {
  if (object != NULLTAG) {
    values->emplace_back(object);
  }
}

}  // namespace

// --------------------------------------------------------------------------------------- line

void Line::read(const std::string& attribute, Values* values) {
  if (attribute == "bl_revision") {
    put(part_->revision, values);
  } else if (attribute == "bl_item") {
    put(part_->item, values);
  } else if (attribute == "bl_sequence_no") {
    values->emplace_back(sequence());
  } else if (attribute == "bl_quantity") {
    values->emplace_back(quantity());
  } else if (attribute == "bl_item_item_id") {
    values->emplace_back(window_->store_.text(part_->item, "item_id"));
  } else if (attribute == "bl_rev_item_revision_id") {
    if (part_->revision != NULLTAG) {
      values->emplace_back(window_->store_.text(part_->revision, "item_revision_id"));
    }
  } else if (part_->occurrence != nullptr) {
    Structure& structure = part_->occurrence->structure();
    put(attribute == "bl_occurrence" ? structure.handle(*part_->occurrence)
                                     : structure.view_revision(),
        values);
  }
}

std::string Line::sequence() const {
  const Occurrence* occurrence = part_->occurrence;
  return occurrence != nullptr ? occurrence->structure().sequence(*occurrence) : std::string();
}

std::string Line::quantity() const {
  const Occurrence* occurrence = part_->occurrence;
  if (occurrence == nullptr) {
    return {};
  }
  const std::string& own = occurrence->structure().quantity(*occurrence);
  if (packed_.empty()) {
    return own;
  }
  double sum = number_of_quantity(own);
  for (const Line* line : packed_) {
    const Occurrence& other = *line->part_->occurrence;
    sum += number_of_quantity(other.structure().quantity(other));
  }
  return quantity_text(sum);
}

void Line::write(const std::string& attribute, const Scalar& value) {
  const bool is_quantity = attribute == "bl_quantity";
  const bool stands_for_one = part_->occurrence != nullptr && packed_.empty();
  if (attribute == "bl_sequence_no" && part_->occurrence != nullptr) {
    set_sequence(std::get<std::string>(value));
  } else if (is_quantity && stands_for_one) {
    set_quantity(std::get<std::string>(value));
  } else {
    refuse(BOMW_not_settable, attribute);
  }
}

void Line::set_sequence(const std::string& text) {
  require_sequence(text);
  Structure& structure = window_->changeable(part_->occurrence->structure());
  structure.set_sequence(*part_->occurrence, text);
  for (const Line* line : packed_) {
    structure.set_sequence(*line->part_->occurrence, text);
  }
}

void Line::set_quantity(const std::string& text) {
  require_quantity(text);
  window_->changeable(part_->occurrence->structure()).set_quantity(*part_->occurrence, text);
}

const std::vector<tag>& Line::children() {
  static const std::vector<tag> none;
  if (!is_opened_) {
    open();
  }
  return below_ != nullptr ? below_->shown : none;
}

void Line::open() {
  const tag view_revision = window_->view_revision_of(part_->revision);
  if (view_revision != NULLTAG) {
    refuse_cycle();
    require_privilege(view_revision, ACCESS_privilege_read);
    below_ = &window_->add_block(this, window_->parts_of(view_revision));
  }
  is_opened_ = true;
}

/** Nobody can build a structure that contains itself alone, but two processes at once can. */
void Line::refuse_cycle() const {
  for (const Line* above = parent_; above != nullptr; above = above->parent_) {
    if (above->part_->item == part_->item) {
      refuse(STRUCT_contains_itself,
             "item " + window_->store_.text(part_->item, "item_id") + " is above itself");
    }
  }
}

std::uint64_t Line::revision_key() const {
  return std::uint64_t{part_->item} << 32U | part_->revision;
}

void Line::pack() {
  if (parent_ == nullptr || packed_into_ != nullptr) {
    return;
  }
  LineBlock& block = *parent_->below_;
  if (block.by_revision.empty()) {
    for (Line& line : block.lines) {
      block.by_revision[line.revision_key()].push_back(&line);
    }
  }
  const std::vector<Line*>& equal = block.by_revision[revision_key()];
  if (equal.size() == 1) {
    return;
  }
  const std::string own = sequence();
  const std::size_t packed = packed_.size();
  for (Line* line : equal) {
    if (line != this && line->packed_into_ == nullptr && line->sequence() == own) {
      take_in(*line);
    }
  }
  if (packed_.size() != packed) {
    std::erase_if(block.shown, [this](tag shown) {
      const Line& line = static_cast<Line&>(*window_->store_.find_transient(shown));
      return line.packed_into_ != nullptr;
    });
  }
}

/** Hides a line, with those that it stands for. */
void Line::take_in(Line& line) {
  line.packed_into_ = this;
  packed_.push_back(&line);
  for (Line* inner : line.packed_) {
    inner->packed_into_ = this;
    packed_.push_back(inner);
  }
  line.packed_.clear();
}

// ------------------------------------------------------------------------------------- window

Window::Window(Store& store, Structures& structures) : store_(store), structures_(structures) {
  handle_ = store.transients().add(*this);
}

void Window::write(const std::string& attribute, const Scalar&) {
  refuse(STORE_unknown_attribute, "windows have no " + attribute);
}

void Window::show(tag revision, tag view_type, tag rule) {
  Configurator configurator(store_, rule);
  forget_lines();
  view_type_ = view_type;
  configurator_.emplace(std::move(configurator));
  view_revisions_.emplace(store_, "PSBOMViewRevision", "structure_of");
  Part top;
  top.item = store_.reference(revision, "item_tag");
  top.revision = revision;
  top_part_.assign(1, top);
  add_block(nullptr, top_part_);
}

Line& Window::top_line() {
  if (blocks_.empty()) {
    refuse(BOMW_no_top_line, "object " + std::to_string(handle_));
  }
  return blocks_.front()->lines.front();
}

LineBlock& Window::add_block(Line* parent, const Parts& parts) {
  LineBlock& block = *blocks_.emplace_back(std::make_unique<LineBlock>());
  block.lines.reserve(parts.size());  // lines stay where they are: others point to them
  block.shown.reserve(parts.size());
  for (const Part& part : parts) {
    Line& line = block.lines.emplace_back(*this, parent, part);
    line.handle_ = store_.transients().add(line);
    block.shown.push_back(line.handle_);
  }
  return block;
}

void Window::forget_lines() {
  for (const auto& block : blocks_) {
    for (const Line& line : block->lines) {
      store_.transients().remove(line.handle_);
    }
  }
  blocks_.clear();
  parts_.clear();
  view_revision_known_.clear();
}

/** The structure of a revision that is of the window's view type, or NULLTAG. */
tag Window::view_revision_of(tag revision) {
  if (revision == NULLTAG) {
    return NULLTAG;
  }
  const auto [known, is_new] = view_revision_known_.try_emplace(revision, NULLTAG);
  if (is_new) {
    for (const tag candidate : view_revisions_->of(revision)) {
      const tag view = store_.reference(candidate, "bom_view");
      if (store_.reference(view, "view_type") == view_type_) {
        known->second = candidate;
      }
    }
  }
  return known->second;
}

const Window::Parts& Window::parts_of(tag view_revision) {
  const auto [known, is_new] = parts_.try_emplace(view_revision);
  if (!is_new) {
    return known->second;
  }
  Parts parts;
  Structure& structure = structures_.of(view_revision);
  for (Occurrence* occurrence : structure.occurrences()) {
    Part& part = parts.emplace_back();
    part.occurrence = occurrence;
    part.item = structure.item(*occurrence);
    part.revision = structure.revision(*occurrence);
    if (part.revision == NULLTAG) {
      part.revision = configurator_->revision_of(part.item);
    }
  }
  known->second = std::move(parts);
  return known->second;
}

/** Locks a view revision for a change, once. */
Structure& Window::changeable(Structure& structure) {
  const tag view_revision = structure.view_revision();
  if (!store_.is_locked(view_revision)) {
    require_privilege(view_revision, ACCESS_privilege_write);
    store_.lock(view_revision);
    locked_.insert(view_revision);
  }
  changed_.insert(view_revision);
  return structure;
}

void Window::save() {
  store_.save({changed_.begin(), changed_.end()});
  changed_.clear();
}

void Window::close() {
  forget_lines();
  store_.transients().remove(handle_);
  for (const tag view_revision : locked_) {
    try {
      store_.refresh(view_revision, false);
    } catch (const Failure&) {
      // It was deleted in the meantime.
    }
  }
}

}  // namespace host
