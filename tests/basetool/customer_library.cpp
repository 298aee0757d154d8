/** @file A customer's library, with a frame and platform calls of its own. */
#include "zolp_call_frame.h"

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

namespace {

int platform_call(int status) {
  return status;
}

}  // namespace

EXPORTED int customer_function(int status) {
  int first_status = ORK_ok;
  ZOLP_ENTER("customer_function");
  ZOLP_TRACED(first_status, platform_call(ORK_ok));
  ZOLP_GUARDED(platform_call(status));
  return ZOLP_LEAVE(first_status);
}
