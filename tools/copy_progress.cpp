#include "copy_progress.h"

#include <cstdio>

#include "failures.h"
#include "ork/file.h"
#include "os.h"
#include "output_files.h"
#include "text.h"

namespace tool {

namespace {

/** Below this, a copy is done before anybody could read how far it is. */
constexpr std::int64_t large_file = 64 << 20;

}  // namespace

CopyProgress::CopyProgress(const std::string& what)
    : what_(printable(what)), is_terminal_(os::is_error_on_terminal()) {
  watch_for_interruption();
  require_success(FILE_set_progress(
                      [](int64_t done, int64_t total, void* context) {
                        return static_cast<CopyProgress*>(context)->see(done, total);
                      },
                      this),
                  "the progress of copies is not told",
                  "see the call trace, set ZOLP_TRACE_LEVEL=4");
}

CopyProgress::~CopyProgress() {
  forget_failure(FILE_set_progress(nullptr, nullptr));  // no copy follows
  clear();
}

logical CopyProgress::see(std::int64_t done, std::int64_t total) {
  if (is_terminal_ && total >= large_file) {
    const std::int64_t percentage = done * 100 / total;
    if (percentage != shown_) {
      std::fprintf(stderr, "\r%s: %3d %%", what_.c_str(), static_cast<int>(percentage));
      shown_ = percentage;
    }
  }
  return is_interrupted() ? 0 : 1;
}

void CopyProgress::clear() {
  if (shown_ >= 0) {
    std::fputs("\r\x1b[K", stderr);
  }
}

}  // namespace tool
