/**
 * @file
 * `libzolp_orktool`: ready-made, traced operations on the host platform.
 *
 * Most functions return a status: 0 (`ORK_ok`) for success, otherwise an error code of the platform
 * or one of the library's own. Results come back through out-parameters, which are set to 0, null
 * or empty before a function works, unless its comment says otherwise. What a function hands out is
 * freed by the caller with `MEM_free`, unless its comment says otherwise.
 *
 * Each function writes a trace of itself and of the platform operations that it calls (see
 * `zolp_basetool.h`). To be used from one thread, with a session open
 * (`ZOLP_startup_ork_environment` or the host process's own login), unless a comment says that a
 * function needs none.
 */
#ifndef ZOLP_ORKTOOL_H
#define ZOLP_ORKTOOL_H

#include <stdio.h>

#include "ork/date.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "ork/pref.h"

#if defined(_WIN32)
#if defined(ZOLP_BUILDING_ORKTOOL)
#define ZOLP_API __declspec(dllexport)
#else
#define ZOLP_API __declspec(dllimport)
#endif
#else
#define ZOLP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------ errors, version, strings -- */

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

/**
 * Copies a text. Needs no session.
 * @param[in] text the text; null yields null.
 * @return the copy, freed by the caller with `MEM_free`; null when memory is exhausted.
 */
ZOLP_API char* ZOLP_CopyString(const char* text);

/**
 * Appends to a text. Needs no session.
 * @param[in,out] text address of a text from `MEM_alloc`; it may move. Where it is null, it becomes
 *   a copy of the addition. After exhausted memory it is null and the old text is lost.
 * @param[in] addition what to append; null leaves the text alone.
 * @return the new text, which stays the caller's; null when memory is exhausted.
 */
ZOLP_API char* ZOLP_string_append(char** text, const char* addition);

/* -------------------------------------------------------------------------------- session -- */

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

/* ----------------------------------------------------------------------------- preferences -- */

/**
 * All values of a preference.
 * @param[in] name the preference.
 * @param[out] count number of values.
 * @param[out] values the values, array and texts in one block that one `MEM_free` frees; null when
 *   there are none.
 * @return 0 (also for a preference without values) or the platform's status.
 */
ZOLP_API int ZOLP_GetPreferenceArray(const char* name, int* count, char*** values);

/**
 * First value of a preference, or a default.
 * @param[in] name the preference.
 * @param[out] value the value or a copy of the default, freed by the caller with `MEM_free`; null
 *   when there is neither.
 * @param[in] default_value taken when the preference has no value or cannot be read; null for none.
 * @param[in] scope accepted and not used; pass `PREF_SCOPE_SITE`.
 * @return 0 or the platform's status; with a default, the copy is there in both cases unless memory
 *   is exhausted.
 */
ZOLP_API int ZOLP_GetPreferenceValue(const char* name, char** value, const char* default_value,
                                     int scope);

/**
 * First value of a preference.
 * @param[in] name the preference.
 * @param[out] value the value, freed by the caller with `MEM_free`; null when there is none.
 * @return always 0.
 */
ZOLP_API int ZOLP_get_pref(const char* name, char** value);

/** The same as `ZOLP_get_pref`, under the name that older customisations call. */
ZOLP_API int ZOLP_getSitePreference(const char* name, char** value);

/**
 * First value of a logical preference, or a default.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[out] value the value, or the default when it cannot be read.
 * @param[in] default_value the default.
 * @return status of starting the preference module; a preference that cannot be read is no failure.
 */
ZOLP_API int ZOLP_get_logical_pref(int option, const char* name, logical* value,
                                   logical default_value);

/**
 * First value of a preference, or a default that must be given.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[out] value the value or a copy of the default, freed by the caller with `MEM_free`;
 *   untouched when the default is null, null when memory is exhausted.
 * @param[in] default_value the default; null is refused with an error line.
 * @return status of starting the preference module; 0 when the default is null.
 */
ZOLP_API int ZOLP_get_string_pref(int option, const char* name, char** value,
                                  const char* default_value);

/**
 * Asks whether one of a preference's values is a certain text.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[in] value the text, compared whole and with its case.
 * @return 1 if so, otherwise 0; a preference that has no values or cannot be read is warned about
 * in the trace.
 */
ZOLP_API logical ZOLP_check_preference(int option, const char* name, const char* value);

/**
 * Asks whether a preference switches a module off.
 * @param[in] name the preference.
 * @return 1 when its first value is missing, empty, "FALSE", "NO" or "NEIN" (in exactly this
 *   spelling); otherwise 0.
 */
ZOLP_API int ZOLP_run_modul(const char* name);

/* -------------------------------------------------------------------------- arrays of tags -- */

/*
 * An array of tags is a pair of a count and a block from the platform's allocator, which the caller
 * frees with `MEM_free`. A null array is empty. These functions keep the array in its order,
 * without duplicates and without the null tag, and need no session unless a comment says so.
 */

/**
 * Asks whether a tag stands in an array.
 * @param[in] element the tag.
 * @param[in] array, count the array.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_searchElementInArray(tag element, const tag* array, int count, logical* found);

/** The same through pointers to array and count. */
ZOLP_API int ZOLP_searchElement(tag element, tag** array, int* count, logical* found);

/**
 * Appends a tag to an array, unless it is there.
 * @param[in] element the tag.
 * @param[in,out] count, array the array; it may move.
 * @return 0, also when the tag was there; 1 for the null tag or when memory is exhausted, and then
 *   the array is as it was.
 */
ZOLP_API int ZOLP_addElement(tag element, int* count, tag** array);

/**
 * Removes a tag from an array.
 * @param[in] element the tag.
 * @param[in,out] count, array the array; it may move. When nothing is left it is freed and null.
 * @return 0; 1, with a line on standard output, when nothing is left or the array cannot be
 * resized.
 */
ZOLP_API int ZOLP_removeElement(tag element, int* count, tag** array);

/**
 * Removes the tags of objects that do not exist any more. Needs a session.
 * @param[in,out] count, array the array; it may move. When nothing is left it is freed and null.
 * @return always 0.
 */
ZOLP_API int ZOLP_removeInvalidTags(int* count, tag** array);

/**
 * Appends to an array the objects that do not stand in a second one.
 * @param[in] count, objects the objects.
 * @param[in] exclude_count, exclude the objects to leave out.
 * @param[in,out] out_count, out_array the array to append to; it is not emptied before.
 * @return 0; 1 when a null tag among the objects, or exhausted memory, ended the work.
 */
ZOLP_API int ZOLP_excludeObjects(int count, const tag* objects, int exclude_count,
                                 const tag* exclude, int* out_count, tag** out_array);

/**
 * Asks whether a text is the first one of an array; the others are not looked at.
 * @param[in] text the text, compared with its case.
 * @param[in] count, strings the array of texts.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_ifStringInArray(const char* text, int count, char** strings, logical* found);

/**
 * Leaves one of each tag in an array: first those that stood in it once, in their order, then one
 * of each repeated tag in the order in which they first stood.
 * @param[in,out] array the array, changed in place and not resized.
 * @param[in,out] count number of its tags, before and after.
 * @return always 0; when memory is exhausted the array is as it was.
 */
ZOLP_API int ZOLP_eliminateRedundances(tag* array, int* count);

/* -------------------------------------------------------------------------- texts and paths -- */

/**
 * Makes a text fit for a file name: each of the characters slash, semicolon, comma, blank, "*",
 * ":",
 * "?", "=", backslash, apostrophe, "#", ">", "<", brackets, braces, "|", "~", "@", "&", "$", double
 * quote, acute accent (byte 0xB4) and grave accent becomes "_". Needs no session.
 * @param[in,out] text the text.
 * @return always 0.
 */
