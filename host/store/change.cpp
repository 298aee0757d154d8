#include "change.h"

#include "failure.h"

namespace host {

tag Change::adopt(tag made) {
  made_.push_back(made);
  return made;
}

tag Change::create(const char* class_name, const Store::Criteria& values) {
  return adopt(store_.create(store_.class_named(class_name), values));
}

void Change::touch(tag object) {
  if (store_.state(object) == InstanceState::is_new || was_locked_.contains(object)) {
    return;
  }
  was_locked_.emplace(object, store_.is_locked(object));
  store_.lock(object);
  touched_.push_back(object);
}

void Change::set_values(tag object, const char* attribute, Values values) {
  touch(object);
  const auto touched = was_locked_.find(object);
  if (touched != was_locked_.end() && touched->second) {
    old_values_.push_back({object, attribute, store_.values(object, attribute)});
  }
  store_.set_values(object, attribute, std::move(values));
}

void Change::set(tag object, const char* attribute, Scalar value) {
  const bool is_none = value == Scalar(tag{NULLTAG}) || value == Scalar(date_s{});
  set_values(object, attribute, is_none ? Values() : Values{std::move(value)});
}

void Change::commit() {
  std::vector<tag> all = made_;
  all.insert(all.end(), touched_.begin(), touched_.end());
  store_.save(all);
  for (const tag object : all) {
    const auto touched = was_locked_.find(object);
    if (touched == was_locked_.end() || !touched->second) {
      store_.unlock(object);
    }
  }
  transaction_->commit();
  done_ = true;
}

Change::~Change() {
  if (!done_) {
    take_back();
  }
}

/** What it locked is read anew; what the caller had locked gets its old values. */
void Change::take_back() noexcept {
  const auto attempt = [](const auto& action) {
    try {
      action();
    } catch (const std::exception&) {
      // The site's file is out of reach; the operation has reported that.
    }
  };
  transaction_.reset();
  for (auto old = old_values_.rbegin(); old != old_values_.rend(); ++old) {
    attempt([&] { store_.set_values(old->object, old->attribute, old->values); });
  }
  for (const tag object : touched_) {
    if (!was_locked_.at(object)) {
      attempt([&] { store_.refresh(object, false); });
    }
  }
  for (const tag object : made_) {
    attempt([&] { store_.drop(object); });
  }
}

}  // namespace host
