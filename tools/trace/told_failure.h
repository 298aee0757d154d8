/** @file What lines of a text trace tell of a call that has failed. */
#pragma once

#include <cstdint>
#include <string_view>

#include "call_sites.h"

namespace trace {

struct ToldFailure {
  CallKind kind{};
  NamedCall call;
  int32_t status = 0;
};

/**
 * Reads what a line tells, wherever in it that begins: `File:F Line:N Funktion:CALL returned S ` of
 * a traced call, `##ORK_err_S: CALL   F:N` of a guarded one.
 * @return whether it tells of a failure.
 */
bool read_failure(std::string_view line, ToldFailure& told);

}  // namespace trace
