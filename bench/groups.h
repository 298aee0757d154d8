/** @file The groups of benchmarks; each registers its own. */
#pragma once

#include <string>

namespace bench {

void add_array_benchmarks();
void add_call_frame_benchmarks(const std::string& folder);
void add_clone_benchmarks();
void add_command_benchmarks();
void add_filter_benchmarks();
void add_job_benchmarks();
void add_release_list_benchmarks();
void add_structure_benchmarks();
void add_trace_benchmarks();

}  // namespace bench
