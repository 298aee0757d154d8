// REL_: relations between objects.

#include "ork/rel.h"

#include <algorithm>

#include "handout.h"
#include "operation.h"
#include "relations.h"

namespace host {

namespace {

REL_record_s record_of(tag relation) {
  Store& objects = store();
  return {relation, objects.reference(relation, "primary_object"),
          objects.reference(relation, "secondary_object"),
          objects.reference(relation, "relation_type"), objects.reference(relation, "user_data")};
}

std::vector<REL_record_s> records_of(const std::vector<tag>& relations) {
  std::vector<REL_record_s> records;
  for (const tag relation : relations) {
    records.push_back(record_of(relation));
  }
  return records;
}

/** For lists of what one object is related to. */
void require_object(tag object) {
  store().state(object);
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
    if (type != NULLTAG && host::store().is_a(type, "RelationType")) {
      *relation_type = type;
    }
  });
}

int REL_list_secondary_objects_only(tag primary, tag relation_type, int* count, tag** secondaries) {
  host::clear(count);
  host::clear(secondaries);
  return operation("REL_list_secondary_objects_only", Needs::session, [&] {
    host::require_all(count, secondaries);
    const host::Reading one_state(host::store().database());
    host::require_object(primary);
    std::vector<tag> objects;
    for (const tag relation : host::find_relations(primary, NULLTAG, relation_type, NULLTAG)) {
      objects.push_back(host::store().reference(relation, "secondary_object"));
    }
    host::hand_out(objects, count, secondaries);
  });
}

int REL_list_primary_objects(tag secondary, tag relation_type, int* count,
                             REL_record_s** relations) {
  host::clear(count);
  host::clear(relations);
  return operation("REL_list_primary_objects", Needs::session, [&] {
    host::require_all(count, relations);
    const host::Reading one_state(host::store().database());
    host::require_object(secondary);
    host::hand_out(
        host::records_of(host::find_relations(NULLTAG, secondary, relation_type, NULLTAG)), count,
        relations);
  });
}

int REL_list_relations(tag primary, tag secondary, tag relation_type, tag user_data, int* count,
                       tag** relations) {
  host::clear(count);
  host::clear(relations);
  return operation("REL_list_relations", Needs::session, [&] {
    host::require_all(count, relations);
    host::hand_out(host::find_relations(primary, secondary, relation_type, user_data), count,
                   relations);
  });
}

int REL_list_all_related_objects(tag object, int* count, REL_record_s** relations) {
  host::clear(count);
  host::clear(relations);
  return operation("REL_list_all_related_objects", Needs::session, [&] {
    host::require_all(count, relations);
    const host::Reading one_state(host::store().database());
    host::require_object(object);
    std::vector<tag> all = host::find_relations(object, NULLTAG, NULLTAG, NULLTAG);
    const std::vector<tag> others = host::find_relations(NULLTAG, object, NULLTAG, NULLTAG);
    all.insert(all.end(), others.begin(), others.end());
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());  // an object related to itself
    host::hand_out(host::records_of(all), count, relations);
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
    if (user_data != NULLTAG) {
      store.load(user_data);
    }
    host::require_relation_type(relation_type);
    if (!host::find_relations(primary, secondary, relation_type, NULLTAG).empty()) {
      host::refuse(REL_exists,
                   "objects " + std::to_string(primary) + " and " + std::to_string(secondary));
    }
    *relation = store.create(store.class_named("Relation"), {{"primary_object", primary},
                                                             {"secondary_object", secondary},
                                                             {"relation_type", relation_type},
                                                             {"user_data", user_data}});
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
