#include "frame.h"

#include <new>

#include "error_stack.h"
#include "ork/err.h"

namespace host {

int report(const Failure& failure) noexcept {
  // A fault may be injected as success.
  if (failure.status() != ORK_ok) {
    push_error(ERR_severity_error, failure.status(), failure.detail());
  }
  return failure.status();
}

int report_current_exception() noexcept {
  const auto report_as = [](int status, const char* detail) {
    push_error(ERR_severity_error, status, detail);
    return status;
  };
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return report_as(ORK_out_of_memory, "");
  } catch (const std::exception& exception) {
    return report_as(ORK_internal_error, exception.what());
  } catch (...) {
    return report_as(ORK_internal_error, "");
  }
}

}  // namespace host
