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

/** The object that an attribute refers to. It must be there: a file may come from anybody. */
nlohmann::ordered_json reference_json(Store& store, tag object, const std::string& attribute,
                                      tag target);

/** How relations and the like name an object. */
nlohmann::ordered_json describe_reference(Store& store, tag object);

/**
 * Writes a description of each object of a class. What is read for them is dropped from memory as
 * it goes on, but for what was there before.
 */
template <typename Describe>
void write_each(Store& store, const char* class_name, JsonStream& stream,
                const Describe& describe) {
  constexpr std::size_t objects_at_once = 1000;
  const std::uint64_t stamp = store.last_stamp();
  std::size_t count = 0;
  stream.begin_list();
  store.for_each(class_name, {}, [&](tag object, const Class&) {
    stream.value(describe(object));
    if (++count % objects_at_once == 0) {
      store.forget_since(stamp);
    }
    return true;
  });
  stream.end();
}

}  // namespace host
