// Workflow: attachments of a job, condition tasks, release levels and their reviewers.

#include <cstdint>
#include <cstring>
#include <optional>

#include "attachment_types.h"
#include "call_frame.h"
#include "host_memory.h"
#include "ork/err.h"
#include "ork/flow.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::copy_text;
using orktool::HostPtr;
using orktool::out;
using orktool::text_or_empty;

// -------------------------------------------------------------------------------- attachments

int ZOLP_add_attachments(tag job, int attachment_type, int count, tag* objects) {
  FRAME(frame, "ZOLP_add_attachments");
  tag root = NULLTAG;
  GUARDED("FLOW_get_root_task(job, &root)", FLOW_get_root_task(job, &root));
  const HostPtr<int> types = orktool::attachment_types(count, attachment_type);
  if (types == nullptr) {
    ZOLP_ERROR("ERROR: not enough memory available");
    [[maybe_unused]] int status = ORK_ok;
    TRACED(status, "ERR_store_error(3, 2002)",
           ERR_store_error(ERR_severity_error, ZOLP_out_of_memory));
    return frame.leave(ZOLP_out_of_memory);
  }
  GUARDED("FLOW_add_attachments(root, count, objects, types)",
          FLOW_add_attachments(root, count, objects, types.get()));
  return frame.leave(ORK_ok);
}

int ZOLP_add_reference_objects(tag job, int count, tag* reference_objects) {
  FRAME(frame, "ZOLP_add_reference_objects");
  GUARDED("ZOLP_add_attachments(job, FLOW_reference_attachment, count, reference_objects)",
          ZOLP_add_attachments(job, FLOW_reference_attachment, count, reference_objects));
  return frame.leave(ORK_ok);
}

int ZOLP_add_target_objects(tag job, int count, tag* target_objects) {
  FRAME(frame, "ZOLP_add_target_objects");
  GUARDED("ZOLP_add_attachments(job, FLOW_target_attachment, count, target_objects)",
          ZOLP_add_attachments(job, FLOW_target_attachment, count, target_objects));
  return frame.leave(ORK_ok);
}

int ZOLP_remove_attachments(tag job, int count, tag* objects) {
  FRAME(frame, "ZOLP_remove_attachments");
  tag root = NULLTAG;
  GUARDED("FLOW_get_root_task(job, &root)", FLOW_get_root_task(job, &root));
  GUARDED("FLOW_remove_attachments(root, count, objects)",
          FLOW_remove_attachments(root, count, objects));
  return frame.leave(ORK_ok);
}

int ZOLP_ask_target_objects(tag job, int* count, tag** target_objects) {
  FRAME(frame, "ZOLP_ask_target_objects");
  tag root = NULLTAG;
  GUARDED("FLOW_get_root_task(job, &root)", FLOW_get_root_task(job, &root));
  GUARDED("FLOW_get_attachments(root, FLOW_target_attachment, count, target_objects)",
          FLOW_get_attachments(root, FLOW_target_attachment, count, target_objects));
  return frame.leave(ORK_ok);
}

int ZOLP_ask_reference_objects(tag job, int* count, tag** reference_objects) {
  FRAME(frame, "ZOLP_ask_reference_objects");
  tag root = NULLTAG;
  GUARDED("FLOW_get_root_task(job, &root)", FLOW_get_root_task(job, &root));
  GUARDED("FLOW_get_attachments(root, FLOW_reference_attachment, count, reference_objects)",
          FLOW_get_attachments(root, FLOW_reference_attachment, count, reference_objects));
  return frame.leave(ORK_ok);
}

namespace {

int refresh_signoffs(tag task) {
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> signoffs;
  TRACED(status, "FLOW_get_attachments(level_task, FLOW_signoff_attachment, &count, &signoffs)",
         FLOW_get_attachments(task, FLOW_signoff_attachment, &count, out(signoffs)));
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    TRACED(status, "OBJ_refresh(signoffs[j], false)", OBJ_refresh(signoffs.get()[i], 0));
  }
  return status;
}

