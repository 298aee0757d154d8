#include "relations.h"

#include <algorithm>

#include "failure.h"
#include "ork/rel.h"
#include "site.h"

namespace host {

void require_relation_type(tag relation_type) {
  if (!store().is_a(relation_type, "RelationType")) {
    refuse(REL_not_a_relation_type, "object " + std::to_string(relation_type));
  }
}

std::vector<tag> find_relations(tag primary, tag secondary, tag relation_type, tag user_data) {
  const std::pair<const char*, tag> wanted[] = {{"primary_object", primary},
                                                {"secondary_object", secondary},
                                                {"relation_type", relation_type},
                                                {"user_data", user_data}};
  Store::Criteria criteria;
  for (const auto& [attribute, object] : wanted) {
    if (object == NULLTAG) {
      continue;
    }
    store().state(object);  // says what is wrong with the tag
    criteria.emplace_back(attribute, object);
  }
  if (relation_type != NULLTAG) {
    require_relation_type(relation_type);
  }
  std::vector<tag> relations = store().find("Relation", criteria);
  const std::vector<tag> unsaved = store().find_new("Relation", criteria);
  relations.insert(relations.end(), unsaved.begin(), unsaved.end());
  std::sort(relations.begin(), relations.end());
  return relations;
}

}  // namespace host
