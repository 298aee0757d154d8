// SIGNOFF_: the decisions of the members of a review task's team.

#include "ork/signoff.h"

#include "flow_engine.h"
#include "handout.h"
#include "operation.h"

namespace host {

namespace {

/** The member of a signoff, if it is of a class. */
tag member_of_class(tag signoff, const char* class_name) {
  flow::require_signoff(signoff);
  const tag member = store().reference(signoff, "signoff_member");
  return store().is_a(member, class_name) ? member : NULLTAG;
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int SIGNOFF_get_signoff_decision(tag signoff, int* decision, char* comments, date_s* date) {
  host::clear(decision);
  host::clear(comments);
  host::clear(date);
  return operation("SIGNOFF_get_signoff_decision", Needs::session, [&] {
    host::require_all(decision, comments, date);
    host::flow::require_signoff(signoff);
    *decision = host::store().integer(signoff, "decision");
    *date = host::store().date(signoff, "decision_date");
    host::copy_out(host::store().text(signoff, "comments"), comments, SIGNOFF_comment_size + 1);
  });
}

int SIGNOFF_set_signoff_decision(tag signoff, int decision, const char* comments) {
  return operation("SIGNOFF_set_signoff_decision", Needs::session, [&] {
    host::flow::decide(signoff, decision, comments != nullptr ? comments : "");
  });
}

int SIGNOFF_get_signoff_groupmember(tag signoff, tag* member) {
  host::clear(member);
  return operation("SIGNOFF_get_signoff_groupmember", Needs::session, [&] {
    host::require_all(member);
    *member = host::member_of_class(signoff, "GroupMember");
  });
}

int SIGNOFF_get_signoff_resource_pool(tag signoff, tag* pool) {
  host::clear(pool);
  return operation("SIGNOFF_get_signoff_resource_pool", Needs::session, [&] {
    host::require_all(pool);
    *pool = host::member_of_class(signoff, "ResourcePool");
  });
}

int SIGNOFF_get_signoff_user(tag signoff, tag* user) {
  host::clear(user);
  return operation("SIGNOFF_get_signoff_user", Needs::session, [&] {
    host::require_all(user);
    host::flow::require_signoff(signoff);
    *user = host::store().reference(signoff, "decision_user");
  });
}
