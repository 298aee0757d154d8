#include "seed_progress.h"

#include <cstdio>

#include "host/ork_host.h"
#include "os.h"
#include "output_files.h"
#include "text.h"

namespace tool {

namespace {

using std::chrono::steady_clock;

/** What is done sooner needs no progress; more often than this nobody can read it. */
constexpr std::chrono::milliseconds between_lines{200};

}  // namespace

SeedProgress::SeedProgress(const std::string& what)
    : what_(printable(what)),
      is_terminal_(os::is_error_on_terminal()),
      next_(steady_clock::now() + between_lines) {
  watch_for_interruption();
  ork_host_set_seed_progress(
      [](const char* section, size_t done, size_t elements, void* context) {
        return static_cast<SeedProgress*>(context)->see(section, done, elements);
      },
      this);
}

SeedProgress::~SeedProgress() {
  ork_host_set_seed_progress(nullptr, nullptr);
  if (is_shown_) {
    std::fputs("\r\x1b[K", stderr);
  }
}

logical SeedProgress::see(const char* section, std::size_t done, std::size_t elements) {
  constexpr std::size_t between_looks = 64;
  if (is_terminal_ && done % between_looks == 0 && steady_clock::now() >= next_) {
    next_ = steady_clock::now() + between_lines;
    std::fprintf(stderr, "\r%s: %zu of %zu %s\x1b[K", what_.c_str(), done, elements, section);
    is_shown_ = true;
  }
  return is_interrupted() ? 0 : 1;
}

}  // namespace tool
