/** @file The calls that a process made last, as its recording has them. */
#pragma once

#include <string>
#include <vector>

namespace tool {

/**
 * The recording that a process of this program's environment makes (`ZOLP_TRACE_RECORD`).
 * @return its path; empty for none.
 */
std::string recording_of(unsigned long process);

/** The last calls of a recording, one a line, in the order in which they began. */
std::vector<std::string> last_calls(const std::string& recording, std::size_t count);

}  // namespace tool