/** The signoffs of the level tasks that are not finished. */
int refresh_level_tasks(tag root) {
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> tasks;
  TRACED(status, "FLOW_get_sub_tasks(root, &level_count, &level_tasks)",
         FLOW_get_sub_tasks(root, &count, out(tasks)));
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    int state = 0;
    char state_name[128] = "";
    TRACED(status, "FLOW_get_state(level_tasks[i], &state)",
           FLOW_get_state(tasks.get()[i], &state));
    if (status == ORK_ok) {
      TRACED(status, "FLOW_get_state_string(state, state_name)",
             FLOW_get_state_string(state, state_name));
    }
    if (status != ORK_ok) {
      break;
    }
    ZOLP_TRACE("level_task=%d state [%s] \n", i, state_name);
    if (state != FLOW_completed) {
      status = refresh_signoffs(tasks.get()[i]);
    }
  }
  return status;
}

/** Objects that cannot be loaded are refreshed instead. */
int refresh_attachments(tag root, int type) {
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> objects;
  TRACED(status, "FLOW_get_attachments(root, type, &count, &objects)",
         FLOW_get_attachments(root, type, &count, out(objects)));
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    TRACED(status, "OBJ_load(objects[i])", OBJ_load(objects.get()[i]));
    if (status != ORK_ok) {
      TRACED(status, "OBJ_refresh(objects[i], false)", OBJ_refresh(objects.get()[i], 0));
    }
  }
  return status;
}

}  // namespace

int ZOLP_refresh_entire_job(tag job) {
  FRAME(frame, "ZOLP_refresh_entire_job");
  int status = ORK_ok;
  tag root = NULLTAG;
  TRACED(status, "FLOW_get_root_task(job, &root)", FLOW_get_root_task(job, &root));
  if (status == ORK_ok) {
    status = refresh_level_tasks(root);
  }
  for (const int type :
       {FLOW_target_attachment, FLOW_reference_attachment, FLOW_release_status_attachment}) {
    if (status == ORK_ok) {
      status = refresh_attachments(root, type);
    }
  }
  if (status == ORK_ok) {
    TRACED(status, "FLOW_refresh_entire_job(job)", FLOW_refresh_entire_job(job));
  }
  return frame.leave(status);
}

// --------------------------------------------------------------------------- condition tasks

int ZOLP_get_condition_task_by_name(tag job, const char* task_name, tag* condition_task) {
  FRAME(frame, "ZOLP_get_condition_task_by_name");
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> tasks;
  char name[FLOW_name_size + 1] = "";
  *condition_task = NULLTAG;
  tag found = NULLTAG;
  TRACED(status, "FLOW_get_type_tasks(job, eFLOWConditionTask, &count, &tasks)",
         FLOW_get_type_tasks(job, eFLOWConditionTask, &count, out(tasks)));
  for (int i = 0; status == ORK_ok && i < count && found == NULLTAG; ++i) {
    TRACED(status, "FLOW_get_name(tasks[i], name)", FLOW_get_name(tasks.get()[i], name));
    if (status == ORK_ok && std::strcmp(name, task_name) == 0) {
      found = tasks.get()[i];
    }
  }
  *condition_task = found;
  return frame.leave(status);
}

int ZOLP_set_condition_task_result(tag condition_task, int result) {
  FRAME(frame, "ZOLP_set_condition_task_result");
  int status = ORK_ok;
  TRACED(status, "OBJ_refresh(condition_task, true)", OBJ_refresh(condition_task, 1));
  if (status == ORK_ok) {
    TRACED(status, "FLOW_set_condition_task_result(condition_task, result)",
           FLOW_set_condition_task_result(condition_task, result));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(condition_task)", OBJ_save(condition_task));
  }
  // Its status alone is the result: the trace has those of the steps before.
  TRACED(status, "OBJ_unlock(condition_task)", OBJ_refresh(condition_task, 0));
  return frame.leave(status);
}

int ZOLP_set_named_condition_task_result(tag job, const char* task_name, int result) {
  FRAME(frame, "ZOLP_set_named_condition_task_result");
  tag task = NULLTAG;
  if (const int status = ZOLP_get_condition_task_by_name(job, task_name, &task); status != ORK_ok) {
    return frame.leave(status);
  }
  if (task == NULLTAG) {
    return frame.leave(ZOLP_no_condition_task);
  }
  return frame.leave(ZOLP_set_condition_task_result(task, result));
}

