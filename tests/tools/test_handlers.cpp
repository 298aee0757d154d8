// A library of workflow handlers, as the host loads one.

#include <cstring>

#include "ork/flow.h"
#include "ork/obj.h"
#include "zolp_call_frame.h"
#include "zolp_orktool.h"

namespace {

/** Decides the condition task "Large?"; with an argument "fail" it fails. */
int decide(const FLOW_action_message_s* message) {
  tag job = NULLTAG;
  int count = 0;
  tag* targets = nullptr;
  if (std::strstr(message->arguments, "fail") != nullptr) {
    return 4711;
  }
  const int status = ZOLP_getRHTargetObjects(message, &job, &count, &targets);
  if (status != ORK_ok) {
    return status;
  }
  MEM_free(targets);
  return ZOLP_set_named_condition_task_result(
      job, "Large?", count > 1 ? FLOW_condition_true : FLOW_condition_false);
}

int delete_job(const FLOW_action_message_s* message) {
  tag job = NULLTAG;
  const int status = FLOW_get_job(message->task, &job);
  return status == ORK_ok ? ZOLP_deleteJob(job) : status;
}

/** Calls nothing of the platform. */
int do_nothing(const FLOW_action_message_s*) {
  return ORK_ok;
}

/** Gives neither a block nor a lock back. */
int leave_behind(const FLOW_action_message_s* message) {
  ZOLP_ENTER("leave_behind");
  tag job = NULLTAG;
  ZOLP_GUARDED(FLOW_get_job(message->task, &job));
  ZOLP_GUARDED(OBJ_refresh(job, 1));
  return ZOLP_LEAVE(MEM_alloc(5) != nullptr ? ORK_ok : ORK_out_of_memory);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ORK_register_handlers(void) {
  const int status = FLOW_register_handler("test-decide", decide);
  const int next = status == ORK_ok ? FLOW_register_handler("test-delete-job", delete_job) : status;
  const int last = next == ORK_ok ? FLOW_register_handler("do-nothing", do_nothing) : next;
  return last == ORK_ok ? FLOW_register_handler("leave-behind", leave_behind) : last;
}