ZOLP_API int ZOLP_RepSpecialChar(char* text);

/** Makes a text lower case, byte by byte, in place. Needs no session. Returns always 0. */
ZOLP_API int string_to_lower(char* text);

/**
 * Splits a text into fields, up to its first line feed. Separators between double quotes do not
 * count; the quotes stay in the field. Leading blanks of a field are dropped. Needs no session.
 * @param[in] text the text; null and "" have no fields.
 * @param[in] separators the separating characters; null stands for "~".
 * @param[out] count number of fields.
 * @param[out] items the fields, each and then the array freed by the caller with `MEM_free`; null
 *   for none.
 * @return 0; -1 or 1 when memory is exhausted, and then there are no fields.
 */
ZOLP_API int ZOLP_splitItemString(const char* text, const char* separators, int* count,
                                  char*** items);

/**
 * Splits a text at its first separator. Needs no session.
 * @param[in] text the text.
 * @param[in] separator the separating character.
 * @param[out] head, tail caller's buffers for what stands before and behind it; each needs the
 *   length of the text and one byte more.
 * @return always 0.
 */
ZOLP_API int ZOLP_splitToFirstSeparator(const char* text, char separator, char* head, char* tail);

/** Size of the buffer for an expanded path, in bytes. */
#define ZOLP_LONG_PATH_SIZE 1024

/**
 * Expands the environment variable with which a path begins, as in "%TEMP%\\sub". Needs no session.
 * @param[in] path the path: a variable of at most 40 characters with its signs, a backslash, and at
 *   most 256 characters more.
 * @param[out] long_path caller's buffer of #ZOLP_LONG_PATH_SIZE bytes. Untouched when the path
 * begins with neither "%" nor "$", and on failure.
 * @return 0; 1 when the variable is not defined, or the path is too long before or after expansion.
 */
ZOLP_API int ZOLP_ExtendPathVar(const char* path, char* long_path);

/* --------------------------------------------------------- ownership, access, locks, relations --
 */

/**
 * Asks whether a user in a group has a privilege on an object.
 * @param[in] user, group the accessors.
 * @param[in] object the object.
 * @param[in] privilege name of the privilege, for example "WRITE".
 * @return 0 when it is granted, 1 when it is refused or cannot be asked for.
 */
ZOLP_API int ZOLP_check_access(tag user, tag group, tag object, const char* privilege);

/**
 * Loads and locks an object unless it is loaded and locked. Failures show in the trace only.
 * @param[in] object the object.
 * @return always 0.
 */
ZOLP_API int ZOLP_verify_state_and_lock_of_object(tag object);

/**
 * Asks whether an object carries a release status.
 * @param[in] object the object.
 * @param[out] has_status 1 if so, otherwise 0; untouched on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_checkObjectStatus(tag object, logical* has_status);

/**
 * User and group who own an object.
 * @param[in] object the object.
 * @param[out] owner the user, or 0.
 * @param[out] group the group, or 0.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_ownership(tag object, tag* owner, tag* group);

/**
 * The same as text.
 * @param[in] object the object.
 * @param[out] user_id caller's buffer of 33 bytes for the owner's user id; empty on failure.
 * @param[out] group_name caller's buffer of 33 bytes for the group's name; empty on failure.
 * @return the status of looking up the owners; a name that cannot be read is no failure.
 */
ZOLP_API int ZOLP_ask_ownership_names(tag object, char* user_id, char* group_name);

/**
 * Lists the objects related to an object.
 * @param[in] obj the object.
 * @param[in] relation_name name of the relation type; null or "" takes all.
 * @param[out] count number of objects.
 * @param[out] list the objects, freed by the caller with `MEM_free`; null for none. Both are
 *   untouched when the relation type is not known or cannot be looked up: set them before.
 * @param[in] reverse 0 for the objects attached to it, 1 for those that it is attached to.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_GetAttachedObjs(tag obj, const char* relation_name, int* count, tag** list,
                                  logical reverse);

/**
 * The first of these objects.
 * @param[in] obj, relation_name, reverse as for `ZOLP_GetAttachedObjs`.
 * @param[out] first the object, or 0.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_GetFirstAttachedObj(tag obj, const char* relation_name, tag* first,
                                      logical reverse);

/** Asks whether an object is a workspace object; as `ZOLP_isObjectOfClass`. */
ZOLP_API int ZOLP_isWorkspaceObject(tag obj, logical* answer);

/**
 * Collects the attributes of a class and of its superclasses, up to the root.
 * @param[in] class_id the class.
 * @param[in,out] attr_count number of attributes in the array; new ones are appended.
 * @param[in,out] attr_ids their identifiers, a block freed by the caller with `MEM_free`; it may
 *   move.
 * @param[in,out] max_count number of identifiers that the array has room for; below 1 a new array
 * is made.
 * @return always 0; a failure ends the collecting and shows in the trace.
 */
ZOLP_API int ListAllClassAttributes(tag class_id, int* attr_count, tag** attr_ids, int* max_count);

/** Size of the buffer for a file name, in bytes. */
#define ZOLP_FILE_NAME_SIZE 256

/**
 * Makes a file name for data of an item revision: path, backslash, item id, revision id, local time
 * to the second, the clock in milliseconds, extension.
 * @param[in] item_rev the revision; ids that cannot be read are left empty.
 * @param[in] path the folder.
 * @param[out] file_name caller's buffer of #ZOLP_FILE_NAME_SIZE bytes; untouched on failure.
 * @param[in] extension the extension without its dot.
 * @return 0; 1 when the name would have 256 characters or more.
 */
ZOLP_API int ZOLP_buildFileName(tag item_rev, const char* path, char* file_name,
                                const char* extension);

/* ------------------------------------------------------------------ statuses, types, lookup -- */

/** Longest name of a status or a type, in bytes; a buffer needs one byte more. */
#define ZOLP_NAME_SIZE 32

/** A release status of an object. */
typedef struct ZOLP_status_record {
  char name[ZOLP_NAME_SIZE + 1]; /**< its name, cut at 32 bytes */
  date_s date_released;          /**< when it was given */
} ZOLP_status_record;

/**
 * Names of an object's release statuses.
 * @param[in] object the object.
 * @param[out] count number of statuses; untouched on failure.
 * @param[out] names their names in the order in which they were attached; each and then the array
 *   freed by the caller with `MEM_free`. Untouched on failure and when there are none.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_ask_status_names(tag object, int* count, char*** names);

/**
 * An object's release statuses with their dates.
 * @param[in] object the object.
 * @param[out] count number of statuses; untouched on failure.
 * @param[out] records the statuses in one block freed by the caller with `MEM_free`. Untouched on
 *   failure and when there are none.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_ask_status(tag object, int* count, ZOLP_status_record** records);

/**
 * Name of the release status that was attached to an object last, whatever the dates.
 * @param[in] object the object.
 * @param[out] status_name caller's buffer of #ZOLP_NAME_SIZE + 1 bytes; empty when there is none
 * and on failure; longer names are cut.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_latest_status(tag object, char* status_name);

/**
 * Name of a type.
 * @param[in] type the type.
 * @param[in,out] name caller's buffer of #ZOLP_NAME_SIZE + 1 bytes, zeroed before the call: a name
 * of 32 bytes or more is cut and not terminated.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_TYPE_ask_name(tag type, char* name);

/**
 * Asks whether an object is of a class or of one that descends from it.
 * @param[in] object the object.
 * @param[in] class_name name of the class.
 * @param[out] answer 1 if so, otherwise 0; untouched on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_isObjectOfClass(tag object, const char* class_name, logical* answer);

/**
 * Asks whether an object is of a type.
 * @param[in] tObj the object.
 * @param[in] szWantedType name of the type.
 * @param[out] p_lAnswer 1 if so, otherwise 0, also on failure.
 * @param[in] include_subtypes 1 to count subtypes of the type as well.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_isObjectOfTypeExt(tag tObj, const char* szWantedType, logical* p_lAnswer,
                                    logical include_subtypes);

/** The same without subtypes. */
ZOLP_API int ZOLP_isObjectOfType(tag tObj, const char* szWantedType, logical* p_lAnswer);

