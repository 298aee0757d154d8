/**
 * @file
 * The organisation: users, groups, roles and their memberships.
 *
 * A lookup by name that finds nothing succeeds and yields #NULLTAG.
 */
#ifndef ORK_ORG_H
#define ORK_ORG_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Longest user id, group name or role name, in bytes; a buffer needs one byte more. */
#define ORG_name_size 32

/** Codes of the organisation operations. */
enum {
  ORG_not_a_user = 23001,       /**< the object is not a user */
  ORG_not_a_group = 23002,      /**< the object is not a group */
  ORG_not_a_role = 23003,       /**< the object is not a role */
  ORG_not_a_groupmember = 23004 /**< the object is not the membership of a user */
};

/**
 * Starts the organisation module. Needs a session.
 * @return 0 or an error code.
 */
ORK_API int ORG_init_module(void);

/**
 * Finds a user.
 * @param[in] user_id the user's id.
 * @param[out] user the user, or #NULLTAG when there is none of that id.
 * @return 0 or an error code.
 */
ORK_API int ORG_find_user(const char* user_id, tag* user);

/**
 * Finds a group.
 * @param[in] group_name the group's name.
 * @param[out] group the group, or #NULLTAG when there is none of that name.
 * @return 0 or an error code.
 */
ORK_API int ORG_find_group(const char* group_name, tag* group);

/**
 * The role in which the session's user works in the session's group.
 * @param[out] role the role.
 * @return 0 or an error code.
 */
ORK_API int ORG_get_current_role(tag* role);

/**
 * Name of a role.
 * @param[in] role the role.
 * @param[out] name caller's buffer of #ORG_name_size + 1 bytes.
 * @return #ORK_ok or #ORG_not_a_role.
 */
ORK_API int ORG_get_role_name(tag role, char* name);

/**
 * Id of a user.
 * @param[in] user the user.
 * @param[out] user_id caller's buffer of #ORG_name_size + 1 bytes.
 * @return #ORK_ok or #ORG_not_a_user.
 */
ORK_API int ORG_get_user_identifier(tag user, char* user_id);

/**
 * Name of a group.
 * @param[in] group the group.
 * @param[out] name caller's buffer of #ORG_name_size + 1 bytes.
 * @return #ORK_ok or #ORG_not_a_group.
 */
ORK_API int ORG_get_group_name(tag group, char* name);

/**
 * The membership with which the session's user works: in the session's group and role.
 * @param[out] member the membership.
 * @return 0 or an error code.
 */
ORK_API int ORG_get_current_groupmember(tag* member);

/**
 * User of a membership.
 * @param[in] member the membership.
 * @param[out] user the user.
 * @return #ORK_ok or #ORG_not_a_groupmember.
 */
ORK_API int ORG_get_groupmember_user(tag member, tag* user);

/**
 * Group of a membership.
 * @param[in] member the membership.
 * @param[out] group the group.
 * @return #ORK_ok or #ORG_not_a_groupmember.
 */
ORK_API int ORG_get_groupmember_group(tag member, tag* group);

/**
 * Role of a membership.
 * @param[in] member the membership.
 * @param[out] role the role.
 * @return #ORK_ok or #ORG_not_a_groupmember.
 */
ORK_API int ORG_get_groupmember_role(tag member, tag* role);

#ifdef __cplusplus
}
#endif

#endif
