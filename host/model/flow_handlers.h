/** @file Workflow handlers: those of programs by name, and the platform's own. */
#pragma once

#include <string>
#include <vector>

#include "ork/flow.h"

namespace host::flow {

/** A null handler takes a registration back. */
void register_handler(const std::string& name, FLOW_handler handler);

/** Sorted. */
std::vector<std::string> handler_names();

/** Calls a handler; a failure, and whatever it throws, is refused with its status. */
void call_handler(const std::string& name, const FLOW_action_message_s& message);

/** Loads a library of handlers and lets it register them. */
void load_handlers(const std::string& path);

/** Names of the handlers that a library has registered when it was loaded, sorted. */
std::vector<std::string> handlers_of_library(const std::string& path);

}  // namespace host::flow