/**
 * Asks whether an item revision belongs to an item that was just created, and not by save-as.
 * @param[in] tObj the item revision.
 * @param[out] isNew 1 if so, otherwise 0; may be null.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_Test_STORE_instance_isNew(tag tObj, logical* isNew);

/**
 * Asks whether an object may be changed by the session's user and is not checked out.
 * @param[in] tagRes the object.
 * @return 1 if so; otherwise 0, with an error line that has the reason: 919340 checked out, 919341
 * no "WRITE" privilege, 919342 refused by the platform, or the platform's status.
 */
ZOLP_API logical ZOLP_TestModifiableAndNotCheckout(tag tagRes);

/**
 * Asks whether an item is a replica that another site owns.
 * @param[in] item the item; 0 is none.
 * @param[out] isReplica 1 if so, otherwise 0, also on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_isItemReplica(tag item, logical* isReplica);

/**
 * Finds an item by its id.
 * @param[in] item_id the id.
 * @param[out] item the item, the first one if there are several; 0 when there is none.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ITEM_find_item(const char* item_id, tag* item);

/**
 * Finds an item revision by its ids.
 * @param[in] item_id the item's id.
 * @param[in] pcRev_id the revision's id.
 * @param[out] rev the revision, the first one if there are several; 0 when there is none.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ITEM_find_rev(const char* item_id, const char* pcRev_id, tag* rev);

/**
 * Type of the first relation between two objects.
 * @param[in] primary, secondary the objects.
 * @param[in,out] tagAttType the relation type; set it to 0 before, it stays so when there is none.
 * @param[in,out] cType caller's zeroed buffer of #ZOLP_NAME_SIZE + 1 bytes for the type's name;
 *   untouched when there is none.
 * @return always 0: test the tag.
 */
ZOLP_API int ZOLP_ask_attachment_type(tag primary, tag secondary, tag* tagAttType, char* cType);

/**
 * The local time. Needs no session.
 * @param[out] date the date record.
 */
ZOLP_API void ZOLP_GetTime(date_s* date);

/* ----------------------------------------------------------------------------- clone lists -- */

/** Longest text of a field in a list, in bytes; a buffer needs one byte more. */
#define ZOLP_LIST_FIELD_SIZE 128

/**
 * One record of an assembly tree: an item line of a release list, or one of its dataset lines.
 * Records are blocks of the C heap (`malloc`). The whole tree is the caller's and is freed record
 * by record with `free`. An item's `child` leads to its newest child only (see
 * `read_dataset_basic_data`), so of several datasets of an item the earlier ones are out of reach.
 */
typedef struct assy_entry {
  int level;                               /**< level of the line; of a dataset: its item's + 1 */
  char type[ZOLP_LIST_FIELD_SIZE + 1];     /**< "ItemRev", "QNMASTER", "QNPART" or "ALTREP" */
  char item_id[ZOLP_LIST_FIELD_SIZE + 1];  /**< of a dataset: its item's */
  char item_rev[ZOLP_LIST_FIELD_SIZE + 1]; /**< of a dataset: its item's */
  char dataset_name[ZOLP_LIST_FIELD_SIZE + 1]; /**< empty for an item */
  char new_item_id[ZOLP_LIST_FIELD_SIZE + 1];  /**< of a dataset: its item's */
  char new_item_rev[ZOLP_LIST_FIELD_SIZE + 1]; /**< of a dataset: its item's */
  char new_name[ZOLP_LIST_FIELD_SIZE + 1];     /**< text of the column "New Name" */
  char mode[133];                              /**< "RETAIN" or "CLONE" */
  struct assy_entry* next;                     /**< next sibling, or null */
  struct assy_entry* child;                    /**< child, or null */
  struct assy_entry* parent;                   /**< parent, or null */
  struct assy_entry* prev;                     /**< previous sibling, or null */
} assy_entry;

/**
 * Reads an item list: the level in characters 1 to 6 of a line, the item id from the seventh
 * character onward. Needs no session.
 * @param[in] file path of the list, which must be writable.
 * @param[out] count number of lines with a level of at least 1.
 * @param[out] item_ids their item ids, up to 128 bytes each, with the line end as read.
 * @param[out] levels their levels as text, six characters each.
 * @param[out] counts how often each one's item id stands in the list.
 *   The three arrays and the texts are blocks of the C heap, freed by the caller with `free`; null
 *   for a list without such lines.
 * @return 0, or 1 when the file cannot be opened, and then the outputs are untouched.
 */
ZOLP_API int ZOLP_read_itemrevlist(const char* file, int* count, char*** item_ids, char*** levels,
                                   int** counts);

/**
 * Copies a release list without its empty "Where" blocks. Needs no session.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @return 0; 1 when a file cannot be opened, read or written to its end, when both are one file, or
 *   when memory is exhausted.
 */
ZOLP_API int ZOLP_clean_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and keeps of each item only the first line, with the lines below it.
 * Needs no session, but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @return as for `ZOLP_clean_list`.
 */
ZOLP_API int ZOLP_remove_doubles_from_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and drops from its "Where" blocks the lines that contain one of several
 * texts, the "Where" lines among them. Needs no session.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @param[in] n_patterns number of texts.
 * @param[in] patterns the texts.
 * @return as for `ZOLP_clean_list`.
 */
ZOLP_API int ZOLP_scan_usage(const char* in_file, const char* out_file, int n_patterns,
                             char** patterns);

/**
 * Reads a release list into an assembly tree. Needs the column positions from
 * `ZOLP_create_clonelogheader` and the preference "FLColumnCatIVFSeparatorPref", which holds the
 * separator between item id and revision.
 * @param[in] file path of the list, which must be writable.
 * @param[in,out] entry address of the record to go on from, or of null for a new tree; afterwards
 *   the last record that was made from an item line. The root is reached through `prev` and
 *   `parent`. The records are the caller's, also after a failure.
 * @return 0; 1 when the file cannot be opened or an item line cannot be split; or the platform's
 *   status.
 */
ZOLP_API int ZOLP_read_assylist(const char* file, assy_entry** entry);

/**
 * Splits the cells "Item Revision" and "New Item ID" of a release list's line. Needs no session,
 * but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] line the line, NUL-terminated.
 * @param[in] separator text between item id and revision.
 * @param[out] item_id, item_rev, new_item_id, new_item_rev caller's buffers of 129 bytes each. A
 *   cell is taken with its padding and what follows it, up to 128 bytes. Without a separator in
 *   "New Item ID" the new revision is "----"; without one in "Item Revision" the whole cell is the
 *   item id and the revision is empty.
 * @return 0; 1, with an error line, when "Item Revision" has no separator.
 */
ZOLP_API int read_item_basic_data(const char* line, const char* separator, char* item_id,
                                  char* item_rev, char* new_item_id, char* new_item_rev);

/**
 * Makes a dataset record from a release list's line and links it to a record. Below an item it
 * becomes the item's child in place of any earlier one; next to a dataset it becomes that one's
 * next sibling. Needs no session, but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] line the line, NUL-terminated.
 * @param[in] dataset_type type for the record; longer texts are cut at 128 bytes.
 * @param[in] ignored pass 0.
 * @param[in,out] current the record to link to; null makes no record.
 * @return always 0; when memory is exhausted no record is made.
 */
