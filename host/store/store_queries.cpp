// What is found by its values.

#include <algorithm>

#include "failure.h"
#include "ork/store.h"
#include "store.h"
#include "stored_values.h"

namespace host {

/**
 * The first criterion finds, by an index that has the instances in their order; the others are
 * looked up for what it has found. So the first one should be the one that few instances meet.
 */
std::string Store::query_text(std::size_t criteria) {
  if (criteria == 0) {
    return "SELECT tag, class FROM instance WHERE deleted = 0 ORDER BY tag";
  }
  std::string sql =
      "SELECT v0.instance, i.class FROM value v0 "
      "CROSS JOIN instance i ON i.tag = v0.instance AND i.deleted = 0";
  for (std::size_t n = 1; n < criteria; ++n) {
    const std::string alias = "v" + std::to_string(n);
    sql += " CROSS JOIN value " + alias + " ON " + alias + ".instance = v0.instance AND " + alias +
           ".attribute = ?" + std::to_string(2 * n + 1) + " AND " + alias + ".content = ?" +
           std::to_string(2 * n + 2);
  }
  return sql + " WHERE v0.attribute = ?1 AND v0.content = ?2 ORDER BY v0.instance";
}

void Store::bind_criteria(Query& query, const Class& wanted, const Criteria& criteria) {
  for (const auto& [name, value] : criteria) {
    const Attribute* attribute = wanted.find_attribute(name);
    if (attribute == nullptr) {
      refuse(STORE_unknown_attribute, wanted.name + " has no " + name);
    }
    query.bind(attribute->id);
    bind_value(query, value);
  }
}

std::vector<tag> Store::find(const std::string& class_name, const Criteria& criteria) {
  std::vector<tag> found;
  for_each(class_name, criteria, [&found](tag object, const Class&) {
    found.push_back(object);
    return true;
  });
  return found;
}

std::vector<tag> Store::saved_references(tag object, const Attribute& attribute) {
  Query query(database_,
              "SELECT content FROM value WHERE instance = ? AND attribute = ? ORDER BY position",
              object, attribute.id);
  std::vector<tag> targets;
  while (query.next()) {
    targets.push_back(std::get<tag>(stored_value(query, 0, attribute, object)));
  }
  return targets;
}

std::vector<tag> Store::find_new(const std::string& class_name, const Criteria& criteria) {
  const Class& wanted = class_named(class_name);
  const auto is_wanted = [&](tag object) {
    return class_of(object).is_a(wanted) &&
           std::all_of(criteria.begin(), criteria.end(), [&](const auto& criterion) {
             return has_value(object, criterion.first, criterion.second);
           });
  };
  std::vector<tag> found;
  std::copy_if(new_.begin(), new_.end(), std::back_inserter(found), is_wanted);
  return found;
}

std::unordered_map<tag, Scalar> Store::saved_values(const std::string& class_name,
                                                    const std::string& attribute) {
  const Class& wanted = class_named(class_name);
  const Attribute* definition = wanted.find_attribute(attribute);
  if (definition == nullptr) {
    refuse(STORE_unknown_attribute, wanted.name + " has no " + attribute);
  }
  Query query(database_, "SELECT instance, content FROM value WHERE attribute = ?", definition->id);
  std::unordered_map<tag, Scalar> values;
  while (query.next()) {
    const auto object = static_cast<tag>(query.integer(0));
    values.emplace(object, stored_value(query, 1, *definition, object));
  }
  return values;
}

tag Store::find_type(const std::string& name) {
  const auto known = type_by_name_.find(name);
  if (known != type_by_name_.end()) {
    return known->second;
  }
  const tag type = find_one("Type", {{"type_name", name}});
  if (type != NULLTAG) {
    type_by_name_.emplace(name, type);
  }
  return type;
}

tag Store::find_one(const std::string& class_name, const Criteria& criteria) {
  tag found = NULLTAG;
  for_each(class_name, criteria, [&found](tag object, const Class&) {
    found = object;
    return false;
  });
  return found;
}

}  // namespace host
