#include "transients.h"

#include "failure.h"

namespace host {

namespace {

/** Of the process, so that a number is not used again by the next session. */
tag next_transient = first_transient;

}  // namespace

tag Transients::add(Transient& object) {
  if (next_transient > last_transient) {
    refuse(ORK_out_of_memory, "the process has used up its numbers for lines");
  }
  if (objects_.empty()) {
    first_ = next_transient;
  }
  objects_.push_back(&object);
  return next_transient++;
}

void Transients::remove(tag object) {
  if (find(object) == nullptr) {
    return;
  }
  objects_[object - first_] = nullptr;
  while (!objects_.empty() && objects_.front() == nullptr) {
    objects_.pop_front();
    ++first_;
  }
}

Transient* Transients::find(tag object) const {
  const bool is_known = object >= first_ && object - first_ < objects_.size();
  return is_known ? objects_[object - first_] : nullptr;
}

}  // namespace host
