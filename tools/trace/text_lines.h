/** @file The lines of a text trace, from all files of its series. */
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "trace_file.h"

namespace trace {

class TextLines {
 public:
  /** What reading on has come to. */
  enum class Step {
    lines,     /**< there are complete lines, or will be after the next steps */
    new_part,  /**< the next file of the series begins */
    cut_line,  /**< a file ends without a line feed; what stood there was left out */
    long_line, /**< a line without an end; its beginning was left out */
    wait,      /**< nothing more comes without waiting */
    end
  };

  /**
   * @param parts the files of a series that follow the first one, from older to newer.
   * @param begin what was read of the first one already.
   * @param wait waits for the last file to grow, until it returns false; empty not to wait at all.
   */
  TextLines(std::vector<std::string> parts, std::unique_ptr<TraceFile> first,
            const std::string& begin, std::function<bool()> wait);

  /** Reads on. @param may_wait whether it may wait for the file to grow. */
  Step read_on(bool may_wait);

  /** The complete lines that are there. Some bytes behind them may be looked at. */
  std::string_view lines() const { return {buffer_.data() + line_, complete_ - line_}; }
  void consume(size_t size) { line_ += size; }

  /** The file that is read. */
  const std::string& name() const { return file_->shown_name(); }

 private:
  bool is_followed() const { return parts_.empty() && wait_; }
  void find_complete_lines();
  Step go_on_at_end(bool may_wait);
  Step wait_for_more(bool may_wait);

  std::deque<std::string> parts_; /**< not yet read */
  std::unique_ptr<TraceFile> file_;
  std::function<bool()> wait_;
  std::vector<char> buffer_;
  size_t used_ = 0;          /**< bytes of the buffer that were read ... */
  size_t line_ = 0;          /**< ... the next line's place there ... */
  size_t complete_ = 0;      /**< ... and the end of its complete lines */
  uint64_t offset_ = 0;      /**< in the file, of the buffer's end */
  std::string growing_line_; /**< the last one when the end was reached */
};

}  // namespace trace