// --------------------------------------------------------------- release levels and reviewers

namespace {

int list_review_tasks(tag job, int* count, HostPtr<tag>& tasks) {
  int status = ORK_ok;
  TRACED(status, "FLOW_get_type_tasks(job, eFLOWReviewTask, &count, &tasks)",
         FLOW_get_type_tasks(job, eFLOWReviewTask, count, out(tasks)));
  return status;
}

int read_display_name(tag task, HostPtr<char>& name) {
  int status = ORK_ok;
  TRACED(status, "OBJ_UIF_get_value(task, \"object_name\", &name)",
         OBJ_UIF_get_value(task, "object_name", out(name)));
  return status;
}

/** Looks for the first task in a state; a task that is found has its name copied. */
int find_task_in_state(int wanted_state, int count, const tag* tasks, tag* found, char* name) {
  int status = ORK_ok;
  for (int i = 0; i < count && status == ORK_ok && *found == NULLTAG; ++i) {
    int state = 0;
    TRACED(status, "FLOW_get_state(tasks[i], &state)", FLOW_get_state(tasks[i], &state));
    if (status != ORK_ok || state != wanted_state) {
      continue;
    }
    HostPtr<char> display_name;
    status = read_display_name(tasks[i], display_name);
    if (status == ORK_ok) {
      std::strcpy(name, text_or_empty(display_name.get()));  // whole, as callers are told
      *found = tasks[i];
      ZOLP_TRACE("spCurrentReleaseLevelName=%s\n", name);
    }
  }
  return status;
}

}  // namespace

int ZOLP_ask_current_release_level(tag job, tag* release_level, char* release_level_name) {
  FRAME(frame, "ZOLP_ask_current_release_level");
  *release_level_name = '\0';
  *release_level = NULLTAG;
  int count = 0;
  HostPtr<tag> tasks;
  int status = list_review_tasks(job, &count, tasks);
  ZOLP_TRACE("iTaskListCount=%d\n", count);
  for (const int state : {FLOW_started, FLOW_pending}) {
    if (status == ORK_ok && *release_level == NULLTAG) {
      status = find_task_in_state(state, count, tasks.get(), release_level, release_level_name);
    }
  }
  return frame.leave(status);
}

int ZOLP_ask_current_release_level_name(tag job, char* release_level_name) {
  FRAME(frame, "ZOLP_ask_current_release_level_name");
  int status = ORK_ok;
  tag release_level = NULLTAG;
  TRACED(status, "ZOLP_ask_current_release_level(job, &release_level, release_level_name)",
         ZOLP_ask_current_release_level(job, &release_level, release_level_name));
  return frame.leave(status);
}

int ZOLP_find_release_level(tag job, const char* release_level_name, tag* release_level) {
  FRAME(frame, "ZOLP_find_release_level");
  *release_level = NULLTAG;
  ZOLP_TRACE("search for release level nane=%s\n", release_level_name);
  int count = 0;
  HostPtr<tag> tasks;
  int status = list_review_tasks(job, &count, tasks);
  if (status == ORK_ok) {
    ZOLP_TRACE("iTaskListCount=%d\n", count);
  }
  for (int i = 0; i < count && status == ORK_ok && *release_level == NULLTAG; ++i) {
    HostPtr<char> name;
    status = read_display_name(tasks.get()[i], name);
    if (status != ORK_ok) {
      break;
    }
    ZOLP_TRACE("FLOWReviewTask[%d]=%s\n", i, text_or_empty(name.get()));
    if (std::strcmp(text_or_empty(name.get()), release_level_name) == 0) {
      *release_level = tasks.get()[i];
      ZOLP_TRACE("found release level named %s\n", release_level_name);
    }
  }
  return frame.leave(status);
}

namespace {

/** An array of tags from the platform's allocator that grows by one element at a time. */
class MemberArray {
 public:
  /** Appends a tag; false when memory is exhausted, and then the array stays as it is. */
  bool append(tag member) {
    const std::size_t size = (static_cast<std::size_t>(count_) + 1) * sizeof(tag);
    void* grown = count_ == 0 ? MEM_alloc(size) : MEM_realloc(members_.get(), size);
    if (grown == nullptr) {
      return false;
    }
    (void)members_.release();
    members_.reset(static_cast<tag*>(grown));
    members_.get()[count_++] = member;
    return true;
  }

