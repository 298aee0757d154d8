#include "text_lines.h"

#include <algorithm>
#include <utility>

namespace trace {
namespace {

constexpr size_t block_size = size_t{128} * 1024;
constexpr size_t longest_line = size_t{8} * 1024 * 1024;
constexpr size_t slack = 64; /**< bytes behind the buffer's contents that may be looked at */

}  // namespace

TextLines::TextLines(std::vector<std::string> parts, std::unique_ptr<TraceFile> first,
                     const std::string& begin, std::function<bool()> wait)
    : parts_(parts.begin(), parts.end()),
      file_(std::move(first)),
      wait_(std::move(wait)),
      buffer_(std::max(begin.size(), block_size) + slack),
      used_(begin.size()),
      offset_(begin.size()) {
  std::copy(begin.begin(), begin.end(), buffer_.begin());
  find_complete_lines();
}

void TextLines::find_complete_lines() {
  std::string_view contents(buffer_.data(), used_);
  if (is_followed()) {
    // The last line may still be written, and be found with line feeds behind it.
    contents = contents.substr(0, contents.find_last_not_of('\n') + 1);
  }
  const size_t last = contents.rfind('\n');
  complete_ = last == std::string_view::npos ? 0 : last + 1;
}

TextLines::Step TextLines::read_on(bool may_wait) {
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(line_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(used_), buffer_.begin());
  used_ -= line_;
  line_ = complete_ = 0;
  if (used_ >= longest_line) {
    used_ = 0;
    return Step::long_line;
  }
  if (buffer_.size() - slack < used_ + block_size) {
    buffer_.resize(std::max(used_ + block_size, 2 * used_) + slack);
  }
  const size_t count = file_->read(buffer_.data() + used_, block_size);
  if (count == 0) {
    return go_on_at_end(may_wait);
  }
  used_ += count;
  offset_ += count;
  find_complete_lines();
  return Step::lines;
}

/** At the end of a file: goes on with the next part, or waits for more. */
TextLines::Step TextLines::go_on_at_end(bool may_wait) {
  if (is_followed()) {
    return wait_for_more(may_wait);
  }
  // What is cut would be taken for something else.
  const std::string_view rest(buffer_.data(), std::exchange(used_, 0));
  if (rest.find_first_not_of(std::string_view("\n\0", 2)) != std::string_view::npos) {
    return Step::cut_line;
  }
  if (parts_.empty()) {
    return Step::end;
  }
  file_ = std::make_unique<TraceFile>(parts_.front());
  parts_.pop_front();
  offset_ = 0;
  return Step::new_part;
}

/**
 * At the end of a file that grows. The room behind its text may be filled with line feeds, and its
 * last line may still be written: both are read anew. A line that has not changed meanwhile counts.
 */
TextLines::Step TextLines::wait_for_more(bool may_wait) {
  const std::string_view contents(buffer_.data(), used_);
  const size_t end = contents.find_last_not_of('\n') + 1;
  const size_t begin = end == 0 ? 0 : contents.rfind('\n', end - 1) + 1;
  const std::string_view line = contents.substr(begin, end - begin);
  if (!line.empty() && line == growing_line_ && end < used_) {
    complete_ = end + 1;
    growing_line_.clear();
    return Step::lines;
  }
  if (!may_wait) {
    return Step::wait;
  }
  growing_line_ = line;
  const uint64_t held_at = offset_ - used_ + begin;
  const bool goes_on = wait_();
  if (goes_on && file_->was_replaced(held_at)) {
    file_ = std::make_unique<TraceFile>(file_->path());
    offset_ = 0;
  } else if (goes_on && file_->go_to(held_at)) {
    offset_ = held_at;
  } else {
    wait_ = nullptr;
    find_complete_lines();
    return Step::lines;
  }
  used_ = 0;
  return Step::lines;
}

}  // namespace trace
