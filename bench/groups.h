/** @file The groups of benchmarks; each registers its own. */
#pragma once

#include <string>

namespace bench {

void add_array_benchmarks();
void add_call_frame_benchmarks(const std::string& folder);
/** These two work on the site that the benchmarks of release lists open. */
void add_filter_benchmarks();
void add_job_benchmarks();
void add_release_list_benchmarks(const std::string& folder);

/** Works on the site that the benchmarks of release lists open. */
void add_structure_benchmarks();

}  // namespace bench
