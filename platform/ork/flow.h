/**
 * @file
 * Workflow: the message that a workflow handler receives.
 */
#ifndef ORK_FLOW_H
#define ORK_FLOW_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** What a workflow handler is called with. */
typedef struct FLOW_action_message_s {
  tag task;              /**< the task on which the handler stands */
  int action;            /**< the action that triggered it */
  int proposed_state;    /**< the state that the task is about to take */
  const char* arguments; /**< the handler's arguments, one a line; the platform keeps the text */
} FLOW_action_message_s;

/** A workflow handler: returns #ORK_ok, or the code that stops the task. */
typedef int (*FLOW_handler)(const FLOW_action_message_s* message);

#ifdef __cplusplus
}
#endif

#endif
