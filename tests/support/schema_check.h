/** @file Compares JSON with schemas, and what `zolp` prints with those that it comes with. */
#pragma once

#include <string>
#include <vector>

namespace test {

/** Where a JSON text is other than a schema's file says, and why; empty where it fits. */
std::string misfit(const std::string& schema_file, const std::string& text);

/**
 * The same of what a command of `zolp` has printed, whose standard error ends with an object where
 * it has failed; empty too when it was not asked for JSON.
 * @param command the program, and what stands behind it.
 */
std::string misfit_of_command(const std::vector<std::string>& command, int exit_code,
                              const std::string& out, const std::string& err);

}  // namespace test