  void hand_over(int* count, tag** members) {
    *count = count_;
    *members = members_.release();
    count_ = 0;
  }

 private:
  HostPtr<tag> members_;
  int count_ = 0;
};

/** A type of members, or none for members of all types. */
using WantedType = std::optional<int>;

constexpr int unread_member_type = 9999;

/** The texts of the trace have the two types the other way round; they are read as they stand. */
void trace_member_type(int index, int member_type) {
  switch (member_type) {
    case SIGNOFF_group_member:
      ZOLP_TRACE("Member[%d]=SIGNOFF_RESOURCEPOOL\n", index);
      break;
    case SIGNOFF_resource_pool:
      ZOLP_TRACE("Member[%d]=SIGNOFF_GROUPMEMBER\n", index);
      break;
    default:
      ZOLP_TRACE("Member[%d]=SIGNOFF_UNDEFINED\n", index);
  }
}

/** Appends the member of a signoff, when it is of the wanted type. */
int add_member(tag signoff, int index, WantedType wanted_type, MemberArray& members) {
  int status = ORK_ok;
  tag member = NULLTAG;
  int member_type = unread_member_type;
  TRACED(status, "OBJ_refresh(signoffs[i], false)", OBJ_refresh(signoff, 0));
  if (status == ORK_ok) {
    TRACED(status, "FLOW_get_signoff_member(signoffs[i], &member, &member_type)",
           FLOW_get_signoff_member(signoff, &member, &member_type));
  }
  if (status != ORK_ok) {
    return status;
  }
  trace_member_type(index, member_type);
  if (wanted_type && member_type != *wanted_type) {
    ZOLP_TRACE("ignore Member[%d] of not selected type\n", index);
    return ORK_ok;
  }
  ZOLP_TRACE("add Member[%d] to array\n", index);
  if (!members.append(member)) {
    ZOLP_CRERROR("ZOLP_ask_reviewers alloc Memory");
    return ZOLP_out_of_memory;
  }
  return ORK_ok;
}

int add_team_members(tag release_level, WantedType wanted_type, MemberArray& members) {
  int status = ORK_ok;
  tag team_task = NULLTAG;
  int count = 0;
  HostPtr<tag> signoffs;
  TRACED(status, "FLOW_get_sub_task(level, \"select-signoff-team\", &team_task)",
         FLOW_get_sub_task(release_level, "select-signoff-team", &team_task));
  if (status == ORK_ok && team_task != NULLTAG) {
    ZOLP_TRACE("found the subtask select-signoff-team\n");
    TRACED(status, "FLOW_get_attachments(team_task, FLOW_signoff_attachment, &count, &signoffs)",
           FLOW_get_attachments(team_task, FLOW_signoff_attachment, &count, out(signoffs)));
  }
  if (status == ORK_ok) {
    ZOLP_TRACE("iSignoffCount=%d\n", count);
  }
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    status = add_member(signoffs.get()[i], i, wanted_type, members);
  }
  return status;
}

int list_reviewers(tag job, const char* release_level_name, WantedType wanted_type, int* count,
                   tag** members) {
  int status = ORK_ok;
  tag release_level = NULLTAG;
  MemberArray found;
  *count = 0;
  *members = nullptr;
  TRACED(status, "ZOLP_find_release_level(job, release_level_name, &release_level)",
         ZOLP_find_release_level(job, release_level_name, &release_level));
  if (status == ORK_ok && release_level != NULLTAG) {
    // The line has always shown the address of the name.
    ZOLP_TRACE("found release level named %d\n",
               static_cast<int>(reinterpret_cast<std::uintptr_t>(release_level_name)));
    status = add_team_members(release_level, wanted_type, found);
  }
  found.hand_over(count, members);
  return status;
}

}  // namespace

int ZOLP_ask_reviewers(tag job, const char* release_level_name, int* count, tag** members) {
  FRAME(frame, "ZOLP_ask_reviewers");
  return frame.leave(list_reviewers(job, release_level_name, std::nullopt, count, members));
}

