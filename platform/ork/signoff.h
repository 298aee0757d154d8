/**
 * @file
 * Signoffs: the decisions of the members of a review task's team.
 */
#ifndef ORK_SIGNOFF_H
#define ORK_SIGNOFF_H

#include "ork/date.h"
#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the signoff operations. */
enum {
  SIGNOFF_not_a_signoff = 35001,   /**< the object is not a signoff */
  SIGNOFF_not_the_member = 35002,  /**< the session's user is not whose decision it is */
  SIGNOFF_not_in_progress = 35003, /**< the review has not begun or is over */
  SIGNOFF_unknown_decision = 35004 /**< there is no such decision */
};

/** Decisions. */
enum {
  SIGNOFF_no_decision = 0, /**< none yet */
  SIGNOFF_reject = 78,     /**< against */
  SIGNOFF_approve = 89     /**< in favour */
};

/** Longest comment, in bytes; a buffer needs one byte more. */
#define SIGNOFF_comment_size 240

/**
 * Decision on a signoff.
 * @param[in] signoff the signoff.
 * @param[out] decision the decision.
 * @param[out] comments caller's buffer of #SIGNOFF_comment_size + 1 bytes.
 * @param[out] date when it was taken; the null date when there is none.
 * @return #ORK_ok or #SIGNOFF_not_a_signoff.
 */
ORK_API int SIGNOFF_get_signoff_decision(tag signoff, int* decision, char* comments, date_s* date);

/**
 * Decides on a signoff, which is saved at once, and runs the job on. Only the member whose signoff
 * it is may do so, or, when that is a resource pool, any user with a membership in its group and
 * role.
 * @param[in] signoff a signoff of a review task that has begun and is not over.
 * @param[in] decision the decision; #SIGNOFF_no_decision takes one back.
 * @param[in] comments the comment; null for none.
 * @return #ORK_ok, #SIGNOFF_not_a_signoff, #SIGNOFF_unknown_decision, #SIGNOFF_not_the_member,
 *   #SIGNOFF_not_in_progress, #STORE_value_too_long, #STORE_locked_by_other, or, with the decision
 *   saved, why the job was stopped.
 */
ORK_API int SIGNOFF_set_signoff_decision(tag signoff, int decision, const char* comments);

/**
 * Group member of a signoff.
 * @param[in] signoff the signoff.
 * @param[out] member the member; #NULLTAG when it is that of a resource pool.
 * @return #ORK_ok or #SIGNOFF_not_a_signoff.
 */
ORK_API int SIGNOFF_get_signoff_groupmember(tag signoff, tag* member);

/**
 * Resource pool of a signoff.
 * @param[in] signoff the signoff.
 * @param[out] pool the pool; #NULLTAG when it is that of a group member.
 * @return #ORK_ok or #SIGNOFF_not_a_signoff.
 */
ORK_API int SIGNOFF_get_signoff_resource_pool(tag signoff, tag* pool);

/**
 * Who has decided on a signoff.
 * @param[in] signoff the signoff.
 * @param[out] user the user; #NULLTAG while there is no decision.
 * @return #ORK_ok or #SIGNOFF_not_a_signoff.
 */
ORK_API int SIGNOFF_get_signoff_user(tag signoff, tag* user);

#ifdef __cplusplus
}
#endif

#endif
