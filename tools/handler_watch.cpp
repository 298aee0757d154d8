#include "handler_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <utility>

#include "error.h"
#include "handler_work.h"
#include "host/ork_host.h"
#include "os.h"
#include "os_worker.h"
#include "text.h"

namespace tool {

namespace {

struct Watching {
  HandlerState* state = nullptr;
  bool as_json = false;
  int own_output = -1; /**< standard output, where handlers are not to print there */
  Json left = Json::array();
};

Watching& watching() {
  // Never destroyed: libraries of handlers may do things while the program ends.
  static Watching& instance = *new Watching;
  return instance;
}

template <std::size_t size>
void put(char (&place)[size], const char* text) {
  std::snprintf(place, size, "%s", text != nullptr ? text : "");
}

void note_call(const char* operation, const char* function, logical has_ended, int status,
               void* context) {
  auto& state = *static_cast<HandlerState*>(context);
  constexpr std::uint32_t most = HandlerState::most_calls;
  if (has_ended == 0) {
    ObservedCall& call = state.last_calls[state.calls % most];
    put(call.operation, operation);
    put(call.function, function);
    call.has_ended = false;
    ++state.calls;
    return;
  }
  for (std::uint32_t back = 1; back <= std::min(state.calls, most); ++back) {
    ObservedCall& call = state.last_calls[(state.calls - back) % most];
    if (!call.has_ended && std::string_view(call.operation) == operation) {
      call.has_ended = true;
      call.status = status;
      return;
    }
  }
}

std::string origin_text(const Json& left) {
  const Json& operation = left["operation"];
  const Json& function = left["function"];
  return (operation.is_null() ? "no operation" : operation.get<std::string>()) +
         (function.is_null() ? " outside of traced functions"
                             : " inside " + function.get<std::string>());
}

/** Where this is noticed is not where it is wrong: the work goes on. */
void tell_left_behind(const Json& left) {
  std::fflush(stdout);
  if (watching().as_json) {
    std::fprintf(stderr, "%s\n", Json({{"warning", left}}).dump().c_str());
    return;
  }
  std::size_t blocks = 0;
  for (const Json& block : left["blocks"]) {
    blocks += block["count"].get<std::size_t>();
  }
  const std::size_t locks = left["locks"].size();
  const std::string what = (blocks > 0 ? counted(blocks, "block") : "") +
                           (blocks > 0 && locks > 0 ? " and " : "") +
                           (locks > 0 ? counted(locks, "lock") : "");
  const auto text = [&left](const char* member) { return left[member].get<std::string>(); };
  std::fprintf(stderr, "zolp: warning: handler %s on task %s of job %s leaves %s behind\n",
               printable(text("handler")).c_str(), printable(text("task")).c_str(),
               printable(text("job")).c_str(), what.c_str());
  for (const Json& block : left["blocks"]) {
    std::fprintf(stderr, "  %s, %s: %s\n",
                 counted(block["count"].get<std::size_t>(), "block").c_str(),
                 counted(block["bytes"].get<std::size_t>(), "byte").c_str(),
                 printable(origin_text(block)).c_str());
  }
  for (const Json& lock : left["locks"]) {
    std::fprintf(stderr, "  lock on %s: %s\n", printable(lock["object"].get<std::string>()).c_str(),
                 printable(origin_text(lock)).c_str());
  }
}

void note_begin(HandlerState& state, const ork_host_handler_call& call) {
  const std::uint32_t depth = state.depth.load();
  if (depth == 0) {
    state.calls = 0;
  }
  if (depth < HandlerState::most_handlers) {
    RunningHandler& handler = state.handlers[depth];
    put(handler.name, call.handler);
    put(handler.task_name, call.task_name);
    put(handler.job_name, call.job_name);
    handler.task = call.task;
    handler.job = call.job;
    handler.action = call.action;
    handler.since.store(state_clock());
  }
  state.depth.store(depth + 1);
}

void note_handler(const ork_host_handler_call* call, logical has_ended, void* context) {
  auto& state = *static_cast<HandlerState*>(context);
  if (has_ended == 0) {
    return note_begin(state, *call);
  }
  state.depth.store(std::max(state.depth.load(), 1U) - 1);
  if (call->left == nullptr) {
    return;
  }
  Json left = {{"handler", call->handler}, {"task", call->task_name}, {"job", call->job_name}};
  left.update(Json::parse(call->left));
  tell_left_behind(left);
  watching().left.push_back(std::move(left));
}

}  // namespace

std::int64_t state_clock() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

HandlerWatch::HandlerWatch(HandlerState& state, bool as_json) : state_(state) {
  watching().state = &state;
  watching().as_json = as_json;
  os::print_at_once();
  if (as_json) {
    // For good: what handlers have printed may come out as late as the end of the program.
    watching().own_output = os::redirect_standard_output(os::Redirection::to_standard_error);
  }
  ork_host_watch_handlers(note_handler, &state);
  ork_host_watch_calls(note_call, &state);
  state.phase.store(Phase::working);
}

HandlerWatch::~HandlerWatch() {
  ork_host_watch_handlers(nullptr, nullptr);
  ork_host_watch_calls(nullptr, nullptr);
  watching().state = nullptr;
  state_.phase.store(Phase::finished);
}

LoadingMark::LoadingMark(const char* library) {
  if (HandlerState* const state = watching().state; state != nullptr) {
    put(state->library, library);
    state->loading_since.store(state_clock());
    state->phase.store(Phase::loading);
  }
}

LoadingMark::~LoadingMark() {
  if (HandlerState* const state = watching().state; state != nullptr) {
    state->phase.store(Phase::working);
  }
}

Json take_left_behind() {
  return std::exchange(watching().left, Json::array());
}

OwnOutput::OwnOutput() {
  if (!watching().as_json) {
    return;
  }
  if (watching().own_output < 0) {
    throw Error("cannot write to standard output", "check where it goes");  // it is closed
  }
  os::restore_standard_output(watching().own_output);
  watching().own_output = -1;
}

OwnOutput::~OwnOutput() {
  if (watching().as_json) {
    watching().own_output = os::redirect_standard_output(os::Redirection::to_standard_error);
  }
}

}  // namespace tool
