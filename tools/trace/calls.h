/**
 * @file
 * A trace as one stream of calls, whether it is a text or a recording.
 *
 *     trace::CallSites sites;
 *     trace::CallReader reader(sites, {"run.trace"}, {});
 *     for (auto events = reader.read(); !events.empty(); events = reader.read()) {
 *       for (const trace::CallEvent& event : events) {
 *         ...
 *       }
 *     }
 *
 * The stream is balanced: each call that is entered is left, in the order of a stack within its
 * lane, whatever the trace lacks; `Ending` tells how its end is known. Traces of any size are read
 * in the memory of their distinct calls and of the calls that are open at a time; a recording takes
 * some three times its size.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "call_sites.h"

namespace trace {

/** A time that the trace does not tell: the text has no times. */
constexpr int64_t unknown_time = INT64_MIN;

enum class Ending : uint8_t {
  left,  /**< by its exit line */
  early, /**< a function without exit line: a guarded call in it has failed, or it was abandoned */
  implied, /**< without exit line, when a call around it was left */
  open     /**< the trace ends before it does */
};

struct CallEvent {
  enum class Kind : uint8_t {
    enter,
    leave,
    text /**< another line, which belongs to the innermost open call; see `ReadOptions` */
  };

  Kind kind{};
  Ending ending{};              /**< of `leave` */
  bool has_failed = false;      /**< of `leave`: a call with another status than 0; a function that
                                     ended early because of one */
  bool is_failure_only = false; /**< a failed call of which the trace shows nothing else; both of
                                    its events have the same time */
  bool knows_status = false;
  int32_t status = 0;             /**< of `leave` */
  uint32_t lane = 0;              /**< index into `CallReader::lanes` */
  uint32_t site = 0;              /**< index into the sites */
  uint32_t depth = 0;             /**< how many calls are open around it */
  int64_t time = unknown_time;    /**< nanoseconds, see `Lane::start` */
  int64_t entered = unknown_time; /**< of `leave`: time of its entry */
  std::string_view text; /**< of `leave`: the platform's error text; of `text`: the line. Valid
                            until more is read */
  uint64_t position = 0; /**< the line of the file, or the number of the recording's event */

  /** Of `leave`: nanoseconds from entry to end, or `unknown_time`. */
  int64_t duration() const {
    return time == unknown_time || entered == unknown_time ? unknown_time : time - entered;
  }
};

/** One thread of one process in one file or series of rotated files: a stack of calls. */
struct Lane {
  /** A file of a series; positions run on from one to the next. */
  struct Part {
    std::string file;
    uint64_t positions_before = 0;
  };

  std::string file;
  std::vector<Part> parts; /**< from older to newer; the first one is where the lane begins */
  std::string program;     /**< of recordings */
  uint64_t process = 0;    /**< 0 when the trace does not tell */
  uint32_t thread = 0;     /**< from 1 on in recordings; 0 in texts, which do not tell */
  bool is_recording = false;
  /** What times count from, in nanoseconds since 1970; `unknown_time` when the trace has none, or
      does not tell (a text with microseconds alone). */
  int64_t start = unknown_time;
  bool has_times = false;
};

struct ReadOptions {
  bool texts = false;      /**< whether other lines are passed on, too */
  bool older_parts = true; /**< whether `NAME.1` and so on are read before a text trace `NAME` */
  /** At the end of the last text: waits a while for more, until it returns false. */
  std::function<bool()> wait = {};
};

class CallSource;

class CallReader {
 public:
  /**
   * @param files names of files, `-` for standard input.
   * @throws tool::Error when one cannot be opened.
   */
  CallReader(CallSites& sites, const std::vector<std::string>& files, const ReadOptions& options);
  ~CallReader();
  CallReader(const CallReader&) = delete;
  CallReader& operator=(const CallReader&) = delete;

  /**
   * The next events; none at the end. They are valid until the next call.
   * @throws tool::Error when a file cannot be read, or is no trace.
   */
  std::span<const CallEvent> read();

  /** Grows as files are read. */
  const std::vector<Lane>& lanes() const;

  /** What the user should know of what was read: damage, missing parts; grows as files are read. */
  const std::vector<std::string>& remarks() const;

  /** Whether any of the lanes has times. */
  bool has_times() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace trace
