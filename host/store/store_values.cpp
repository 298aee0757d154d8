// The values of instances in memory.

#include <cmath>
#include <iterator>

#include "failure.h"
#include "ork/store.h"
#include "store.h"
#include "stored_values.h"

namespace host {

namespace {

bool is_no_value(const Scalar& value) {
  if (const auto* reference = std::get_if<tag>(&value)) {
    return *reference == NULLTAG;
  }
  if (const auto* date = std::get_if<date_s>(&value)) {
    return *date == date_s{};
  }
  return false;
}

/** Whether a text names a file and leads to no other folder, on whatever system. */
bool is_file_name(const std::string& text) {
  return text != "." && text != ".." && text.find_first_of("/\\") == std::string::npos;
}

}  // namespace

void Store::check_value(const Attribute& attribute, const Scalar& value) {
  if (value.index() != static_cast<std::size_t>(attribute.kind)) {
    refuse(STORE_wrong_value_type, attribute.name);
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (text->size() > static_cast<std::size_t>(attribute.max_length)) {
      refuse(STORE_value_too_long, attribute.name + " takes " +
                                       std::to_string(attribute.max_length) + " bytes, not " +
                                       std::to_string(text->size()));
    }
    if (attribute.is_file_name && !is_file_name(*text)) {
      refuse(ORK_invalid_argument,
             attribute.name + " takes the name of a file, without a path: \"" + *text + "\"");
    }
  }
  if (const auto* real = std::get_if<double>(&value); real != nullptr && !std::isfinite(*real)) {
    refuse(ORK_invalid_argument, attribute.name + " takes finite numbers only");
  }
}

Store::Slot& Store::slot_of(Instance& instance, const std::string& attribute,
                            const Attribute** definition) {
  const Class& type = *instance.type;
  const auto found = type.slot_by_name.find(attribute);
  if (found == type.slot_by_name.end()) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  if (definition != nullptr) {
    *definition = type.slots[found->second];
  }
  // The class may have got attributes since the instance was loaded.
  if (instance.slots.size() < type.slots.size()) {
    instance.slots.resize(type.slots.size());
  }
  return instance.slots[found->second];
}

const Values& Store::transient_values(Transient& object, const std::string& attribute) {
  const Class& type = class_named(object.class_name());
  if (type.find_attribute(attribute) == nullptr) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  transient_values_.clear();
  object.read(attribute, &transient_values_);
  return transient_values_;
}

const Values& Store::values(tag object, const std::string& attribute) {
  if (Transient* transient = find_transient(object)) {
    return transient_values(*transient, attribute);
  }
  return slot_of(loaded(object), attribute, nullptr).values;
}

const std::string& Store::text(tag object, const std::string& attribute) {
  static const std::string none;
  const Values& held = values(object, attribute);
  return held.empty() ? none : std::get<std::string>(held.front());
}

template <typename Value>
Value Store::single(tag object, const std::string& attribute) {
  const Values& held = values(object, attribute);
  return held.empty() ? Value{} : std::get<Value>(held.front());
}

tag Store::reference(tag object, const std::string& attribute) {
  return single<tag>(object, attribute);
}

tag Store::required_reference(tag object, const std::string& attribute) {
  const tag target = reference(object, attribute);
  if (target == NULLTAG) {
    refuse_damage(object, attribute, "it refers to nothing");
  }
  return target;
}

bool Store::logical_value(tag object, const std::string& attribute) {
  return single<bool>(object, attribute);
}

int Store::integer(tag object, const std::string& attribute) {
  return single<int>(object, attribute);
}

date_s Store::date(tag object, const std::string& attribute) {
  return single<date_s>(object, attribute);
}

bool Store::has_value(tag object, const std::string& attribute, const Scalar& value) {
  const Values& held = values(object, attribute);
  return held.empty() ? is_no_value(value) : held.front() == value;
}

void Store::set(tag object, const std::string& attribute, Scalar value) {
  const Class& type = class_of(object);
  const Attribute* definition = type.find_attribute(attribute);
  if (definition == nullptr) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  if (definition->list) {
    refuse(STORE_wrong_value_type, attribute + " is a list");
  }
  check_value(*definition, value);
  if (Transient* transient = find_transient(object)) {
    transient->write(attribute, value);
    return;
  }
  set_values(object, attribute, single_value(std::move(value)));
}

Values Store::single_value(Scalar value) {
  Values values;
  if (!is_no_value(value)) {
    values.push_back(std::move(value));
  }
  return values;
}

void Store::set_values(tag object, const std::string& attribute, Values values) {
  Instance& instance = loaded(object);
  const Attribute* definition = nullptr;
  Slot& slot = slot_of(instance, attribute, &definition);
  if (!definition->list && values.size() > 1) {
    refuse(STORE_wrong_value_type, attribute + " is not a list");
  }
  for (const Scalar& value : values) {
    check_value(*definition, value);
  }
  require_changeable(object, instance);
  if (slot.values == values) {
    return;
  }
  slot.values = std::move(values);
  note_change(instance, slot);
}

void Store::require_changeable(tag object, const Instance& instance) const {
  if (instance.state != InstanceState::is_new && !instance.locked) {
    refuse_unlocked(object);
  }
}

void Store::note_change(Instance& instance, Slot& slot) {
  slot.changed = true;
  instance.changed = true;
  instance.stamp = ++last_stamp_;
}

/** A list that may be changed, by this value if there is one. */
Store::Slot& Store::list_of(Instance& instance, tag object, const std::string& attribute,
                            const Scalar* value) {
  const Attribute* definition = nullptr;
  Slot& slot = slot_of(instance, attribute, &definition);
  if (!definition->list) {
    refuse(STORE_wrong_value_type, attribute + " is not a list");
  }
  if (value != nullptr) {
    check_value(*definition, *value);
  }
  require_changeable(object, instance);
  return slot;
}

void Store::set_element(tag object, const std::string& attribute, std::size_t position,
                        Scalar value) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, &value);
  if (list.values.at(position) == value) {
    return;
  }
  list.values[position] = std::move(value);
  note_change(instance, list);
}

void Store::append(tag object, const std::string& attribute, Scalar value) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, &value);
  list.values.push_back(std::move(value));
  note_change(instance, list);
}

void Store::erase(tag object, const std::string& attribute, std::size_t position) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, nullptr);
  static_cast<void>(list.values.at(position));
  list.values.erase(list.values.begin() + static_cast<std::ptrdiff_t>(position));
  note_change(instance, list);
}

}  // namespace host