ZOLP_API int read_dataset_basic_data(const char* line, const char* dataset_type, int ignored,
                                     assy_entry* current);

/* -------------------------------------------------------------- clone log and clone batch -- */

/**
 * Fixes the column positions for the list functions and writes the head of the clone log from the
 * header template. Reads the preferences "FLColumnCatIVFSeparatorPref", "WsoInsertNoSelectionsPref"
 * and the one named by the caller.
 * @param[in] release_list_file path of the release list, which must be writable; its first item
 * line names the top assembly.
 * @param[in] out_file path of the clone log; an existing file is replaced.
 * @param[in] header_pref preference that holds the path of the header template, which must be
 *   writable.
 * @return 0; 1 when a file cannot be opened, read or written to its end, when the clone log is one
 *   of the other files, when the list has no item line or its first one no separator, or when a
 *   template line would not fit its buffer of 500 bytes; or the platform's status.
 */
ZOLP_API int ZOLP_create_clonelogheader(const char* release_list_file, const char* out_file,
                                        const char* header_pref);

/**
 * Writes one line to the clone log for each object that is related to an item revision.
 * @param[in] item_rev the item revision.
 * @param[in] relation_type_name name of the relation type; one that the site does not have takes
 *   the objects of all types.
 * @param[in] prefix text in front of each object's id in the column "Tarn Info", which shows 32
 *   bytes of both.
 * @param[in] log address of the open clone log, a text file of the platform.
 * @return the status of the last platform operation.
 */
ZOLP_API int ZOLP_write_info_about_relation(tag item_rev, const char* relation_type_name,
                                            const char* prefix, FILE_handle* log);

/**
 * Writes the batch file that starts the clone program. Reads the preferences "ZOLP_qnversion",
 * "ZOLP_qnclone_prg", "ZOLP_clonelogfile", "ZOLP_precloneactionfile" and
 * "ZOLP_postcloneactionsfile".
 * @param[in] batch_file path of the batch file; an existing file is replaced.
 * @param[in] top record of the top assembly.
 * @return 0; 1 when there is no record, when a file cannot be opened, read or written to its end,
 * or when the batch file is one of the others; or the platform's status. A CAD version other than
 * v15 or v16 leaves an empty batch file.
 */
ZOLP_API int ZOLP_write_startbat(const char* batch_file, assy_entry* top);

/**
 * Writes the entry of an item that the clone keeps, from a line template.
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev values for the placeholders "%%ITEM_ID%%" and "%%ITEM_REV%%".
 * @param[in] template_pref preference that holds the path of the template, which must be writable.
 * @return 0; 1 when there is no stream or it cannot be written, when the template cannot be opened
 * or read to its end, or when a line would not fit its buffer of 500 bytes; or the platform's
 * status. The same holds for the other writers of entries.
 */
ZOLP_API int ZOLP_write_item(FILE** out, const char* item_id, const char* item_rev,
                             const char* template_pref);

/**
 * Writes the entry of an item that is cloned. Placeholders: "%%ITEM_ID%%", "%%ITEM_REV%%",
 * "%%NEW_REV%%", "%%NEW_ID%%", "%%NEW_NAME%%". Parameters and result as for `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_replace_and_cloneitem(FILE** out, const char* item_id, const char* item_rev,
                                              const char* new_item_id, const char* new_item_rev,
                                              const char* new_name, const char* template_pref);

/**
 * Writes the entry of a dataset that the clone keeps, from the template that the preference
 * "VPD_retain_datasettemplate" names. Placeholders: "%%ITEM_ID%%", "%%QNPARTNAME%%" (the part
 * name),
 * "%%RELATIONNAME%%", "%%ITEM_REV%%". Result as for `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_retaindataset(FILE** out, const char* item_id, const char* item_rev,
                                      const char* relation_name, const char* part_name);

/**
 * Writes the entry of a dataset that is cloned, from the template that the preference
 * "VPD_clone_datasettemplate" names. Placeholders: "%%ITEM_ID%%", "%%ITEM_REV%%", "%%RELATION%%",
 * "%%DATASET_NAME%%", "%%NEW_NAME%%" (twice in a line), "%%NEW_REV%%", "%%NEW_ID%%". Result as for
 * `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_clonedataset(FILE** out, const char* item_id, const char* item_rev,
                                     const char* dataset_name, const char* relation,
                                     const char* new_item_id, const char* new_item_rev,
                                     const char* new_name);

/**
 * Writes the clone entries of an assembly tree: an entry for each item record, from the templates
 * that the preferences "VPD_clone_itemtemplate" and "VPD_retain_itemtemplate" name; none for
 * datasets. Children come right after their parent.
 * @param[in] out open output stream.
 * @param[in] entry the record to begin with; its children and its later siblings follow.
 * @return 0, or the status of the first entry that could not be written, which ends the walk.
 */
ZOLP_API int ZOLP_write_assylist(FILE* out, assy_entry* entry);

/* ---------------------------------------------------------------------------------- datasets -- */

/**
 * Makes a dataset with its type's default tool, saved and unlocked and related to nothing. A type
 * that the platform does not know makes none and is no failure: clear `dataset_tag` before the call
 * and test it afterwards. A failure after the dataset was made leaves it in the database.
 * @param[in] datasettype name of the dataset type.
 * @param[in] dataset_name name of the dataset.
 * @param[in] reference_name a named reference that the type must define; only checked.
 * @param[in] dataset_format its format, of which the first 32 bytes are taken; null takes the first
 *   output format of the default tool.
 * @param[in] description its description; null for none.
 * @param[out] dataset_tag the new dataset; untouched when a failure came before it was to be made,
 *   #NULLTAG when making it failed.
 * @return 0; 919246 (the type cannot be looked up), 919247 (it has no default tool, or the tool's
 *   formats cannot be read), 919248 (the tool has no output format), 919249 (the type has no such
 *   reference), all but an unreadable tool's 919247 on the error stack with the name concerned; or
 *   the status of the platform call that failed.
 */
ZOLP_API int ZOLP_createDataset(const char* datasettype, const char* dataset_name,
                                const char* reference_name, const char* dataset_format,
                                const char* description, tag* dataset_tag);

/**
 * Attaches a file to a dataset, in place of what the reference refers to, if anything, and as a
 * part of the dataset otherwise. Leaves the dataset saved, unlocked and unloaded; a failure leaves
 * it as far as it got, and locked unless it only could not be unloaded.
 * @param[in] dataset the dataset; the function locks it.
 * @param[in] file_tag the file.
 * @param[in] reference name of the reference.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_attachNamedReference(tag dataset, tag file_tag, const char* reference);

/**
 * Looks up what a dataset refers to.
 * @param[in] dataset_name name of the dataset, the first of several.
 * @param[in] ref_name name of the reference.
 * @param[out] ref_tag what it refers to; 0 on failure.
 * @return 0, or 1 when there is no such dataset or reference, and for every other failure.
 */
ZOLP_API int ZOLP_findDatasetNamedRef(const char* dataset_name, const char* ref_name, tag* ref_tag);

/**
 * Relates two objects and saves the relation.
 * @param[in] destObject the primary object.
 * @param[in] tDataset the secondary object.
 * @param[in] relation_type name of the relation type.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_createRelation(tag destObject, tag tDataset, const char* relation_type);

/**
 * Imports a text file into a new dataset of the type "Text", related to nothing. A file that cannot
 * be imported, saved or locked is reported in the trace, and the function goes on. A failure leaves
 * what was made in the database, and locked unless only the end of the work failed.
 * @param[in] reserved not used.
 * @param[in] dataset_name name of the dataset.
 * @param[in] path path of the text file.
 * @param[out] dataset the new dataset; #NULLTAG when none was made.
 * @return 0, the status of `ZOLP_createDataset` or `ZOLP_attachNamedReference`, or 1 when the
 *   dataset cannot be refreshed in the end.
 */
