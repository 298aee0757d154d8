// ACCESS_: who may do what with an object.

#include "access.h"

#include <algorithm>

#include "object_id.h"
#include "operation.h"
#include "ork/access.h"
#include "types.h"

namespace host {

namespace {

using Accessors = std::span<const tag>;

bool contains(Accessors accessors, tag accessor) {
  return std::find(accessors.begin(), accessors.end(), accessor) != accessors.end();
}

bool is_about_object(const AccessRule& rule, tag object) {
  if (rule.target_object != NULLTAG) {
    return rule.target_object == object;
  }
  if (rule.target_type != NULLTAG) {
    return is_type_of(store(), type_of(store(), object), rule.target_type);
  }
  return store().is_a(object, rule.target_class);
}

bool is_about_accessors(const AccessRule& rule, tag object, Accessors accessors) {
  if (rule.accessor_kind == "world") {
    return true;
  }
  if (rule.accessor_kind == "owner") {
    return contains(accessors, store().reference(object, "owning_user"));
  }
  if (rule.accessor_kind == "owning_group") {
    return contains(accessors, store().reference(object, "owning_group"));
  }
  return contains(accessors, rule.accessor);
}

/** The rule that decides; null when none does. */
const AccessRule* deciding_rule(tag object, const std::string& privilege, Accessors accessors) {
  std::optional<std::vector<AccessRule>>& rules = session().access_rules;
  if (!rules) {
    rules = read_access_rules(store());
  }
  const auto found = std::find_if(rules->begin(), rules->end(), [&](const AccessRule& rule) {
    return std::count(rule.privileges.begin(), rule.privileges.end(), privilege) != 0 &&
           is_about_object(rule, object) && is_about_accessors(rule, object, accessors);
  });
  return found == rules->end() ? nullptr : &*found;
}

/** The rule that denies a privilege; null when it is granted. */
const AccessRule* denying_rule(tag object, const std::string& privilege, Accessors accessors) {
  store().state(object);  // says what is wrong with the tag
  if (session().has_bypass && contains(accessors, session().user)) {
    return nullptr;
  }
  const AccessRule* rule = deciding_rule(object, privilege, accessors);
  return rule != nullptr && !rule->grants ? rule : nullptr;
}

std::array<tag, 3> accessors_of_session() {
  return {session().user, session().group, session().role};
}

void require_known(const char* privilege) {
  require_all(privilege);
  if (!is_privilege(privilege)) {
    refuse(ACCESS_unknown_privilege, privilege);
  }
}

void require_accessor(tag accessor) {
  for (const char* kind : {"User", "Group", "Role"}) {
    if (store().is_a(accessor, kind)) {
      return;
    }
  }
  refuse(ORK_invalid_argument, "object " + std::to_string(accessor) + " is no user, group or role");
}

}  // namespace

bool is_privilege(const std::string& name) {
  return name == ACCESS_privilege_read || name == ACCESS_privilege_write ||
         name == ACCESS_privilege_delete;
}

std::vector<AccessRule> read_access_rules(Store& store) {
  std::vector<AccessRule> rules;
  for (const tag object : store.find("AccessRule")) {
    AccessRule& rule = rules.emplace_back();
    rule.number = store.integer(object, "rule_number");
    rule.grants = store.logical_value(object, "grants");
    for (const Scalar& privilege : store.values(object, "privileges")) {
      rule.privileges.push_back(std::get<std::string>(privilege));
    }
    rule.accessor_kind = store.text(object, "accessor_kind");
    rule.accessor = store.reference(object, "accessor");
    rule.target_class = store.text(object, "target_class");
    rule.target_type = store.reference(object, "target_type");
    rule.target_object = store.reference(object, "target_object");
  }
  std::sort(rules.begin(), rules.end(), [](const AccessRule& left, const AccessRule& right) {
    return left.number < right.number;
  });
  return rules;
}

void require_privilege(tag object, const char* privilege) {
  const AccessRule* rule = denying_rule(object, privilege, accessors_of_session());
  if (rule == nullptr) {
    return;
  }
  const std::string what = store().is_a(object, "WorkspaceObject")
                               ? object_id_text(store(), object)
                               : "object " + std::to_string(object);
  refuse(ACCESS_denied, "user " + session().user_id + " has no " + privilege + " access to " +
                            what + ", by access rule " + std::to_string(rule->number));
}

}  // namespace host

using host::Needs;
using host::operation;

int ACCESS_check_privilege(tag object, const char* privilege, logical* granted) {
  host::clear(granted);
  return operation("ACCESS_check_privilege", Needs::session, [&] {
    host::require_all(granted);
    host::require_known(privilege);
    *granted = host::denying_rule(object, privilege, host::accessors_of_session()) == nullptr;
  });
}

int ACCESS_check_accessors_privilege(int count, const tag* accessors, tag object,
                                     const char* privilege, logical* granted) {
  host::clear(granted);
  return operation("ACCESS_check_accessors_privilege", Needs::session, [&] {
    host::require_all(granted);
    host::require(count > 0 && accessors != nullptr, "there are no accessors");
    host::require_known(privilege);
    const host::Accessors asked(accessors, static_cast<std::size_t>(count));
    std::for_each(asked.begin(), asked.end(), host::require_accessor);
    *granted = host::denying_rule(object, privilege, asked) == nullptr;
  });
}
