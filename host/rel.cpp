// REL_: relations between objects.

#include "ork/rel.h"

#include "handout.h"
#include "operation.h"

namespace host {

namespace {

void require_relation_type(tag relation_type) {
  if (!store().is_a(relation_type, "RelationType")) {
    refuse(REL_not_a_relation_type, "object " + std::to_string(relation_type));
  }
}

std::vector<tag> secondaries_of(tag primary, tag relation_type) {
  Store::Criteria criteria = {{"primary_object", primary}};
  if (relation_type != NULLTAG)
    criteria.emplace_back("relation_type", relation_type);
  std::vector<tag> objects;
  for (const tag relation : store().find("Relation", criteria)) {
    objects.push_back(store().reference(relation, "secondary_object"));
  }
  return objects;
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int REL_find_relation_type(const char* name, tag* relation_type) {
  host::clear(relation_type);
  return operation("REL_find_relation_type", Needs::session, [&] {
    host::require_all(name, relation_type);
    const tag type = host::store().find_type(name);
    if (type != NULLTAG && host::store().is_a(type, "RelationType"))
      *relation_type = type;
  });
}

int REL_list_secondary_objects_only(tag primary, tag relation_type, int* count, tag** secondaries) {
  host::clear(count);
  host::clear(secondaries);
  return operation("REL_list_secondary_objects_only", Needs::session, [&] {
    host::require_all(count, secondaries);
    host::store().load(primary);
    if (relation_type != NULLTAG)
      host::require_relation_type(relation_type);
    const std::vector<tag> objects = host::secondaries_of(primary, relation_type);
    *secondaries = host::hand_out(objects);
    *count = static_cast<int>(objects.size());
  });
}

int REL_create_relation(tag primary, tag secondary, tag relation_type, tag user_data,
                        tag* relation) {
  host::clear(relation);
  return operation("REL_create_relation", Needs::session, [&] {
    host::require_all(relation);
    host::Store& store = host::store();
    store.load(primary);
    store.load(secondary);
    if (user_data != NULLTAG)
      store.load(user_data);
    host::require_relation_type(relation_type);
    const host::Store::Criteria ends = {{"primary_object", primary},
                                        {"secondary_object", secondary},
                                        {"relation_type", relation_type}};
    if (store.find_one("Relation", ends) != NULLTAG) {
      host::refuse(REL_exists,
                   "objects " + std::to_string(primary) + " and " + std::to_string(secondary));
    }
    const tag created = store.create(store.class_named("Relation"));
    for (const auto& [attribute, value] : ends)
      store.set(created, attribute, value);
    store.set(created, "user_data", user_data);
    *relation = created;
  });
}

int REL_save_relation(tag relation) {
  return operation("REL_save_relation", Needs::session, [&] {
    host::Store& store = host::store();
    host::require(store.is_a(relation, "Relation"), "the object is not a relation");
    store.save(relation);
    store.refresh(relation, false);
  });
}