int ZOLP_ask_reviewers_by_type(tag job, const char* release_level_name, int member_type, int* count,
                               tag** members) {
  FRAME(frame, "ZOLP_ask_reviewers_by_type");
  return frame.leave(list_reviewers(job, release_level_name, member_type, count, members));
}

namespace {

/** Hands out what `ask(count, members)` has found, unless it fails. */
template <typename Ask>
int ask_members_of_type(Ask ask, const char* traced_count, int* count, tag** members) {
  int found_count = 0;
  HostPtr<tag> found;
  *count = 0;
  *members = nullptr;
  const int status = ask(&found_count, found);
  ZOLP_TRACE(traced_count, found_count);
  if (status == ORK_ok) {
    *count = found_count;
    *members = found.release();
  }
  return status;
}

}  // namespace

int ZOLP_ask_reviewers_groupmembers(tag job, const char* release_level_name, int* count,
                                    tag** members) {
  FRAME(frame, "ZOLP_ask_reviewers_groupmembers");
  const auto ask = [&](int* found_count, HostPtr<tag>& found) {
    int status = ORK_ok;
    TRACED(status,
           "ZOLP_ask_reviewers_by_type(job, release_level_name, 0, &iTempGroupmemberCount, &temp)",
           ZOLP_ask_reviewers_by_type(job, release_level_name, SIGNOFF_group_member, found_count,
                                      out(found)));
    return status;
  };
  return frame.leave(ask_members_of_type(ask, "iTempGroupmemberCount=%d\n", count, members));
}

int ZOLP_ask_reviewers_resourcepools(tag job, const char* release_level_name, int* count,
                                     tag** members) {
  FRAME(frame, "ZOLP_ask_reviewers_resourcepools");
  const auto ask = [&](int* found_count, HostPtr<tag>& found) {
    int status = ORK_ok;
    TRACED(status,
           "ZOLP_ask_reviewers_by_type(job, release_level_name, 1, &iTempResourcepoolCount, &temp)",
           ZOLP_ask_reviewers_by_type(job, release_level_name, SIGNOFF_resource_pool, found_count,
                                      out(found)));
    return status;
  };
  return frame.leave(ask_members_of_type(ask, "iTempResourcepoolCount=%d\n", count, members));
}

namespace {

using OrganisationName = char[ORG_name_size + 1];

/** The user who runs the handler. */
int current_reviewer(tag* reviewer) {
  int status = ORK_ok;
  tag member = NULLTAG;
  TRACED(status, "ORG_get_current_groupmember(&member)", ORG_get_current_groupmember(&member));
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_groupmember_user(member, &reviewer)",
           ORG_get_groupmember_user(member, reviewer));
  }
  return status;
}

int trace_pool(tag signoff, int index) {
  int status = ORK_ok;
  tag pool = NULLTAG;
  OrganisationName group_name = "";
  OrganisationName role_name = "";
  TRACED(status, "SIGNOFF_get_signoff_resource_pool(signoffs[i], &pool)",
         SIGNOFF_get_signoff_resource_pool(signoff, &pool));
  if (status == ORK_ok && pool != NULLTAG) {
    tag group = NULLTAG;
    tag role = NULLTAG;
    logical allow_subgroup = 0;
    TRACED(status, "FLOW_get_resource_pool_group_role(pool, &group, &role, &allow_subgroup)",
           FLOW_get_resource_pool_group_role(pool, &group, &role, &allow_subgroup));
    copy_text(group_name, "*");
    copy_text(role_name, "*");
    if (status == ORK_ok && group != NULLTAG) {
      TRACED(status, "ORG_get_group_name(group, group_name)",
             ORG_get_group_name(group, group_name));
    }
    if (status == ORK_ok && role != NULLTAG) {
      TRACED(status, "ORG_get_role_name(role, role_name)", ORG_get_role_name(role, role_name));
    }
  }
  if (status == ORK_ok) {
    ZOLP_TRACE("Nr.=%d g=[%s] r=[%s] \n", index, group_name, role_name);
  }
  return status;
}

