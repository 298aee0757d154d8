#include "seed_check.h"

#include <cstdio>
#include <filesystem>

#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "output_files.h"
#include "seed_progress.h"
#include "site.h"
#include "streams.h"
#include "text.h"
#include "utf8_path.h"

namespace tool {

namespace {

/** @return how many faults a seed has. */
std::size_t check_seed(const std::string& path) {
  const SeedSource seed(path);
  struct Faults {
    const std::string& path;
    std::size_t count = 0;
  } faults{path};
  const SeedProgress progress("checking " + path);
  const int status = seed.take(
      ork_host_check_seed, ork_host_check_seed_file,
      +[](const char* pointer, int line, int column, const char* why, void* context) {
        Faults& found = *static_cast<Faults*>(context);
        ++found.count;
        const std::string place =
            line == 0 ? "" : std::to_string(line) + ":" + std::to_string(column) + ":";
        std::printf("%s\n", printable(found.path + ":" + place + " " + pointer +
                                      (*pointer != '\0' ? ": " : "") + why)
                                .c_str());
      },
      &faults);
  stop_if_interrupted();
  if (faults.count > 0) {
    forget_failures();
  }
  require_success(faults.count > 0 ? ORK_ok : status, "seed " + path + " cannot be checked",
                  "see the call trace, set ZOLP_TRACE_LEVEL=4");
  return faults.count;
}

}  // namespace

SeedSource::SeedSource(const std::string& given) : path_(given) {
  std::error_code ignored;
  if (given == standard_stream) {
    text_ = read_standard_input();
    if (text_->find('\0') != std::string::npos) {
      throw Error("the seed on standard input has a null byte", "give a JSON text");
    }
  } else if (!std::filesystem::is_regular_file(host::utf8_path(given), ignored)) {
    throw Error("seed " + given + " is not there, or is no file", "check the path");
  }
}

void check_seeds(const std::vector<std::string>& seeds) {
  const Change undone;  // each seed is checked on what those before it make
  std::size_t faults = 0;
  for (const std::string& seed : seeds) {
    faults += check_seed(seed);
  }
  if (faults > 0) {
    throw Error(counted(faults, "fault") + " found", "correct the seeds");
  }
  std::puts("nothing is wrong, and nothing has been changed");
}

}  // namespace tool
