// What is found by its values.

#include <algorithm>

#include "failure.h"
#include "ork/store.h"
#include "store.h"
#include "stored_values.h"

namespace host {

std::vector<tag> Store::find(const std::string& class_name, const Criteria& criteria) {
  const Class& wanted = class_named(class_name);
  std::string sql = "SELECT DISTINCT i.tag, i.class FROM instance i";
  for (std::size_t n = 0; n < criteria.size(); ++n) {
    std::string alias = "v";
    alias += std::to_string(n);
    sql += " JOIN value " + alias + " ON " + alias + ".instance = i.tag AND " + alias +
           ".attribute = ? AND " + alias + ".content = ?";
  }
  sql += " WHERE i.deleted = 0 ORDER BY i.tag";
  Query query(database_, sql);
  for (const auto& [name, value] : criteria) {
    const Attribute* attribute = wanted.find_attribute(name);
    if (attribute == nullptr) {
      refuse(STORE_unknown_attribute, wanted.name + " has no " + name);
    }
    query.bind(attribute->id);
    bind_value(query, value);
  }
  std::vector<tag> found;
  while (query.next()) {
    if (class_with_id(static_cast<std::uint32_t>(query.integer(1))).is_a(wanted)) {
      found.push_back(static_cast<tag>(query.integer(0)));
    }
  }
  return found;
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
  const std::vector<tag> found = find(class_name, criteria);
  return found.empty() ? NULLTAG : found.front();
}

}  // namespace host