ZOLP_API int ZOLP_importTextDataset(const char* reserved, const char* dataset_name,
                                    const char* path, tag* dataset);

/**
 * Imports a text file into a new dataset of the type "Text" and the format "TEXT", related to an
 * object as "VELO_reference". The first failure ends the work; what was made stays. The
 * dataset is left unlocked, the file locked.
 * @param[in] destObject the object that gets the dataset.
 * @param[in] szDatasetName name of the dataset.
 * @param[in] szDatasetDesc its description; null for none.
 * @param[in] szOsPath path of the text file.
 * @param[in] szFileName name of the file, for the trace alone.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_fct_import_text_dataset_desc(tag destObject, const char* szDatasetName,
                                               const char* szDatasetDesc, const char* szOsPath,
                                               const char* szFileName);

/** The same without a description. */
ZOLP_API int ZOLP_fct_import_text_dataset(tag destObject, const char* szDatasetName,
                                          const char* szOsPath, const char* szFileName);

/** Room that `ZOLP_exportImage` needs behind the directory for a file name, in bytes. */
#define ZOLP_IMAGE_NAME_SIZE 387

/**
 * Exports files of datasets under generated names: item id, "_", revision id, "_", dataset name,
 * cleaned by `ZOLP_RepSpecialChar`. The first dataset of the list yields its first named reference,
 * the second its second, and so on; one that has fewer is passed over, and so is a file that
 * exists, or that cannot be exported.
 * @param[in] list the datasets.
 * @param[in] count number of datasets.
 * @param[in,out] export_file_path caller's buffer with the directory, which ends with a separator;
 *   with room for #ZOLP_IMAGE_NAME_SIZE bytes behind it. Holds the directory again afterwards.
 * @param[in] ref_name name that a reference must have.
 * @param[in] mode must be "no".
 * @param[in] itemrev item revision by which the files are named.
 * @return 0, 1 for another mode or no item revision, or the status of the platform call that ended
 *   the work.
 */
ZOLP_API int ZOLP_exportImage(tag* list, int count, char* export_file_path, const char* ref_name,
                              const char* mode, tag itemrev);

/**
 * Copies a dataset so that the copy has files of its own, each with the copy's name and its old
 * extension as original name; other objects that it refers to are shared, and so are files whose
 * reference has no format in the dataset's type. The environment variable
 * "VK_TMP_DIR" names the folder that the files pass through; the system's own is used without it.
 * Paths there have at most 260 bytes, original names at most 100; what is longer is cut.
 * Files of one name pass through one path there, so copies that run at once in several processes
 * take turns at each path, by a file "<path>-lock" beside it. One that has not had its turn after
 * five minutes goes on without removing what is there, and so with the platform's refusal to export.
 * @param[in] tagOldDS the dataset, which stays as it is.
 * @param[in] pcNewDatsetName name of the copy.
 * @param[out] ptagNewDS the copy. After a failure it may exist, be locked and share files.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_RealCopyDataset(tag tagOldDS, const char* pcNewDatsetName, tag* ptagNewDS);

/* ------------------------------------------------------------------------------------- forms -- */

/**
 * Makes a form, saved and still locked.
 * @param[in] form_name name of the form.
 * @param[in] form_type name of its type.
 * @param[in] description its description.
 * @param[out] form the new form.
 * @return 0 or the status of the platform call that failed; nothing made is deleted.
 */
ZOLP_API int ZOLP_createForm(const char* form_name, const char* form_type, const char* description,
                             tag* form);

/**
 * Reads the 13 fields of a release-information form: "UrRevision", and person and date of each
 * release step. A field that cannot be read is empty, and the others are read all the same.
 * @param[in] form the form.
 * @param[out] form_type_name always "FreigabeInfo".
 * @param[out] field_count always 13.
 * @param[out] field_names names of the fields.
 * @param[out] field_display_names the same names.
 * @param[out] field_lengths lengths of the values, in bytes.
 * @param[out] field_values the values as users see them, at most 4000 bytes each.
 *   The name, each array and each text in one are freed by the caller with `MEM_free`.
 * @return the status of the last field, or 1 when memory is exhausted, which leaves null and 0.
 */
ZOLP_API int ZOLP_FORM_describe(tag form, char** form_type_name, int* field_count,
                                char*** field_names, char*** field_display_names,
                                int** field_lengths, char*** field_values);

/**
 * Master form of an item or item revision.
 * @param[in] tagObj the object.
 * @param[out] form the form; #NULLTAG on failure.
 * @return 0, the platform's status, or 919999 when the object has not exactly one master form or
 *   the site has no such relation; that code stands in the trace only. The relation type is looked
 *   up once per process.
 */
ZOLP_API int ZOLP_GetMasterForm(tag tagObj, tag* form);

/**
 * Form that a dataset holds under a named reference; made if need be, both then saved. Unsaved
 * changes of the dataset are dropped. A form that is made is left unlocked, and so is the
 * dataset.
 * @param[in] tagObj the dataset.
 * @param[in] cNamedRef name of the reference, and of a form that is made.
 * @param[out] ptagForm the form; #NULLTAG when there is none. One that was made stays here when a
 *   later step fails.
 * @param[in] create 1 makes a form where there is none.
 * @param[in] cFormType type of a form that is made; null or "" takes `cNamedRef`.
 * @return 0, also when there is no form and none was wanted, or the platform's status.
 */
ZOLP_API int ZOLP_GetNamedRefForm(tag tagObj, const char* cNamedRef, tag* ptagForm, logical create,
                                  const char* cFormType);

/**
 * Value of a form field as users see it.
 * @param[in] form the form.
 * @param[in] field_name name of the field.
 * @param[in] len number of bytes to copy at most; a longer value is cut.
 * @param[out] value caller's buffer of `len` + 1 bytes; empty on failure.
 * @param[out] actual_chars length of what was copied; 0 on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_FORM_ask_value(tag form, const char* field_name, int len, char* value,
                                 int* actual_chars);

/**
 * Sets a form field from a text as users write it. The caller locks the form before and saves it
 * afterwards.
 * @param[in] form the form.
 * @param[in] field_name name of the field.
 * @param[in] field_value the text.
 * @return 0 or the platform's status, for example for a text that is no value of the field.
 */
ZOLP_API int ZOLP_FORM_set_value(tag form, const char* field_name, const char* field_value);

/* ------------------------------------------------- workflow attachments, tasks and reviewers -- */

/*
 * A job is given by its tag. What is attached to a job is attached to its root task. Types of
 * attachments, states and results of tasks are those of `ork/flow.h`.
 */

/**
 * Attaches objects to a job.
 * @param[in] job the job.
 * @param[in] attachment_type the type of attachment of all of them, for example
 *   #FLOW_target_attachment.
 * @param[in] count number of objects; 0 and less are passed to the platform as they are.
 * @param[in] objects the objects.
 * @return 0; 2002 when memory is exhausted, which is put on the platform's error stack, too; or the
 *   platform's status.
 */
ZOLP_API int ZOLP_add_attachments(tag job, int attachment_type, int count, tag* objects);

/** Attaches objects to a job as references; see `ZOLP_add_attachments`. */
ZOLP_API int ZOLP_add_reference_objects(tag job, int count, tag* reference_objects);

/** Attaches objects to a job as targets; see `ZOLP_add_attachments`. */
ZOLP_API int ZOLP_add_target_objects(tag job, int count, tag* target_objects);

