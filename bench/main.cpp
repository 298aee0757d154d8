// Measures what the library promises about its speed; each promise is a ratio to a named peer.

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "groups.h"
#include "ratios.h"
#include "site.h"

int main(int argc, char** argv) {
  std::string folder = (std::filesystem::temp_directory_path() / "zolp-bench-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    return 1;
  }
  bench::site();
  bench::add_array_benchmarks();
  bench::add_call_frame_benchmarks(folder);
  bench::add_clone_benchmarks();
  bench::add_command_benchmarks();
  bench::add_release_list_benchmarks();
  bench::add_filter_benchmarks();
  bench::add_job_benchmarks();
  bench::add_structure_benchmarks();
  bench::add_trace_benchmarks();
  const int status = bench::run(argc, argv);
  std::filesystem::remove_all(folder);
  return status;
}
