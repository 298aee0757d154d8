/**
 * @file
 * What has stopped a job. The job remembers it until it goes on: at which of its tasks, by which
 * handler, with which code and text, and when. The states of its tasks do not tell.
 */
#pragma once

#include <string>

#include "change.h"
#include "ork/flow.h"

namespace host::flow {

struct Stop {
  tag task = NULLTAG;
  std::string handler;
  int action = FLOW_start_action;
  int code = ORK_ok;
  std::string text; /**< of the error */
};

/** Has the task's job remember a stop, in place of an earlier one. */
void record_stop(const Stop& stop);

/** The same in the name of a process that has ended in a handler; refused for what goes on. */
void record_stop_of_other(const Stop& stop);

/** Has a job forget its stop in a change that takes it on. */
void forget_stop(Change& change, tag job);

/** An error's general text with its detail, if any. */
std::string text_with_detail(int code, const std::string& detail);

}  // namespace host::flow
