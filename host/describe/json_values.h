/** @file Values of the store as JSON. */
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>

#include "json_stream.h"
#include "store.h"

namespace host {

/** Name of an object that has one attribute for it; null for no object. */
nlohmann::ordered_json name_of_reference(Store& store, tag object, const char* attribute);

nlohmann::ordered_json value_json(const Scalar& value);

/** How relations and the like name an object. */
nlohmann::ordered_json describe_reference(Store& store, tag object);

/** A list that is written as its elements come. */
class ElementList {
 public:
  /** @param key its name in an object, where it is left out without an element; null for none. */
  ElementList(JsonStream& stream, const char* key) : stream_(stream), key_(key) {
    if (key_ == nullptr) {
      begin();
    }
  }
  ElementList(const ElementList&) = delete;
  ElementList& operator=(const ElementList&) = delete;

  void add(const nlohmann::ordered_json& element) {
    if (!is_begun_) {
      stream_.key(key_);
      begin();
    }
    stream_.value(element);
  }

  void end() {
    if (is_begun_) {
      stream_.end();
    }
  }

 private:
  void begin() {
    stream_.begin_list();
    is_begun_ = true;
  }

  JsonStream& stream_;
  const char* key_;
  bool is_begun_ = false;
};

/**
 * Goes through the objects of a class. What is read for them is dropped from memory as it goes on,
 * but for what was there before.
 */
template <typename See>
void for_each_element(Store& store, const char* class_name, const See& see) {
  constexpr std::size_t objects_at_once = 1000;
  const std::uint64_t stamp = store.last_stamp();
  std::size_t count = 0;
  store.for_each(class_name, {}, [&](tag object, const Class&) {
    see(object);
    if (++count % objects_at_once == 0) {
      store.forget_since(stamp);
    }
    return true;
  });
  store.forget_since(stamp);
}

}  // namespace host
