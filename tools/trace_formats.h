/** @file Traces in the formats of other programs, and which of their calls are taken. */
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "trace_input.h"

namespace tool {

/** Calls that are taken by their names, as ZOLP_TRACE_ONLY and ZOLP_TRACE_SKIP do it, and depth. */
struct CallSelection {
  std::vector<std::string> only;
  std::vector<std::string> skip;
  size_t depth = 0; /**< how many calls may be inside each other; 0 for any number */
};

/** The calls of a trace that are selected: what `read` passes on is balanced, too. */
class SelectedCalls {
 public:
  SelectedCalls(TraceInput& input, const CallSelection& selection)
      : input_(input), only_(selection.only), skip_(selection.skip), depth_(selection.depth) {}

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
  enum class Part : uint8_t { outside, taken, skipped };
  struct Open {
    Part part = Part::outside; /**< of what lies below it */
    bool is_taken = false;     /**< itself */
    size_t taken_above = 0;
  };

  bool wants(const trace::CallEvent& event);
  Open opened(const trace::CallEvent& event, const std::vector<Open>& around) const;

  TraceInput& input_;
  TraceNames only_;
  TraceNames skip_;
  size_t depth_;
  std::vector<std::vector<Open>> lanes_;
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
