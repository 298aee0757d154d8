/** @file Failures of system calls. */
#pragma once

#include <cerrno>
#include <system_error>

namespace host::os {

/** Throws what `errno` says. */
[[noreturn]] inline void throw_errno() {
  throw std::system_error(errno, std::generic_category());
}

}  // namespace host::os
