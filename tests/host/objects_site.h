/** @file The demo site with what the object operations look at: types, statuses, sites, a
 * check-out.
 */
#pragma once

#include <string>
#include <vector>

#include "demo_site.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/type.h"

namespace test {

inline constexpr const char* objects_seed = R"({
  "site": {"id": 100, "name": "Demo"},
  "sites": [{"id": 200, "name": "Pump works"}],
  "groups": ["quality"], "roles": ["Checker"],
  "users": [
    {"id": "maurer", "name": "Karl Maurer", "password": "open",
     "memberships": [{"group": "quality", "role": "Checker"}]}],
  "classes": [{"name": "Machined", "parent": "Item", "attributes": [
    {"name": "material", "kind": "text", "length": 8},
    {"name": "weights", "kind": "real", "list": true}]}],
  "types": [{"name": "Part", "parent": "Item"},
            {"name": "Turned", "parent": "Part", "class": "Machined"},
            {"name": "Drawing", "parent": "Dataset"}],
  "items": [
    {"id": "000100", "name": "Bracket", "owner": "build", "group": "design", "revisions": [
      {"id": "A", "statuses": [{"name": "Prototype", "date": "2026-03-31 12:30:59"},
                               {"name": "Released", "date": "2025-01-02"}, "Archived"]},
      {"id": "B", "checked_out_by": "maurer", "checked_out_since": "2026-04-01"}]},
    {"id": "000200", "name": "Pump", "owning_site": 200},
    {"id": "000300", "name": "50%_Shaft", "type": "Turned", "owner": "wagner"},
    {"id": "000400", "name": "Plate", "type": "Part", "owner": "maurer", "group": "quality"}]
})";

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
