#include "access.h"

#include <algorithm>

#include "failure.h"
#include "object_id.h"
#include "ork/access.h"
#include "site.h"
#include "types.h"

namespace host {

namespace {

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

/** The classes whose objects say who may do what, and what there is. */
constexpr const char* administered_classes[] = {
    "User",         "Group",      "Role",       "GroupMember",     "AccessRule",
    "Type",         "Tool",       "Site",       "ProcessTemplate", "TaskTemplate",
    "ResourcePool", "PSViewType", "PSNoteType", "RevisionRule"};

/** Whether a class is one whose objects are for administrators. */
bool is_administered(const Class& type) {
  return std::any_of(
      std::begin(administered_classes), std::end(administered_classes),
      [&](const char* administered) { return type.is_a(store().class_named(administered)); });
}

/**
 * Whether a rule may make an exception from that: it has to name what it is about. One for all
 * objects is meant for those that users work on.
 */
bool names_administered(const AccessRule& rule) {
  return rule.target_class.empty() || is_administered(store().class_named(rule.target_class));
}

/** The rule that decides; null when none does. */
const AccessRule* deciding_rule(tag object, const std::string& privilege, Accessors accessors,
                                bool is_for_administrators) {
  std::optional<std::vector<AccessRule>>& rules = session().access_rules;
  if (!rules) {
    rules = read_access_rules(store());
  }
  const auto found = std::find_if(rules->begin(), rules->end(), [&](const AccessRule& rule) {
    return std::count(rule.privileges.begin(), rule.privileges.end(), privilege) != 0 &&
           is_about_object(rule, object) && is_about_accessors(rule, object, accessors) &&
           !(is_for_administrators && rule.grants && !names_administered(rule));
  });
  return found == rules->end() ? nullptr : &*found;
}

bool is_administrator(tag accessor) {
  return accessor == session().user ? session().is_administrator
                                    : store().is_a(accessor, "User") &&
                                          store().logical_value(accessor, "is_administrator");
}

/** What denies a privilege, as a refusal names it; none when it is granted. */
std::optional<std::string> denial(tag object, const std::string& privilege, Accessors accessors) {
  store().state(object);  // says what is wrong with the tag
  if (session().has_bypass && contains(accessors, session().user)) {
    return std::nullopt;
  }
  const bool is_for_administrators =
      privilege != ACCESS_privilege_read && is_administered(store().class_of(object)) &&
      std::none_of(accessors.begin(), accessors.end(), is_administrator);
  const AccessRule* rule = deciding_rule(object, privilege, accessors, is_for_administrators);
  if (rule != nullptr) {
    return rule->grants ? std::nullopt
                        : std::optional("by access rule " + std::to_string(rule->number));
  }
  return is_for_administrators
             ? std::optional<std::string>("since only administrators change objects of class " +
                                          store().class_of(object).name)
             : std::nullopt;
}

}  // namespace

std::array<tag, 3> accessors_of_session() {
  return {session().user, session().group, session().role};
}

bool is_granted(tag object, const std::string& privilege, Accessors accessors) {
  return !denial(object, privilege, accessors);
}

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
  const std::optional<std::string> reason = denial(object, privilege, accessors_of_session());
  if (!reason) {
    return;
  }
  const std::string what = store().is_a(object, "WorkspaceObject")
                               ? object_id_text(store(), object)
                               : "object " + std::to_string(object);
  refuse(ACCESS_denied, "user " + session().user_id + " has no " + privilege + " access to " +
                            what + ", " + *reason);
}

}  // namespace host
