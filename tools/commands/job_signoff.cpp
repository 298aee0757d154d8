/** @file `zolp job signoff`: decides on a review. */
#include <algorithm>
#include <string>
#include <vector>

#include "commands/job.h"
#include "error.h"
#include "objects.h"
#include "ork/flow.h"
#include "ork/org.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

int decision_code(const std::string& text) {
  return text == "approve"  ? SIGNOFF_approve
         : text == "reject" ? SIGNOFF_reject
                            : SIGNOFF_no_decision;
}

tag release_level(tag job, const JobOptions& options) {
  tag level = NULLTAG;
  std::vector<char> name(STORE_max_string_length + 1);  // shown in other words, maybe
  if (options.task.empty()) {
    require(ZOLP_ask_current_release_level(job, &level, name.data()), "the release level");
  } else {
    require(ZOLP_find_release_level(job, options.task.c_str(), &level), "the release level");
  }
  if (level == NULLTAG) {
    throw Error("job " + options.job + " has no review " +
                    (options.task.empty() ? "that waits" : options.task),
                "see its tasks with \"zolp job show\"");
  }
  return level;
}

tag session_user() {
  tag user = NULLTAG;
  handed_out("the session's user", [&user](char** name) { return STORE_get_user(name, &user); });
  return user;
}

/** How well a signoff suits a user, the best first: the user's own, then undecided ones of pools.
 */
int rank_of(tag signoff, tag user) {
  tag member = NULLTAG;
  tag member_user = NULLTAG;
  tag decided_by = NULLTAG;
  require(SIGNOFF_get_signoff_groupmember(signoff, &member), "a signoff");
  require(SIGNOFF_get_signoff_user(signoff, &decided_by), "a signoff");
  if (member != NULLTAG) {
    require(ORG_get_groupmember_user(member, &member_user), "a signoff");
    return member_user == user ? 0 : 4;
  }
  return decided_by == user ? 1 : decided_by == NULLTAG ? 2 : 3;
}

void sign_off(const JobOptions& options) {
  const tag job = find_job(options.job);
  const tag level = release_level(job, options);
  const std::string name_of_level = task_name(level);
  const tag user = session_user();
  std::vector<tag> signoffs = listed("the signoffs", [level](int* count, tag** found) {
    return FLOW_get_attachments(level, FLOW_signoff_attachment, count, found);
  });
  std::stable_sort(signoffs.begin(), signoffs.end(), [user](tag left, tag right) {
    return rank_of(left, user) < rank_of(right, user);
  });
  int status = SIGNOFF_not_the_member;
  for (const tag signoff : signoffs) {
    status = SIGNOFF_set_signoff_decision(signoff, decision_code(options.decision),
                                          options.comment.c_str());
    if (status != SIGNOFF_not_the_member) {
      break;
    }
    forget_failures();  // somebody else's
  }
  if (status == SIGNOFF_not_the_member) {
    throw Error("review " + name_of_level + " has no signoff for this user",
                "log in as one of its members");
  }
  require_run(job, status,
              "the decision on " + name_of_level + " is not taken, or stopped the job");
  show_what_is_left(job, options);
}

}  // namespace

void add_job_signoff(CommandParser& group) {
  const JobCommand signing =
      add_job_command(group, "signoff", "Decide on a review, as the session's user", sign_off);
  add_job_argument(signing);
  add_text(signing, "--decision", signing.options->decision, "approve, reject or none")
      .required()
      .one_of({"approve", "reject", "none"});
  add_text(signing, "--comment", signing.options->comment, "Comment");
  add_text(signing, "--review", signing.options->task, "Review; the current one when left out");
  signing.parser.footer(
      "\nExample: zolp job signoff R-17 --decision approve -u=alice -p=secret -g=engineering");
}

}  // namespace tool
