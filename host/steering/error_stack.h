/** @file The error stack behind the ERR_ operations. */
#pragma once

#include <string_view>

namespace host {

/** Puts an entry on the stack: the code's general text and, behind it, the detail, if any. */
void push_error(int severity, int code, std::string_view detail) noexcept;

void clear_errors() noexcept;

}  // namespace host
