/** @file A process for each run. */
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sweep {

/** What `in_process` returns when the process crashed. */
constexpr int crashed = -1;

/**
 * Makes a run in a process of its own.
 * @param run the run; it returns an exit code. Used where a process can go on as two.
 * @param arguments name the same run; with them the program is started anew where it cannot.
 * @return the run's exit code.
 */
int in_process(const std::function<int()>& run, const std::vector<std::string>& arguments);

/** Has nothing of what is written to standard output shown. @return whether that worked. */
bool silence_standard_output();

}  // namespace sweep
