/** @file Collects the lines of the trace while it lives, on the most detailed level. */
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "zolp_basetool.h"

namespace test {

class TraceCapture {
 public:
  explicit TraceCapture(int level = ZOLP_LEVEL_DEBUG) {
    ZOLP_SetTraceWriter(
        [](int line_level, const char* line, size_t size, void* context) {
          static_cast<TraceCapture*>(context)->lines_.emplace_back(line, size);
          static_cast<TraceCapture*>(context)->levels_.push_back(line_level);
        },
        this);
    ZOLP_SetTraceLevel(level);
  }
  ~TraceCapture() {
    ZOLP_SetTraceWriter(nullptr, nullptr);
    ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  const std::vector<std::string>& lines() const { return lines_; }
  /** Levels of the lines. */
  const std::vector<int>& levels() const { return levels_; }
  void clear() {
    lines_.clear();
    levels_.clear();
  }

  /** Number of lines that contain a text. */
  int count(const std::string& text) const {
    int found = 0;
    for (const std::string& line : lines_) {
      if (line.find(text) != std::string::npos) {
        ++found;
      }
    }
    return found;
  }
  bool has(const std::string& text) const { return count(text) > 0; }

  /** The first of some texts that no line contains; empty when all are there. */
  std::string missing(const std::vector<std::string>& texts) const {
    const auto found =
        std::find_if(texts.begin(), texts.end(), [this](const auto& text) { return !has(text); });
    return found != texts.end() ? *found : "";
  }

 private:
  std::vector<std::string> lines_;
  std::vector<int> levels_;
};

}  // namespace test
