#include "draft.h"

#include <algorithm>

#include "at_place.h"
#include "ork/store.h"

namespace host {

Draft::Draft(Store& store, const Class& type, tag known)
    : store_(store), type_(type), known_(known) {
  const auto begin_with = [this](const char* attribute, tag target) {
    const Attribute* const found = type_.find_attribute(attribute);
    if (found != nullptr && target != NULLTAG) {
      lists_.emplace_back(found, Values{target});
    }
  };
  if (is_new()) {
    begin_with("owning_user", store_.identity().user);
    begin_with("owning_group", store_.identity().group);
  }
}

void Draft::set(const Node& node, const char* attribute, const Scalar& value) {
  set_list(node, attribute, Store::single_value(value));
}

void Draft::set_list(const Node& node, const char* attribute, Values values) {
  const Attribute* const found = type_.find_attribute(attribute);
  at_place(node, [&] {
    if (found == nullptr) {
      refuse(STORE_unknown_attribute, type_.name + " has no " + attribute);
    }
    for (const Scalar& value : values) {
      Store::check_value(*found, value);
    }
  });
  const auto given = std::find_if(lists_.begin(), lists_.end(),
                                  [found](const auto& list) { return list.first == found; });
  if (given == lists_.end()) {
    lists_.emplace_back(found, std::move(values));
  } else {
    given->second = std::move(values);
  }
}

const Values& Draft::values(const char* attribute) const {
  static const Values none;
  const Attribute* const found = type_.find_attribute(attribute);
  for (const auto& [given, values] : lists_) {
    if (given == found) {
      return values;
    }
  }
  return is_new() ? none : store_.values(known_, attribute);
}

tag Draft::reference(const char* attribute) const {
  const Values& held = values(attribute);
  return held.empty() ? NULLTAG : std::get<tag>(held.front());
}

std::string Draft::text(const char* attribute) const {
  const Values& held = values(attribute);
  return held.empty() ? std::string() : std::get<std::string>(held.front());
}

tag Draft::take(const Node& node) {
  at_place(node, [&] {
    if (is_new()) {
      known_ = store_.insert(type_, lists_);
    } else {
      change();
    }
  });
  return known_;
}

void Draft::change() {
  const bool is_held = std::all_of(lists_.begin(), lists_.end(), [this](const auto& list) {
    return store_.values(known_, list.first->name) == list.second;
  });
  if (is_held) {
    return;
  }
  const LockGuard lock(store_, known_);
  const bool is_signed = std::any_of(lists_.begin(), lists_.end(), [](const auto& list) {
    return list.first->name == "last_mod_date";
  });
  std::optional<WithoutSigning> as_given;
  if (is_signed) {
    as_given.emplace(store_);
  }
  for (auto& [attribute, values] : lists_) {
    store_.set_values(known_, attribute->name, std::move(values));
  }
  store_.save(known_);
}

}  // namespace host
