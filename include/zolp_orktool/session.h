/**
 * @file
 * The session of a batch program, and what a program asks of the library itself: error texts and
 * the version. A workflow handler runs in a session that is open already, and needs only the rest.
 *
 * @code
 * #include <stdio.h>
 *
 * int main(void) { // the login is on the command line: -u=USER -p=PASSWORD -g=GROUP
 *   char user[33], group[33], role[33];
 *   int status = ZOLP_startup_ork_environment();
 *   if (status != ORK_ok) {
 *     ZOLP_ReportLastOrkError(status);
 *     return 1;
 *   }
 *   if (ZOLP_ask_login(user, group, role) == ORK_ok) {
 *     printf("%s, %s, %s\n", user, group, role);
 *   }
 *   return ZOLP_shutdown_ork_environment() == ORK_ok ? 0 : 1;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_SESSION_H
#define ZOLP_ORKTOOL_SESSION_H

#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ----------------------------------------------------------------------------------- session -- */

/**
 * Opens a session: text services, login, journalling and the platform's modules. The login comes
 * from the program's command line when it gives all three of "-u=user", "-p=password" and
 * "-g=group"; otherwise the platform's automatic login is taken.
 * @return 0, the status of the step that failed and ended the start-up, or the status of the
 *   organisation module's start, which does not end it.
 */
ZOLP_API int ZOLP_startup_ork_environment(void);

/**
 * Closes the session.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_shutdown_ork_environment(void);

/**
 * Asks for the bypass of access checks to be switched on or off. Bypass that is on stays on,
 * whatever is asked for.
 * @param[in] flag 1 for on, 0 for off.
 * @return 1 when bypass was on before, or a system administrator asks for it, even if the platform
 *   then refuses; otherwise 0.
 *   Failures show in the trace only.
 */
ZOLP_API logical ZOLP_set_ork_bypass(logical flag);

/**
 * Finds a user and a group by name.
 * @param[in] user_name the user's id; null looks up none.
 * @param[in] group_name the group's name; null looks up none.
 * @param[out] user_tag the user, or 0 when not found.
 * @param[out] group_tag the group, or 0 when not found.
 * @return always 0: test the tags.
 */
ZOLP_API int ZOLP_identify_user_and_group(const char* user_name, const char* group_name,
                                          tag* user_tag, tag* group_tag);

/**
 * The session's user and group.
 * @param[out] user, group the user and the group; 0 when the platform cannot tell.
 * @return always 0.
 */
ZOLP_API int ZOLP_get_current_user_and_group(tag* user, tag* group);

/**
 * The session's login as text.
 * @param[out] user caller's buffer of `ORG_name_size` + 1 (33) bytes for the user id.
 * @param[out] group caller's buffer of 33 bytes for the group name.
 * @param[out] role caller's buffer of 33 bytes for the role name.
 *   A buffer that was not reached because of a failure is empty; longer names are cut.
 * @return 0 or the status of the first operation that failed.
 */
ZOLP_API int ZOLP_ask_login(char* user, char* group, char* role);

/* ------------------------------------------------------------------------ errors and version -- */

/**
 * Writes the text of an error to the trace: the text of the most recent entry of the platform's
 * error stack that has this code, or else the code's general text. Needs no session.
 * @param[in] status the error code.
 * @return a value without meaning; ignore it.
 */
ZOLP_API int ZOLP_ReportLastOrkError(int status);

/**
 * Writes the platform's whole error stack to the trace. Needs no session.
 * @param[in] print 0 does nothing.
 * @return 0, or the status of reading the error stack.
 */
ZOLP_API int ZOLP_list_errors(int print);

/** Writes the library's version banner to the trace, once per process. Needs no session. */
ZOLP_API void ZOLP_Version(void);

#ifdef __cplusplus
}
#endif

#endif
