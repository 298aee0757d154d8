/**
 * @file
 * Basic types of the host platform, and its session: text services, login, modules, bypass.
 *
 * Every operation returns a status: #ORK_ok or an error code, unless its comment says otherwise.
 * A failing operation also leaves its code and a readable text on the error stack (`err.h`), but
 * for #ORK_wrong_thread, since that stack is another thread's. Memory that an operation hands out
 * is freed by the caller with `MEM_free` (`mem.h`), unless its comment says that the platform keeps
 * it.
 */
#ifndef ORK_ORK_H
#define ORK_ORK_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(ORK_BUILDING_HOST)
#define ORK_API __declspec(dllexport)
#else
#define ORK_API __declspec(dllimport)
#endif
#else
#define ORK_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Handle of a platform object; #NULLTAG is no object. Valid for the process that got it. */
typedef uint32_t tag;

/** No object. */
#define NULLTAG ((tag)0)

/** One-byte boolean: 1 is true, 0 is false. */
typedef unsigned char logical;

/** Success. */
#define ORK_ok 0

/** Codes of the session operations. */
enum {
  ORK_not_logged_in = 20001,      /**< the operation needs a session */
  ORK_already_logged_in = 20002,  /**< a session is open in this process */
  ORK_unknown_user = 20003,       /**< login: there is no such user */
  ORK_wrong_password = 20004,     /**< login: the password does not match */
  ORK_unknown_group = 20005,      /**< login: there is no such group */
  ORK_user_not_in_group = 20006,  /**< login: the user is not a member of the group */
  ORK_no_automatic_login = 20007, /**< the site names no user for automatic login */
  ORK_bypass_not_allowed = 20008, /**< only system administrators may switch bypass on */
  ORK_invalid_argument = 20009,   /**< a required argument is null, empty or out of range */
  ORK_site_not_available = 20010, /**< the site's data cannot be opened, read or written */
  ORK_internal_error = 20011,     /**< the platform failed in a way it did not foresee */
  ORK_out_of_memory = 20012,      /**< memory is exhausted */
  ORK_site_busy = 20013,          /**< another process has been changing the site for too long */
  ORK_wrong_thread = 20014,       /**< the session, or the call under way, is another thread's */
  ORK_site_damaged = 20015,       /**< the site's file holds what no site does */
  ORK_interrupted = 20016,        /**< whoever was told how far the work is wanted no more of it */
  ORK_site_in_use = 20017         /**< another process has the site open */
};

/**
 * Makes the platform's message texts available. Callable before login.
 * @param[in] reserved pass 0.
 * @return 0 or an error code.
 */
ORK_API int ORK_initialize_text_services(int reserved);

/**
 * Looks an option up on the command line of the running program. Callable before login.
 * @param[in] option "-u" asks whether the option is there; "-u=" asks for its value. Both forms of
 *   writing it are understood: "-u=value" and, for values that do not begin with "-", "-u value".
 * @return the option's value, "" for an option that stands alone, or null when it is absent (for
 *   the "=" form also when it has no value). The platform keeps the text; it stays valid until the
 *   process ends.
 */
ORK_API const char* ORK_get_cli_argument(const char* option);

/**
 * Logs in as the user that the site names for automatic login.
 * @return #ORK_ok, #ORK_no_automatic_login, #ORK_already_logged_in or #ORK_site_not_available.
 */
ORK_API int ORK_auto_login(void);

/**
 * Logs in.
 * @param[in] user user id.
 * @param[in] password the user's password.
 * @param[in] group name of a group that the user is a member of; null or "" takes the user's
 *   default group.
 * @return #ORK_ok, #ORK_unknown_user, #ORK_wrong_password, #ORK_unknown_group,
 *   #ORK_user_not_in_group, #ORK_already_logged_in or #ORK_site_not_available.
 */
ORK_API int ORK_init_module(const char* user, const char* password, const char* group);

/**
 * Logs out and ends the session.
 * @param[in] keep_changes 1 to save changes that were not saved, 0 to drop them.
 * @return #ORK_ok, #ORK_not_logged_in, or why changes could not be saved; then they are dropped
 *   and the session is over all the same.
 */
ORK_API int ORK_exit_module(logical keep_changes);

/**
 * Switches the platform's own journal of operations on or off.
 * @param[in] on 1 for on, 0 for off.
 * @return 0 or an error code.
 */
ORK_API int ORK_set_journalling(logical on);

/**
 * Asks whether access checks are bypassed.
 * @param[out] has_bypass 1 while bypass is on.
 * @return 0 or an error code.
 */
ORK_API int ORK_get_bypass(logical* has_bypass);

/**
 * Switches the bypass of access checks on or off.
 * @param[in] on 1 to switch it on, which only system administrators may.
 * @return #ORK_ok or #ORK_bypass_not_allowed.
 */
ORK_API int ORK_set_bypass(logical on);

#ifdef __cplusplus
}
#endif

#endif
