/**
 * @file
 * What an object is: its release statuses, its type and class, whether it may be changed; items and
 * revisions by their ids; the time.
 *
 * @code
 * int is_released_revision(const char* item_id, const char* rev_id, logical* answer) {
 *   char latest[ZOLP_NAME_SIZE + 1];
 *   tag revision;
 *   int status = ZOLP_ITEM_find_rev(item_id, rev_id, &revision);
 *   *answer = 0;
 *   if (status == ORK_ok && revision != NULLTAG) {
 *     status = ZOLP_ask_latest_status(revision, latest);
 *     *answer = status == ORK_ok && latest[0] != '\0';
 *   }
 *   return status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_TYPES_H
#define ZOLP_ORKTOOL_TYPES_H

#include "ork/date.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

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

/**
 * Asks whether an object is of a type, subtypes not counted.
 * @param[in] tObj the object.
 * @param[in] szWantedType name of the type.
 * @param[out] p_lAnswer 1 if so, otherwise 0, also on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_isObjectOfType(tag tObj, const char* szWantedType, logical* p_lAnswer);

/**
 * Asks whether an item revision belongs to an item that was just created, and not by save-as.
 * @param[in] tObj the item revision.
 * @param[out] isNew 1 if so, otherwise 0; may be null.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_Test_STORE_instance_isNew(tag tObj, logical* isNew);

/**
 * Asks whether an object may be changed by the session's user and is not checked out. Where the
 * platform cannot tell whether it is checked out, it counts as not checked out.
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

#ifdef __cplusplus
}
#endif

#endif