/**
 * Detaches objects from a job, whatever the type of their attachment.
 * @param[in] job the job.
 * @param[in] count number of objects.
 * @param[in] objects the objects.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_remove_attachments(tag job, int count, tag* objects);

/**
 * Targets of a job.
 * @param[in] job the job.
 * @param[out] count number of targets.
 * @param[out] target_objects the targets, freed by the caller with `MEM_free`; null for none. Both
 *   are untouched when the job's root task cannot be found.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_target_objects(tag job, int* count, tag** target_objects);

/** References of a job; see `ZOLP_ask_target_objects`. */
ZOLP_API int ZOLP_ask_reference_objects(tag job, int* count, tag** reference_objects);

/**
 * Brings a job up to date: the signoffs of its level tasks that are not completed, then targets,
 * references and release statuses, then the job itself. An attached object that is not loaded is
 * loaded; one that cannot be loaded is refreshed instead.
 * @param[in] job the job.
 * @return 0, or the status of the first step that failed, which ends the work.
 */
ZOLP_API int ZOLP_refresh_entire_job(tag job);

/**
 * Finds a condition task of a job by its name, in which case counts.
 * @param[in] job the job.
 * @param[in] task_name the name.
 * @param[out] condition_task the first condition task of this name, or 0 when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_get_condition_task_by_name(tag job, const char* task_name, tag* condition_task);

/**
 * Sets the result of a condition task: locks the task, sets the result, saves the task and gives
 * the lock back.
 * @param[in] condition_task the task.
 * @param[in] result the result, for example #FLOW_condition_true; passed to the platform as it is.
 * @return the status of giving the lock back, and no other: failures of the steps before are in the
 *   trace and on the platform's error stack. Ask the platform for the task's result to be sure.
 */
ZOLP_API int ZOLP_set_condition_task_result(tag condition_task, int result);

/**
 * Sets the result of a condition task that is known by its name.
 * @param[in] job the job.
 * @param[in] task_name, result as for the two functions above.
 * @return 33080 when there is no condition task of this name; the status of looking for it; or as
 *   `ZOLP_set_condition_task_result`.
 */
ZOLP_API int ZOLP_set_named_condition_task_result(tag job, const char* task_name, int result);

/**
 * The release level that is running: the first review task that has started, or else the first one
 * that is pending.
 * @param[in] job the job.
 * @param[out] release_level the review task, or 0 when there is none.
 * @param[out] release_level_name caller's buffer of #FLOW_name_size + 1 bytes for its name, cut to
 *   that; "" when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_ask_current_release_level(tag job, tag* release_level, char* release_level_name);

/** Name of the release level that is running; see `ZOLP_ask_current_release_level`. */
ZOLP_API int ZOLP_ask_current_release_level_name(tag job, char* release_level_name);

/**
 * Finds a release level by its name, in which case counts.
 * @param[in] job the job.
 * @param[in] release_level_name the name.
 * @param[out] release_level the first review task of this name, or 0 when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_find_release_level(tag job, const char* release_level_name, tag* release_level);

/**
 * Members of the team of a release level. Their signoffs are refreshed.
 * @param[in] job the job.
 * @param[in] release_level_name name of the release level.
 * @param[out] count number of members; 0 when there is no such level or it has no team.
 * @param[out] members group members and resource pools, freed by the caller with `MEM_free`; null
 *   for none. After a failure both have the members that were read before it.
 * @return 0, the platform's status, or 2002 when memory is exhausted.
 */
ZOLP_API int ZOLP_ask_reviewers(tag job, const char* release_level_name, int* count, tag** members);

/**
 * The same for members of one type.
 * @param[in] member_type #SIGNOFF_group_member or #SIGNOFF_resource_pool. In the lines of the trace
 *   the names of the two types are interchanged.
 */
ZOLP_API int ZOLP_ask_reviewers_by_type(tag job, const char* release_level_name, int member_type,
                                        int* count, tag** members);

/** Those of `ZOLP_ask_reviewers_by_type` with type 0. After a failure there are none. */
ZOLP_API int ZOLP_ask_reviewers_groupmembers(tag job, const char* release_level_name, int* count,
                                             tag** members);

/** Those of `ZOLP_ask_reviewers_by_type` with type 1. After a failure there are none. */
ZOLP_API int ZOLP_ask_reviewers_resourcepools(tag job, const char* release_level_name, int* count,
                                              tag** members);

/**
 * For handlers: who signs off, and when. In a job without review tasks that is the job's owner, at
 * no date; otherwise the user who runs the handler, with the date of the signoff of the handler's
 * task that was examined last. Signoffs are examined up to the first one that approves.
 * @param[in] msg the handler's message; its task counts.
 * @param[out] user_name caller's buffer of #ORG_name_size + 1 (33) bytes for the user's id. The
 *   owner's id stays in it when that user is not found.
 * @param[out] signoff_date the date; the null date when there is none.
 * @param[out] user the user; 0 when the owner's id belongs to nobody, or when a failure came before
 *   the user was known.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_getJobInfo(const FLOW_action_message_s* msg, char* user_name,
                             date_s* signoff_date, tag* user);

/* --------------------------------------------------------------------------- handler targets -- */

/**
 * For handlers: the job of the handler's task and its targets, whose classes are traced.
 * @param[in] msg the handler's message; its task counts.
 * @param[out] job the job.
 * @param[out] target_count number of targets.
 * @param[out] targets the targets, freed by the caller with `MEM_free` on success, and not to be
 *   used after a failure.
 * @return 0, 33030 (#FLOW_target_object_not_attached) when there are no targets, or the platform's
 *   status.
 */
ZOLP_API int ZOLP_getRHTargetObjects(const FLOW_action_message_s* msg, tag* job, int* target_count,
                                     tag** targets);

/**
 * Deletes a job. Its targets stay.
 * @param[in] job the job; one that does not exist is no failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_deleteJob(tag job);

/**
 * Writes a line for each dataset that is attached to a target of a job, for targets that are item
 * revisions: the target's id, the dataset's type and its name, each padded to 25 columns. It does
 * not tell whether one of them is a drawing: the reader does.
 * @param[in] job the job.
 * @param[in] report address of the open stream that the lines go to.
 * @return 0 or the platform's status; a failing test of a target's class is also printed to
 *   standard output.
 */
ZOLP_API int ZOLP_HasTargetADrawing(tag job, FILE** report);

/**
 * Puts the targets of a job into a folder, before what is inside. When there is no folder of the
 * name, the first call only makes it, and a second one files the targets.
 * @param[in] job the job.
 * @param[in] folder_name name of the folder; of several the first one found is taken.
 * @param[in] description description of a folder that is made.
 * @return 0; 1 when the name is empty or the targets cannot be put into the folder; or the
 *   platform's status.
 */
ZOLP_API int ZOLP_moveTargetToFolder(tag job, const char* folder_name, const char* description);

/** Longest name of a job, in bytes; a buffer needs one byte more. */
#define ZOLP_JOB_NAME_SIZE 128

/**
 * Gives objects a release status by means of a job that lives no longer than that: its process
 * template has a handler that sets the status.
 * @param[in] object_count number of objects.
 * @param[in] objects the objects, the targets of the job.
 * @param[in,out] job_name name of the job, to which the current time is appended, in seconds, in
 *   the caller's buffer. The buffer needs room for eleven more bytes, or #ZOLP_JOB_NAME_SIZE + 1 in
 *   all if that is less: beyond that nothing is written, and the time loses its end.
 * @param[in] procedure_name name of the process template.
 * @return 0, the platform's status when there is no such template, or 1 when the job could not be
 *   made, was stopped or could not be deleted. A job that was stopped stays.
 */
ZOLP_API int ZOLP_addReleaseStatusWithTmpJob(int object_count, tag* objects, char* job_name,
                                             const char* procedure_name);

