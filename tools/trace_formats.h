/** @file Traces in the formats of other programs, and which of their calls are taken. */
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "call_selection.h"
#include "trace_input.h"

namespace tool {

/** The calls of a trace that are selected: what `read` passes on is balanced, too. */
class SelectedCalls {
 public:
  SelectedCalls(TraceInput& input, const CallSelection& selection)
      : input_(input), chooser_(selection) {}

  template <typename Take>
  void read(const Take& take) {
    input_.read([&](const trace::CallEvent& event) {
      if (wants(event)) {
        take(event);
      }
    });
  }

  TraceInput& input() { return input_; }
  const trace::CallSites& sites() { return input_.sites(); }
  const trace::Lane& lane(uint32_t number) { return input_.reader().lanes()[number]; }
  size_t lane_count() { return input_.reader().lanes().size(); }

 private:
  bool wants(const trace::CallEvent& event);

  TraceInput& input_;
  CallChooser chooser_;
  std::vector<std::vector<CallChoice>> lanes_;
};

/** Where a document is written, piece by piece; who made the file looks for its errors. */
class DocumentWriter {
 public:
  explicit DocumentWriter(std::FILE* file) : file_(file) {}

  DocumentWriter& operator<<(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), file_);
    return *this;
  }
  DocumentWriter& operator<<(int64_t number) { return *this << std::to_string(number); }

 private:
  std::FILE* file_;
};

/**
 * The moments of a lane's events, which never go back: nanoseconds; where the trace has no times,
 * how many calls were entered before, so that each call counts as one.
 */
class CallClock {
 public:
  int64_t moment(const trace::CallEvent& event, const trace::Lane& lane);

 private:
  std::vector<int64_t> latest_; /**< by lane */
};

/** A text for JSON, with its quotation marks; it may stand in a page, too. */
std::string json_text(std::string_view text);

/** The name of what is shown: that of the first file, and how many more there are. */
std::string trace_title(const std::vector<std::string>& files);

/** @return how many calls were written. */
size_t write_speedscope(SelectedCalls& calls, const std::string& title, DocumentWriter& to);
size_t write_chrome(SelectedCalls& calls, DocumentWriter& to);
size_t write_folded(SelectedCalls& calls, DocumentWriter& to);
size_t write_calls_json(SelectedCalls& calls, DocumentWriter& to);

}  // namespace tool
