// A library of one workflow handler that does what its argument says, and nothing good.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>

#include "ork/err.h"
#include "ork/obj.h"
#include "zolp_call_frame.h"
#include "zolp_orktool.h"

namespace {

/** Writes where nothing is; the compiler is not to know. */
void crash() {
  volatile std::uintptr_t nowhere = 64;
  *reinterpret_cast<volatile int*>(nowhere) = 0;
}

[[noreturn]] void hang() {
  for (;;) {
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
}

/** Starts a job inside its own, whose handler crashes. */
int start_crashing_job() {
  tag process = NULLTAG;
  tag job = NULLTAG;
  ZOLP_ENTER("start_crashing_job");
  ZOLP_GUARDED(FLOW_find_process_template("segv", &process));
  ZOLP_GUARDED(FLOW_create_process("inner", "", process, 0, nullptr, nullptr, &job));
  return ZOLP_LEAVE(ORK_ok);
}

int misbehave(const FLOW_action_message_s* message) {
  tag job = NULLTAG;
  ZOLP_ENTER("misbehave");
  ZOLP_GUARDED(FLOW_get_job(message->task, &job));
  std::printf("printed by a handler\n");
  const std::string what = message->arguments;
  if (what == "segv") {
    crash();
  } else if (what == "abort") {
    std::abort();
  } else if (what == "throw in thread") {
    std::thread([] { throw std::runtime_error("nobody catches this"); }).join();
  } else if (what == "exit") {
    std::exit(0);
  } else if (what == "quick exit") {
    std::_Exit(7);
  } else if (what == "hang") {
    hang();
  } else if (what == "throw") {
    throw std::runtime_error("out of a handler");
  } else if (what == "fail") {
    ERR_store_error_s1(ERR_severity_warning, 990002, "first");
    ERR_store_error_s1(ERR_severity_error, 990001, "the handler's own text");
    return ZOLP_LEAVE(990001);
  } else if (what == "nest") {
    return ZOLP_LEAVE(start_crashing_job());
  } else if (what == "leave") {
    ZOLP_GUARDED(OBJ_refresh(job, 1));
    return ZOLP_LEAVE(MEM_alloc(5) != nullptr ? ORK_ok : ORK_out_of_memory);
  }
  return ZOLP_LEAVE(ORK_ok);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ORK_register_handlers(void) {
  if (std::getenv("TEST_CRASH_WHEN_LOADED") != nullptr) {
    std::abort();
  }
  return FLOW_register_handler("misbehave", misbehave);
}