/* ------------------------------------------------------------------ BOM lines and structures -- */

/*
 * Lines are those of an open BOM window (`ork/bomw.h`). What is set on them is saved by whoever
 * opened the window.
 */

/**
 * Sequence number of a BOM line.
 * @param[in] line the line.
 * @param[out] seq_no the text, freed by the caller with `MEM_free`; null on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_getSequenceNo(tag line, char** seq_no);

/**
 * Sets the sequence number of a BOM line.
 * @param[in] line the line.
 * @param[in] seq_no the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_setSequenceNo(tag line, const char* seq_no);

/**
 * Quantity of a BOM line.
 * @param[in] line the line.
 * @param[out] quantity the text, freed by the caller with `MEM_free`; null on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_getQuantity(tag line, char** quantity);

/**
 * Sets the quantity of a BOM line.
 * @param[in] line the line.
 * @param[in] quantity the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_setQuantity(tag line, const char* quantity);

/**
 * Item revision of a BOM line.
 * @param[in] line the line.
 * @param[out] item_rev the revision; 0 on failure, and where none is configured.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_get_bomline_revtag(tag line, tag* item_rev);

/**
 * Item of a BOM line.
 * @param[in] line the line.
 * @param[out] item the item; 0 on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_get_bomline_itemtag(tag line, tag* item);

/**
 * Ids of a BOM line's item and revision.
 * @param[in] line the line.
 * @param[out] item_id, rev_id the ids, freed by the caller with `MEM_free`; null on failure.
 * @return the status of reading the revision's id.
 */
ZOLP_API int ZOLP_get_bomline_item_and_rev(tag line, char** item_id, char** rev_id);

/**
 * Numbers the lines below a BOM line. Lines of one revision share a number; each further revision
 * takes the next one. A pass takes three platform operations for a line that gets a number of its
 * own and five for one that shares one: its revision is read once, in two of them.
 * @param[in] line the line.
 * @param[in] current_seq first number; it is not written back.
 * @param[in] increment distance between two numbers.
 * @param[in] recursive 1 numbers the lines below the children too. Each child's children begin with
 *   the number that follows those of this line.
 * @param[in] max_depth how many lines, counted over the whole walk, may have their children
 *   numbered further down; 0 for any number of them.
 * @param[in,out] depth counts these lines, up from what the caller sets; may be null where
 *   `max_depth` is 0.
 * @param[in] not_desired lines that keep their numbers. For each of them there is one pass over the
 *   children that passes over this line only, and the numbers run on from pass to pass: with
 *   several of them, the last pass counts.
 * @param[in] not_desired_count their number.
 * @return 0, also when children cannot be read (they show in the trace as failures); 1 when memory
 *   is exhausted.
 */
ZOLP_API int ZOLP_resequence_bom(tag line, int* current_seq, int* increment, logical recursive,
                                 int max_depth, int* depth, tag* not_desired,
                                 int not_desired_count);

/**
 * Packs the lines below a BOM line: lines that are equal become one.
 * @param[in] line the line.
 * @param[in] recursive 1 packs the lines below the children too.
 * @return 0 or the platform's status, which ends it.
 */
ZOLP_API int ZOLP_pack_bom(tag line, logical recursive);

/**
 * Walks a structure for its depth.
 * @param[in] line the line to begin with.
 * @param[in] level its level.
 * @param[in,out] max_depth set to level + 1 in the end, whatever lies deeper.
 * @return always 0; children that cannot be read show in the trace.
 */
ZOLP_API int ZOLP_get_max_depth_of_ps(tag line, int level, int* max_depth);

/**
 * Counts the lines of a structure.
 * @param[in] line the line to begin with; it is counted too.
 * @param[in] limit how many descents to a child the whole walk may make; 0 for any number of them.
 * @param[in,out] counter counts the descents, up from what the caller sets; may be null where
 *   `limit` is 0. The same holds for the other walks.
 * @param[in,out] size the number of lines is added to it.
 * @return 0, or the platform's status when the children of this very line cannot be read; failures
 *   are printed to standard output too.
 */
ZOLP_API int ZOLP_getSizeOfPS(tag line, int limit, int* counter, int* size);

/**
 * Collects the lines below a BOM line, except some. The lines below an excluded one are collected.
 * The list is searched for each line that is added.
 * @param[in] line the line.
 * @param[in,out] counter, limit as for `ZOLP_getSizeOfPS`.
 * @param[in] exclude_count, exclude the lines to leave out.
 * @param[in,out] out_count, out_array the lines, appended to an array as `ZOLP_addElement` does.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_excludeListFromBom(tag line, int* counter, int limit, int exclude_count,
                                     tag* exclude, int* out_count, tag** out_array);

/**
 * Asks whether the revision of a BOM line is also that of a line right below another one.
 * @param[in] line the line with the revision.
 * @param[in] top_line the other line. The lines further down are walked, but do not count.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_existObjectInBom(tag line, tag top_line, logical* found);

/**
 * Collects the sequence numbers of the lines below a BOM line.
 * @param[in] line the line.
 * @param[in] limit, counter as for `ZOLP_getSizeOfPS`.
 * @param[in,out] count, list the numbers, appended to an array as `ZOLP_addElement` does, each
 * once.
 * @return 0, the platform's status, or 1 for a line without a number other than 0, which ends the
 *   walk, and when memory is exhausted.
 */
ZOLP_API int ZOLP_getSeqNoListOfBom(tag line, int limit, int* counter, int* count, tag** list);

/**
 * Finds a number that is not in a list. Needs no session.
 * @param[in,out] seq_no the number to begin with; the increment is added until it is not in the
 *   list.
 * @param[in] increment the increment.
 * @param[in] count, list the numbers in use.
 * @return 0, or 1 when all numbers that the increment leads to are in use.
 */
ZOLP_API int ZOLP_getUnusedSeqNo(int* seq_no, int increment, int count, tag* list);

/**
 * Collects objects of a structure. A line contributes when it has lines below it, so the leaves do
 * not.
 * @param[in] line the line to begin with.
 * @param[in] class_name "Item" for the items of lines, "ItemRevision" for their revisions,
 * "Dataset" for all datasets that are attached to these; any other name for none.
 * @param[in] reserved, reserved2 passed on.
 * @param[in,out] count, list the objects, appended to an array as `ZOLP_addElement` does, each
 * once.
 * @return 0, 1 for a null line, or the status of a failure on this very line; failures to read a
 *   line's object are printed to standard output too. Also 0 when memory is exhausted or the
 * platform cannot tell whether an object exists: such objects are missing from the list.
 */
ZOLP_API int ZOLP_exportObjectsFromBom(tag line, const char* class_name, void* reserved,
                                       int reserved2, int* count, tag** list);

#ifdef __cplusplus
}

#include <regex.h>

/* ----------------------------------------------------------------------------------- filters -- */

/*
 * A filter is a text for a property of an object; null and "" test nothing. An object whose
 * properties cannot be read passes: the answer is true, and the platform's status is returned. Look
 * at both.
 */

/**
 * Compares an object's name and type with texts, whole and with their case.
 * @param[in] object a workspace object.
 * @param[in] name_filter, type_filter the texts.
 * @param[out] match whether the object passes.
 * @param[in] prefix_check true compares the beginning of the name before the whole of it, which
 *   shows in the trace; the same names pass.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ApplyFilter(tag object, const char* name_filter, const char* type_filter,
                              bool* match, bool prefix_check);

/**
 * Asks whether texts occur in an object's name and type: `ZOLP_ApplyRegExpFilterExt` with escaping
 * and without a filter for statuses.
 */
ZOLP_API int ZOLP_ApplyRegExpFilter(tag object, const char* name_filter, const char* type_filter,
                                    bool* match);

