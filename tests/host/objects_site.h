/** @file The demo site with what the object operations look at: types, statuses, sites, a
 * check-out.
 */
#pragma once

#include "demo_site.h"

namespace test {

inline const std::string objects_seed_text = file_text("host/seeds/objects.json");
inline const char* const objects_seed = objects_seed_text.c_str();

class ObjectsSite : public DemoSite {
 protected:
  void SetUp() override {
    DemoSite::SetUp();
    seed(objects_seed);
  }
};

inline tag type_named(const char* name, const char* class_name = nullptr) {
  return ask(TYPE_find_type, name, class_name);
}

inline tag relation_type(const char* name) {
  return ask(REL_find_relation_type, name);
}

inline tag user_named(const char* id) {
  return ask(ORG_find_user, id);
}

inline int lock_of(tag object) {
  return ask(STORE_get_instance_lock, object);
}

inline bool is_valid(tag object) {
  return ask(STORE_is_tag_valid, object);
}

inline std::string value_of(tag object, const char* attribute) {
  return ask(OBJ_get_value_string, object, attribute);
}

/** A date, for comparison. */
template <typename Date>
std::vector<int> fields(const Date& date) {
  return {date.year, date.month, date.day, date.hour, date.minute, date.second};
}

}  // namespace test

using test::ObjectsSite, test::relation_type, test::type_named, test::user_named, test::lock_of,
    test::is_valid, test::value_of, test::fields;
