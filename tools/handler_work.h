/**
 * @file
 * Work that calls workflow handlers, which may do anything. It is done in a process of its own, the
 * worker: when a handler crashes, hangs or ends the process, this one says so, and sees to it that
 * the handler's job is stopped.
 */
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "command_line/parser.h"
#include "error.h"
#include "login.h"
#include "text.h"

namespace tool {

struct HandlerSettings {
  double timeout = 0; /**< seconds that a handler may take; 0 for any time */
  bool in_process = false;
};

/** Adds --timeout and --in-process. */
void add_handler_settings(CommandParser& command, HandlerSettings& settings);

/** What the work is about, for what is said when it ends too early. */
struct HandlerWork {
  HandlerSettings settings;
  bool json = false;                 /**< handlers print to standard error then */
  std::function<std::string()> site; /**< file of the site with the jobs */
};

/**
 * Does work that calls handlers. Where it is done in a worker, this ends the program as the worker
 * has ended.
 */
void do_with_handlers(const HandlerWork& about, const std::function<void()>& work);

/** Loads a library of workflow handlers. @return the names of those that it registers, sorted. */
std::vector<std::string> load_handlers(const std::string& path);

/** What the handlers that were called have left behind, as `handler run` prints it. */
Json take_left_behind();

/**
 * The Error of a handler that has failed with a status. Its own word on it, if it has put one on
 * the error stack, goes before what the platform says.
 * @param found the failure, as the platform tells it.
 */
Error handler_failure(const Error& found, int status, const std::string& problem,
                      FailedHandler handler);

/** As long as one lives, standard output is the program's own, and not that of handlers. */
class OwnOutput {
 public:
  OwnOutput();
  ~OwnOutput();
  OwnOutput(const OwnOutput&) = delete;
  OwnOutput& operator=(const OwnOutput&) = delete;
};

/** What calls a handler: "start", "complete" or "run". */
std::string action_text(int action);

}  // namespace tool