/**
 * Filters an object by regular expressions: POSIX extended ones in the dialect of the C library,
 * with case, matching anywhere in the value. Patterns are compiled once for the life of the
 * process.
 *
 * A pattern that does not compile lets no object pass. Neither does one that would take too much
 * memory or time. Its limits, with repetitions written out ("a{3}" as "aaa", "a+" as "aa*"), are
 * 250 groups in one another, 100,000 characters, and 1,000 groups, alternatives, repetitions of a
 * variable number and anchors, each of which counts three times. Of these, 16 may follow each other
 * without a character between, if there are anchors or unlimited repetitions of what can be empty,
 * as in "(a*)*". Beside back-references, of which there may be 3, one alternative or repetition of
 * a variable number is allowed.
 * @param[in] object the object; it has the properties "object_name" and "object_type".
 * @param[in] name_filter pattern for the name. Without escaping it is not used: then a name filter
 *   lets no object pass.
 * @param[in] type_filter pattern for the type.
 * @param[in] status_filter pattern for the names of the release statuses, of which one must match;
 *   an object without statuses passes a pattern that matches the empty text.
 * @param[out] match whether the object passes all filters.
 * @param[in] escape true takes the characters "*.+[]{}^$\" in all filters for themselves; "(", ")",
 *   "|" and "?" keep their meaning.
 * @return 0 or the status of the last platform operation that failed. A status that cannot be read
 *   ends the search for one that matches.
 */
ZOLP_API int ZOLP_ApplyRegExpFilterExt(tag object, const char* name_filter, const char* type_filter,
                                       const char* status_filter, bool* match, bool escape);

/**
 * Asks whether a regular expression matches anywhere in a text. Needs no session.
 * @param[in] pattern the expression from `regcomp`; it stays the caller's.
 * @param[in] text the text.
 */
ZOLP_API bool MatchPattern(re_pattern_buffer pattern, const char* text);

/**
 * Copies the part of a text that an expression has matched. Needs no session.
 * @param[in] match where it matched, from `regexec`.
 * @param[in] text the text.
 * @return the part, freed by the caller with `MEM_free`; null when `match` is null or did not
 *   match, or when memory is exhausted.
 */
ZOLP_API char* regmatch_dup(regmatch_t* match, const char* text);

/* ------------------------------------------------------------------------------------- dates -- */

/*
 * Two formats, in the language that `ork/date.h` describes: the default format is the platform's
 * text "DefaultDateFormat"; the site's format is the value of the environment variable
 * `STORE_DATE_FORMAT`, or the default format where that is not set. Both are looked up once for the
 * life of the process. Texts that are handed out are freed by the caller with `MEM_free`; they are
 * null on failure.
 */

/**
 * The current local date and time.
 * @param[out] date the date; its month counts from 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_DateAskCurrentDate(date_s* date);

/**
 * The current local date and time as "31.12.2026 23:59".
 * @param[out] text the text.
 * @return always 0.
 */
ZOLP_API int ZOLP_DateAskCurrentDateTimeAsString(char** text);

/**
 * The current local date in the site's format.
 * @param[out] text the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_DateAskCurrentDateAsString(char** text);

/** The same in the default format. */
ZOLP_API int ZOLP_DateAskCurrentDateAsVELOString(char** text);

/**
 * A date in the site's format.
 * @param[in] date the date.
 * @param[out] text the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_DateDateToString(date_s date, char** text);

/**
 * Brings a date into the default format.
 * @param[in] input the date in the site's format, or else in the default format; null and "" stand
 *   for the current date.
 * @param[out] text the date in the default format.
 * @return 0 or the platform's status for an input that is in neither format.
 */
ZOLP_API int ZOLP_DateStringVELODateString(const char* input, char** text);

/**
 * Reads a date from a text.
 * @param[in] input the text; null and "" stand for the current date.
 * @param[out] date the date, as the platform has read it; the null date on failure.
 * @param[in] format the format of the input; null and "" stand for the site's format, or else the
 *   default format.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_UTIL_DateStringToVELODate(const char* input, date_s* date, const char* format);

/* ---------------------------------------------------------------- view types and occurrences -- */

/**
 * Asks whether a BOM view is of a view type.
 * @param[in] bv_or_bvr a BOM view, or a BOM view revision, whose view counts.
 * @param[in] view_type the view type.
 * @param[out] verdict true if so; false for a null object or type and after any failure.
 * @return 0 or the status of the last platform operation.
 */
ZOLP_API int ZOLP_IsViewOfType(tag bv_or_bvr, tag view_type, bool* verdict);

/**
 * The same for a view type by name.
 * @param[in] bv_or_bvr as above.
 * @param[in] view_type_name name of the view type; null takes the site's default view type, or else
 *   the type "view".
 * @param[out] verdict as above.
 * @return the status of a failed lookup of the type, or as above.
 */
ZOLP_API int ZOLP_IsViewOfType(tag bv_or_bvr, const char* view_type_name, bool* verdict);

/**
 * Item and revision that the child of an occurrence stands for.
 * @param[in] occ_obj the child: an item, or an item revision, which no rule changes.
 * @param[in] rev_rule the revision rule for an item.
 * @param[out] item the item.
 * @param[out] item_rev the given revision, or the one that the rule configures; 0 when it
 * configures none. Both are left alone after a failure that comes before they are known.
 * @param[out] type_name name of the child's type, freed by the caller with `MEM_free`; null when
 *   memory is exhausted.
 * @return 0, the platform's status, or 2010 (also on the error stack) for an item without a rule
 * and for any other object.
 */
ZOLP_API int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, tag rev_rule, tag* item, tag* item_rev,
                                          char** type_name);

/**
 * The same for a revision rule by name. An unknown name puts 710041 on the error stack and counts
 * as no rule.
 */
ZOLP_API int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, const char* rev_rule_name, tag* item,
                                          tag* item_rev, char** type_name);

/**
 * Item that the child of an occurrence stands for.
 * @param[in] occ_obj the child.
 * @param[out] item the item; left alone for an object that is no item and no revision.
 * @param[out] type_name as for `ZOLP_GetItemAndRevFromOccObj`.
 * @return the status of the last platform operation.
 */
ZOLP_API int ZOLP_GetItemFromOccObj(tag occ_obj, tag* item, char** type_name);

/**
 * Sequence number of an occurrence.
 * @param[in] bvr the BOM view revision.
 * @param[in] occ the occurrence.
 * @param[out] seq_no the text, freed by the caller with `MEM_free`; null on failure and when the
 *   occurrence has no number, which is no failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int GetSeqNo(tag bvr, tag occ, char** seq_no);

/**
 * Text of an occurrence's note.
 * @param[in] bvr the BOM view revision.
 * @param[in] occ the occurrence.
 * @param[in] note_type name of the note's type; case counts.
 * @param[in,out] notes, note_count the occurrence's notes. They are listed when `*notes` is null;
 *   keep them for further calls on the same occurrence, and free them with `MEM_free`.
 * @param[out] value text of the first note of this type, freed by the caller with `MEM_free`; null
 *   when there is none.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_GetOccNoteText(tag bvr, tag occ, const char* note_type, tag** notes,
                                 int* note_count, char** value);

/* ---------------------------------------------------------------------------- small classes -- */

/** A parameter line: a fixed record of character data, copied as a whole. */
class ZOLP_API CZOLP_ParamLine {
 public:
  CZOLP_ParamLine& operator=(const CZOLP_ParamLine& other);

  char text[1026]; /**< the line, NUL-terminated by whoever fills it */
};

/** A string class without data, kept for customisations that name it. */
class ZOLP_API CZOLP_String {
 public:
  CZOLP_String& operator=(const CZOLP_String& other);
};

#endif

#endif
