/** @file Which calls of a trace a command takes. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "command_line/parser.h"
#include "trace/calls.h"

namespace tool {

/** Names of functions and calls, as ZOLP_TRACE_ONLY has them: with `*`, separated by commas. */
class TraceNames {
 public:
  TraceNames() = default;
  explicit TraceNames(const std::vector<std::string>& lists);

  bool is_empty() const { return list_.empty(); }
  bool fit(const trace::CallSite& site) const;

 private:
  std::string list_;
};

/** Calls that are taken by their names, as ZOLP_TRACE_ONLY and ZOLP_TRACE_SKIP do it, and depth. */
struct CallSelection {
  std::vector<std::string> only;
  std::vector<std::string> skip;
  std::size_t depth = 0; /**< how many calls may be inside each other; 0 for any number */
};

/** Adds `--only`, `--skip` and `--depth`. */
void add_call_selection(CommandParser& command, CallSelection& selection);

/** Adds an option for names of calls. */
OptionParser add_call_names(CommandParser& command, const char* name,
                            std::vector<std::string>& names, const char* description);

/** What a selection makes of a call, which is known when it is entered. */
struct CallChoice {
  enum class Part : std::uint8_t { outside, taken, skipped };

  Part part = Part::outside; /**< of what lies below it */
  bool is_taken = false;     /**< itself */
  std::size_t level = 0;     /**< how many taken calls are around it */
};

class CallChooser {
 public:
  explicit CallChooser(const CallSelection& selection)
      : only_(selection.only), skip_(selection.skip), depth_(selection.depth) {}

  /** @param around what it has made of the call around; null where there is none. */
  CallChoice choose(const trace::CallSite& site, const CallChoice* around) const;

  /** Whether what stands outside all calls is taken, too. */
  bool takes_outside() const { return only_.is_empty(); }

 private:
  TraceNames only_;
  TraceNames skip_;
  std::size_t depth_;
};

}  // namespace tool
