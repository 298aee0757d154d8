/**
 * @file
 * Revision rules: which revision of an item counts.
 *
 * A rule is a list of clauses, tried in their order: the latest revision that has a certain release
 * status, or the latest revision of all.
 */
#ifndef ORK_CONFIG_H
#define ORK_CONFIG_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the configuration operations. */
enum { CONFIG_not_a_rule = 45001 /**< the object is not a revision rule */ };

/**
 * Finds a revision rule.
 * @param[in] name its name.
 * @param[out] rule the rule, or #NULLTAG when there is none of that name.
 * @return 0 or an error code.
 */
ORK_API int CONFIG_find(const char* name, tag* rule);

/**
 * The revision of an item that a rule configures, among the saved ones.
 * @param[in] rule the rule.
 * @param[in] item the item.
 * @param[out] revision the revision, or #NULLTAG when no clause of the rule finds one.
 * @param[out] explanation which clause has found it, or that none has, as text freed by the caller
 *   with `MEM_free`; null on failure.
 * @return #ORK_ok, #CONFIG_not_a_rule or #ITEM_not_an_item.
 */
ORK_API int CONFIG_item_get_configured(tag rule, tag item, tag* revision, char** explanation);

#ifdef __cplusplus
}
#endif

#endif
