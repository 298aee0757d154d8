/** @file The demo site with what the object operations look at: types, statuses, sites, a
 * check-out.
 */
#pragma once

#include <string>
#include <vector>

#include "demo_site.h"

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
    ASSERT_EQ(ork_host_seed(objects_seed), ORK_ok) << last_error();
  }

  void log_in_as(const char* user, const char* password) {
    ASSERT_EQ(ORK_init_module(user, password, nullptr), ORK_ok) << last_error();
  }
  void log_in_as_designer() { log_in_as("wagner", "let me in"); }

  static tag find(const char* item_id, const char* revision_id = nullptr) {
    tag object = NULLTAG;
    EXPECT_EQ(ork_host_find_item(item_id, revision_id, &object), ORK_ok);
    EXPECT_NE(object, NULLTAG) << item_id;
    return object;
  }
};

/** The elements of an array that the host handed out, which is freed here. */
template <typename Element>
std::vector<Element> take(int count, Element* array) {
  EXPECT_EQ(count == 0, array == nullptr);
  const std::vector<Element> elements(array, array + count);
  MEM_free(array);
  return elements;
}

/** A date, for comparison. */
template <typename Date>
std::vector<int> fields(const Date& date) {
  return {date.year, date.month, date.day, date.hour, date.minute, date.second};
}

}  // namespace test