int trace_group_member(tag member, int index) {
  int status = ORK_ok;
  tag user = NULLTAG;
  tag group = NULLTAG;
  tag role = NULLTAG;
  OrganisationName user_id = "";
  OrganisationName group_name = "";
  OrganisationName role_name = "";
  TRACED(status, "ORG_get_groupmember_user(member, &user)",
         ORG_get_groupmember_user(member, &user));
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_user_identifier(user, user_id)",
           ORG_get_user_identifier(user, user_id));
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_groupmember_group(member, &group)",
           ORG_get_groupmember_group(member, &group));
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_group_name(group, group_name)", ORG_get_group_name(group, group_name));
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_groupmember_role(member, &role)",
           ORG_get_groupmember_role(member, &role));
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_role_name(role, role_name)", ORG_get_role_name(role, role_name));
  }
  if (status == ORK_ok) {
    ZOLP_TRACE("Nr.=%d u=[%s] g=[%s] r=[%s] \n", index, user_id, group_name, role_name);
  }
  return status;
}

/** Reads the decision of a signoff; an approving one makes the current user the reviewer. */
int examine_signoff(tag signoff, int index, int* decision, date_s* date, tag* reviewer) {
  int status = ORK_ok;
  tag member = NULLTAG;
  char comments[SIGNOFF_comment_size + 1] = "";
  TRACED(status, "SIGNOFF_get_signoff_decision(signoffs[i], &decision, comments, signoff_date)",
         SIGNOFF_get_signoff_decision(signoff, decision, comments, date));
  if (status == ORK_ok && *decision == SIGNOFF_approve) {
    status = current_reviewer(reviewer);
  }
  if (status == ORK_ok) {
    TRACED(status, "SIGNOFF_get_signoff_groupmember(signoffs[i], &member)",
           SIGNOFF_get_signoff_groupmember(signoff, &member));
  }
  if (status != ORK_ok) {
    return status;
  }
  return member == NULLTAG ? trace_pool(signoff, index) : trace_group_member(member, index);
}

int examine_signoffs(tag task, date_s* date, tag* reviewer) {
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> signoffs;
  TRACED(status, "FLOW_get_attachments(msg->task, FLOW_signoff_attachment, &count, &signoffs)",
         FLOW_get_attachments(task, FLOW_signoff_attachment, &count, out(signoffs)));
  int decision = SIGNOFF_no_decision;
  for (int i = 0; i < count && status == ORK_ok && decision != SIGNOFF_approve; ++i) {
    status = examine_signoff(signoffs.get()[i], i, &decision, date, reviewer);
  }
  return status;
}

/** For jobs that nobody reviews. */
int ask_job_owner(tag job, char* user_name, tag* user) {
  int status = ORK_ok;
  WSO_description_s description{};
  TRACED(status, "WSO_describe(job, &description)", WSO_describe(job, &description));
  if (status != ORK_ok) {
    return status;
  }
  ZOLP_TRACE("Ersteller [%s]\n", description.owners_name);
  copy_text(user_name, ORG_name_size + 1, description.owners_name);
  TRACED(status, "ORG_find_user(user_name, user)", ORG_find_user(user_name, user));
  return status;
}

}  // namespace

int ZOLP_getJobInfo(const FLOW_action_message_s* msg, char* user_name, date_s* signoff_date,
                    tag* user) {
  FRAME(frame, "ZOLP_getJobInfo");
  int status = ORK_ok;
  tag job = NULLTAG;
  int count = 0;
  HostPtr<tag> tasks;
  *user = NULLTAG;
  *user_name = '\0';
  *signoff_date = STORE_null_date();
  TRACED(status, "FLOW_get_job(msg->task, &job)", FLOW_get_job(msg->task, &job));
  if (status == ORK_ok) {
    status = list_review_tasks(job, &count, tasks);
  }
  if (status != ORK_ok) {
    return frame.leave(status);
  }
  if (count < 1) {
    return frame.leave(ask_job_owner(job, user_name, user));
  }
  tag reviewer = NULLTAG;
  status = examine_signoffs(msg->task, signoff_date, &reviewer);
  if (status == ORK_ok && reviewer == NULLTAG) {
    status = current_reviewer(&reviewer);
  }
  if (reviewer != NULLTAG) {
    TRACED(status, "ORG_get_user_identifier(reviewer, user_name)",
           ORG_get_user_identifier(reviewer, user_name));
    *user = reviewer;
  }
  return frame.leave(status);
}
