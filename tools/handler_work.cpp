#include "handler_work.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "error.h"
#include "failures.h"
#include "handler_state.h"
#include "handler_watch.h"
#include "host/ork_host.h"
#include "last_calls.h"
#include "ork/flow.h"
#include "os_worker.h"
#include "platform_block.h"
#include "site.h"
#include "utf8_path.h"

namespace tool {

namespace {

constexpr std::size_t most_calls = HandlerState::most_calls;

std::string seconds_text(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", seconds);
  return std::string(text) + (seconds == 1 ? " second" : " seconds");
}

/** How a worker has ended before it was done. */
struct EarlyEnd {
  os::ProcessEnd process;
  bool took_too_long = false;
  double timeout = 0;

  int code() const { return took_too_long ? FLOW_handler_hung : FLOW_handler_died; }

  /** "crashed with SIGSEGV" */
  std::string text() const {
    return took_too_long ? "did not return within " + seconds_text(timeout)
           : !process.crash.empty()
               ? "crashed with " + process.crash
               : "ended the program with exit code " + std::to_string(process.exit_code);
  }

  /** The same behind a general text. */
  std::string detail() const {
    return took_too_long            ? seconds_text(timeout)
           : !process.crash.empty() ? process.crash
                                    : "exit code " + std::to_string(process.exit_code);
  }
};

/** How long a worker's handler, or its library, may still take; a negative time for ever. */
std::int64_t time_left(const HandlerState& state, double timeout) {
  if (timeout <= 0) {
    return -1;
  }
  constexpr double longest = 1e9;  // for "1e300" and "inf", too
  const auto limit = static_cast<std::int64_t>(std::ceil(std::min(longest, timeout) * 1000));
  std::int64_t since = state_clock();
  if (state.phase.load() == Phase::loading) {
    since = state.loading_since.load();
  } else if (state.depth.load() > 0) {
    since = state.handlers[0].since.load();  // the outermost one has been called first
  }
  return std::max<std::int64_t>(since + limit - state_clock(), 0);
}

/** Waits for the worker's end. @return whether it was ended because it took too long. */
bool wait_for(os::Worker& worker, const HandlerState& state, double timeout) {
  for (;;) {
    const std::int64_t left = time_left(state, timeout);
    if (left == 0) {
      worker.kill();
      worker.wait(-1);
      return true;
    }
    // Another handler may have been called by then.
    constexpr std::int64_t at_most = 1'000'000;
    if (worker.wait(static_cast<int>(std::min(left, at_most)))) {
      return false;
    }
  }
}

/** The handlers that were under way, the innermost first. */
std::vector<const RunningHandler*> running(const HandlerState& state) {
  std::vector<const RunningHandler*> handlers;
  const std::size_t depth = std::min<std::size_t>(state.depth.load(), HandlerState::most_handlers);
  for (std::size_t i = depth; i > 0; --i) {
    handlers.push_back(&state.handlers[i - 1]);
  }
  return handlers;
}

std::vector<std::string> observed_calls(const HandlerState& state) {
  std::vector<std::string> lines;
  const std::uint32_t count = std::min<std::uint32_t>(state.calls, most_calls);
  for (std::uint32_t i = state.calls - count; i < state.calls; ++i) {
    const ObservedCall& call = state.last_calls[i % most_calls];
    std::string line = call.operation;
    line += call.function[0] != '\0' ? std::string(" inside ") + call.function : "";
    line += !call.has_ended    ? " has not returned"
            : call.status != 0 ? " failed with " + std::to_string(call.status)
                               : "";
    lines.push_back(std::move(line));
  }
  return lines;
}

/** Those of the recording, if there is one: it knows of the library's functions, too. */
std::vector<std::string> calls_before_end(const HandlerState& state, unsigned long process) {
  try {
    const std::string recording = recording_of(process);
    std::vector<std::string> calls;
    if (!recording.empty()) {
      calls = last_calls(recording, most_calls);
    }
    return calls.empty() ? observed_calls(state) : calls;
  } catch (const Error&) {
    return observed_calls(state);
  }
}

bool stands_in_job(const RunningHandler& handler) {
  return handler.action == FLOW_start_action || handler.action == FLOW_complete_action;
}

/** Has the jobs remember what has stopped them. @return what became of them, a line each. */
std::vector<std::string> stop_jobs(const std::vector<const RunningHandler*>& handlers,
                                   const HandlerWork& about, const EarlyEnd& end) {
  std::vector<std::string> remarks;
  if (std::none_of(handlers.begin(), handlers.end(),
                   [](const RunningHandler* handler) { return stands_in_job(*handler); })) {
    return remarks;
  }
  try {
    const Site site(about.site());
    for (const RunningHandler* handler : handlers) {
      if (!stands_in_job(*handler)) {
        continue;
      }
      const int status = ork_host_stop_job(handler->task, handler->name, handler->action,
                                           end.code(), end.detail().c_str());
      const std::string job = std::string("job ") + handler->job_name;
      remarks.push_back(
          status == ORK_ok
              ? job + " is stopped at task " + handler->task_name +
                    (handler != handlers.front() ? std::string(", in handler ") + handler->name
                                                 : "")
              : job + " is where it was, and does not know why (" + failure_text(status) + ")");
      forget_failures();
    }
  } catch (const Error& error) {
    remarks.push_back(std::string("the job does not know why it is stopped: ") + error.what());
  }
  return remarks;
}

Error error_of_handler(const HandlerState& state, const HandlerWork& about, const EarlyEnd& end,
                       unsigned long process) {
  const std::vector<const RunningHandler*> handlers = running(state);
  const RunningHandler& handler = *handlers.front();
  const std::string place = std::string("handler ") + handler.name + " on task " +
                            handler.task_name + " of job " + handler.job_name;
  FailedHandler failed;
  failed.name = handler.name;
  failed.task = handler.task_name;
  failed.job = handler.job_name;
  failed.action = action_text(handler.action);
  failed.ended = end.took_too_long ? "timeout" : !end.process.crash.empty() ? "crash" : "exit";
  failed.signal = failed.ended == "crash" ? end.process.crash : "";
  failed.exit_code = end.process.exit_code;
  failed.remarks = stop_jobs(handlers, about, end);
  failed.calls = calls_before_end(state, process);
  const std::string text = failure_text(end.code()) + ": " + end.detail();
  Error error(place + " " + end.text(),
              stands_in_job(handler) ? "mend it and run the job on with \"zolp job continue\""
                                     : "mend it; with --in-process a debugger sees where",
              end.code(), {{"error", end.code(), text}});
  error.blame(std::move(failed));
  return error;
}

/** What is said of a worker that has ended before it was done, outside of handlers. */
Error error_outside(const HandlerState& state, const EarlyEnd& end) {
  switch (state.phase.load()) {
    case Phase::loading:
      return {std::string("library ") + state.library + " " + end.text() + " while it was loaded",
              "look at its ORK_register_handlers and at what it does when it is loaded"};
    case Phase::finished:
      return {"the program " + end.text() + " when all was done",
              "look at what the libraries of handlers do when the program ends"};
    default:
      return {"the program " + end.text() + " while no handler ran",
              "look at what handlers and their libraries leave running"};
  }
}

/** A handler that writes where it must not may have taken the texts' ends away. */
void close_texts(HandlerState& state) {
  const auto close = [](auto& text) { text[sizeof text - 1] = '\0'; };
  close(state.library);
  for (RunningHandler& handler : state.handlers) {
    close(handler.name);
    close(handler.task_name);
    close(handler.job_name);
  }
  for (ObservedCall& call : state.last_calls) {
    close(call.operation);
    close(call.function);
  }
}

/** Ends the program as the worker does, unless the worker has ended too early. */
void follow(os::Worker& worker, HandlerState& state, const HandlerWork& about) {
  EarlyEnd end;
  end.timeout = about.settings.timeout;
  end.took_too_long = wait_for(worker, state, end.timeout);
  end.process = worker.end();
  close_texts(state);
  const bool is_in_handler = state.depth.load() > 0;
  if (end.process.is_own) {
    if (is_in_handler) {
      stop_jobs(running(state), about, end);
    }
    os::end_like(end.process);
  }
  if (!end.took_too_long && state.phase.load() == Phase::finished && end.process.crash.empty()) {
    os::end_like(end.process);
  }
  if (!is_in_handler && end.process.crash == "SIGPIPE") {
    os::end_like(end.process);  // who reads has had enough
  }
  throw is_in_handler ? error_of_handler(state, about, end, worker.id())
                      : error_outside(state, end);
}

}  // namespace

std::string action_text(int action) {
  return action == FLOW_start_action      ? "start"
         : action == FLOW_complete_action ? "complete"
                                          : "run";
}

void add_handler_settings(CommandParser& command, HandlerSettings& settings) {
  const OptionParser timeout =
      command.add_option("--timeout", settings.timeout, "End a handler that takes longer")
          .type_name("SECONDS")
          .positive();
  command
      .add_flag("--in-process", settings.in_process,
                "Call handlers in this process, as for a debugger; a crash ends it")
      .excludes(timeout);
}

Error handler_failure(const Error& found, int status, const std::string& problem,
                      FailedHandler handler) {
  const std::string of_platform = "handler " + handler.name + " on task " + handler.task;
  std::string own;
  const ErrorEntry* first = nullptr;
  for (const ErrorEntry& entry : found.stack()) {
    const bool is_error = entry.severity == "error";
    if (is_error && entry.code == status && (own.empty() || !entry.text.ends_with(of_platform))) {
      own = entry.text;
    }
    first = first == nullptr && is_error ? &entry : first;
  }
  if (own.ends_with(of_platform)) {
    own = own.substr(0, own.rfind(": " + of_platform));  // has been said
  }
  if (own.empty()) {
    own = "error " + std::to_string(status);
  }
  const std::string cause =
      first != nullptr && first->code != status ? ", because: " + first->text : "";
  Error error(problem + " (" + own + cause + ")", found.advice(), status, found.stack());
  handler.ended = "failure";
  return error.blame(std::move(handler));
}

void do_with_handlers(const HandlerWork& about, const std::function<void()>& work) {
  if (about.settings.in_process) {
    static HandlerState state;
    const HandlerWatch watch(state, about.json);
    return work();
  }
  os::Worker worker(sizeof(HandlerState));
  auto& state = *static_cast<HandlerState*>(worker.shared());
  if (!worker.is_here()) {
    return follow(worker, state, about);
  }
  const HandlerWatch watch(state, about.json);
  work();
}

std::vector<std::string> load_handlers(const std::string& path) {
  std::error_code none;
  const std::filesystem::path file = host::utf8_path(path);
  if (!std::filesystem::exists(file, none)) {
    throw Error("there is no file " + path, "name a shared library of workflow handlers");
  }
  if (!std::filesystem::is_regular_file(file, none)) {
    throw Error(path + " is no file", "name a shared library of workflow handlers");
  }
  {
    const LoadingMark mark(path.c_str());
    require_success(ork_host_load_handlers(path.c_str()), "cannot load the handlers of " + path,
                    "name a shared library that has ORK_register_handlers");
  }
  int count = 0;
  char** names = nullptr;
  require(ork_host_list_library_handlers(path.c_str(), &count, &names), "the handlers");
  const PlatformBlock<char*> block(names);
  return {names, names + count};
}

}  // namespace tool
