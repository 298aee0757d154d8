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
 * @return 1 when bypass was on before, or a system administrator switched it on; otherwise 0.
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
 * @param[out] user, group the user and the group; what the platform leaves there when it fails, so
 *   set them before.
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
 * @return 0 or the platform's status; with a default, the copy is there in both cases.
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
 *   untouched when the default is null.
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
 * @return 1 if so, otherwise 0; a preference without values is warned about in the trace.
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
 *   untouched when the relation type is not known: set them before.
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
 * @return 0, or 1 when a file cannot be opened.
 */
ZOLP_API int ZOLP_clean_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and keeps of each item only the first line, with the lines below it.
 * Needs no session, but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @return 0, or 1 when a file cannot be opened.
 */
ZOLP_API int ZOLP_remove_doubles_from_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and drops from its "Where" blocks the lines that contain one of several
 * texts. Needs no session.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @param[in] n_patterns number of texts.
 * @param[in] patterns the texts.
 * @return 0, or 1 when a file cannot be opened.
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
 * @return 0; 1 when a file cannot be opened or a template line would not fit its buffer of 500
 *   bytes; or the platform's status.
 */
ZOLP_API int ZOLP_create_clonelogheader(const char* release_list_file, const char* out_file,
                                        const char* header_pref);

/**
 * Writes one line to the clone log for each object that is related to an item revision.
 * @param[in] item_rev the item revision.
 * @param[in] relation_type_name name of the relation type.
 * @param[in] prefix text in front of each object's id in the column "Tarn Info".
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
 * @return 0; 1 when a file cannot be opened; or the platform's status. A CAD version other than v15
 *   or v16 leaves an empty batch file.
 */
ZOLP_API int ZOLP_write_startbat(const char* batch_file, assy_entry* top);

/**
 * Writes the entry of an item that the clone keeps, from a line template.
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev values for the placeholders "%%ITEM_ID%%" and "%%ITEM_REV%%".
 * @param[in] template_pref preference that holds the path of the template, which must be writable.
 * @return 0; 1 when the template cannot be opened or a line would not fit its buffer of 500 bytes;
 *   or the platform's status. The same holds for the other writers of entries.
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

/* ------------------------------------------------------------------------------------- forms -- */

/* ------------------------------------------------- workflow attachments, tasks and reviewers -- */

/* --------------------------------------------------------------------------- handler targets -- */

/* ------------------------------------------------------------------ BOM lines and structures -- */

#ifdef __cplusplus
}

/* ----------------------------------------------------------------------------------- filters -- */

/* ------------------------------------------------------------------------------------- dates -- */

/* ---------------------------------------------------------------- view types and occurrences -- */

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
