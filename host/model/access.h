/**
 * @file
 * Access rules: an ordered list, kept as instances of the class AccessRule. The first rule that is
 * about the object, the privilege and one of the accessors decides; where none does, access is
 * granted.
 */
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "store.h"

namespace host {

/** The kinds of accessors that name nobody. The others are "user", "group" and "role". */
inline constexpr std::array<const char*, 3> unnamed_accessor_kinds = {"owner", "owning_group",
                                                                      "world"};

struct AccessRule {
  int number = 0; /**< its place in the list, from 1 */
  bool grants = false;
  std::vector<std::string> privileges;
  std::string accessor_kind; /**< "user", "group", "role" or one of those above */
  tag accessor = NULLTAG;    /**< of the kinds "user", "group" and "role" */
  // Which objects it is about: one of these is set.
  std::string target_class;
  tag target_type = NULLTAG;
  tag target_object = NULLTAG;
};

/** Users, groups and roles. */
using Accessors = std::span<const tag>;

/** The session's user, group and role. */
std::array<tag, 3> accessors_of_session();

bool is_granted(tag object, const std::string& privilege, Accessors accessors);

bool is_privilege(const std::string& name);

/** The rules of a site in their order. */
std::vector<AccessRule> read_access_rules(Store& store);

/** Refuses with ACCESS_denied unless the session's user has the privilege on the object. */
void require_privilege(tag object, const char* privilege);

}  // namespace host
