/** @file The number by which the system knows this process. */
#pragma once

#include <cstdint>

namespace host::os {

std::uint64_t process_id();

}  // namespace host::os
