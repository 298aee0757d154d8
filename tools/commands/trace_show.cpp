/** @file `zolp trace show`: the calls of a trace as a tree. */
#include <algorithm>
#include <optional>

#include "call_selection.h"
#include "commands/trace.h"
#include "error.h"
#include "os.h"
#include "output_files.h"
#include "trace_moment.h"

namespace tool {

namespace {

using trace::CallEvent;
using trace::Ending;

struct TraceShowOptions : TraceOptions {
  CallSelection selection;
  bool failed = false;
  double slower_than = -1;
  std::string from;
  std::string to;
  bool follow = false;
  bool texts = false;
};

/** Which of the selected calls are shown, by when they were made and how they ended. */
class Sieve {
 public:
  explicit Sieve(const TraceShowOptions& options) : options_(options) {
    if (!options.from.empty()) {
      from_.emplace(options.from);
    }
    if (!options.to.empty()) {
      to_.emplace(options.to);
    }
  }

  bool is_in_range(const CallEvent& event, const trace::Lane& lane) const {
    return (!from_ || !from_->is_after(event, lane)) && (!to_ || to_->is_after(event, lane));
  }

  /** Whether calls must have ended before it is known whether they are shown. */
  bool is_late() const { return options_.failed || options_.slower_than >= 0; }
  bool takes(const CallEvent& left) const {
    const int64_t duration = left.duration();
    return (!options_.failed || left.has_failed) &&
           (options_.slower_than < 0 ||
            (duration != trace::unknown_time &&
             static_cast<double>(duration) > options_.slower_than * 1e6));
  }

 private:
  const TraceShowOptions& options_;
  std::optional<TraceMoment> from_;
  std::optional<TraceMoment> to_;
};

/** A call that is open. */
struct OpenCall {
  uint32_t site = 0;
  CallChoice choice;
  bool is_wanted = false;
  bool is_begun = false; /**< the line that begins it is written */
  uint64_t id = 0;       /**< for JSON */
  uint64_t position = 0;
};

/** The open calls of a lane. Those before `first_not_begun` are begun, as far as they are shown. */
struct LaneCalls {
  std::vector<OpenCall> calls;
  size_t first_not_begun = 0;
};

class Lines {
 public:
  explicit Lines(TraceInput& input) : input_(input), colours_(colours()) {}

  void begin(uint32_t lane, const OpenCall& call) {
    head(lane);
    const trace::CallSite& site = input_.sites()[call.site];
    line(call.choice.level, trace::unknown_time, site.text + " {", "", site, false);
  }

  void end(const CallEvent& event, const OpenCall& call) {
    head(event.lane);
    const trace::CallSite& site = input_.sites()[call.site];
    line(call.choice.level, event.duration(), (call.is_begun ? "} " : "") + site.text,
         result(event), site, event.has_failed);
  }

  void text(const CallEvent& event, size_t level) {
    head(event.lane);
    std::printf("%s%*s  %s| %s%s\n", colours_.aside, has_times_ ? 9 : 0, "",
                indentation(level).c_str(), printable(event.text).c_str(), colours_.plain);
  }

 private:
  /** What a call that is not as usual has come to. */
  static std::string result(const CallEvent& event) {
    if (event.ending == Ending::open) {
      return " unfinished";
    }
    if (event.ending == Ending::implied) {
      return " (without exit line)";
    }
    if (event.has_failed) {
      return (event.ending == Ending::early ? " ended by " : " failed with ") +
             std::to_string(event.status) +
             (event.text.empty() ? "" : ": " + std::string(event.text));
    }
    if (event.ending == Ending::early) {
      return " (without exit line)";
    }
    return event.status != 0 ? " = " + std::to_string(event.status) : "";
  }

  static std::string indentation(size_t level) {
    constexpr size_t widest = 40;
    return std::string(2 * std::min(level, widest), ' ') +
           (level > widest ? "(" + std::to_string(level) + ") " : "");
  }

  /** Names the lane when it is another one than that of the line before. */
  void head(uint32_t lane) {
    if (latest_lane_ == lane) {
      return;
    }
    const trace::Lane& entered = input_.reader().lanes()[lane];
    has_times_ = entered.has_times;
    if (lane > 0 || entered.process != 0) {
      std::printf("%s== %s ==%s\n", colours_.aside, printable(lane_text(entered)).c_str(),
                  colours_.plain);
    }
    latest_lane_ = lane;
  }

  void line(size_t level, int64_t duration, const std::string& call, const std::string& result,
            const trace::CallSite& site, bool has_failed) {
    if (has_times_) {
      const std::string text = duration == trace::unknown_time ? "" : duration_text(duration);
      const auto characters = static_cast<size_t>(
          std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
      std::printf("%s%s", std::string(9 - std::min<size_t>(9, characters), ' ').c_str(),
                  text.c_str());
    }
    std::printf("  %s%s%s%s%s  %s%s%s\n", indentation(level).c_str(),
                has_failed ? colours_.failure : "", printable(call).c_str(),
                printable(result).c_str(), has_failed ? colours_.plain : "", colours_.aside,
                printable(place_of(site)).c_str(), colours_.plain);
  }

  TraceInput& input_;
  Colours colours_;
  std::optional<uint32_t> latest_lane_;
  bool has_times_ = false;
};

/** One JSON document, written as its calls end. */
class JsonCalls {
 public:
  explicit JsonCalls(TraceInput& input) : input_(input) {}

  void end(const CallEvent& event, const OpenCall& call, const OpenCall* around) {
    static constexpr std::array endings = {"left", "early", "implied", "open"};
    Json json = {{"id", call.id}, {"parent", around != nullptr ? Json(around->id) : Json(nullptr)}};
    json["depth"] = event.depth;
    json.update(site_json(input_.sites()[call.site]));
    json["status"] = event.knows_status ? Json(event.status) : Json(nullptr);
    json["failed"] = event.has_failed;
    json["error"] = event.text.empty() ? Json(nullptr) : Json(event.text);
    json["ending"] = endings[static_cast<size_t>(event.ending)];
    json["entered_ms"] = milliseconds_json(event.entered);
    json["duration_ms"] = milliseconds_json(event.duration());
    json["position"] = call.position;
    json["lane"] = lane_json(input_.reader().lanes()[event.lane]);
    const bool escape_all = true;
    std::printf("%s%s", is_first_ ? "[\n" : ",\n",
                json.dump(-1, ' ', escape_all, Json::error_handler_t::replace).c_str());
    is_first_ = false;
  }

  void finish() const { std::puts(is_first_ ? "[]" : "\n]"); }

 private:
  TraceInput& input_;
  bool is_first_ = true;
};

/** Puts calls into lines: one for a call that makes no others, else one for each of its ends. */
class Tree {
 public:
  Tree(const TraceShowOptions& options, TraceInput& input)
      : chooser_(options.selection),
        sieve_(options),
        input_(input),
        lines_(input),
        json_(input),
        is_json_(options.json) {}

  void add(const CallEvent& event) {
    if (event.lane >= lanes_.size()) {
      lanes_.resize(size_t{event.lane} + 1);
    }
    LaneCalls& open = lanes_[event.lane];
    switch (event.kind) {
      case CallEvent::Kind::enter:
        return enter(event, open);
      case CallEvent::Kind::leave:
        return leave(event, open);
      case CallEvent::Kind::text:
        return text(event, open);
    }
  }

  /** Shows calls that are open and have made no others: nothing more may come for long. */
  void show_open() {
    for (uint32_t lane = 0; lane < lanes_.size(); ++lane) {
      if (!sieve_.is_late() && !lanes_[lane].calls.empty() && lanes_[lane].calls.back().is_wanted) {
        begin_all(lane, lanes_[lane]);
      }
    }
  }

  void finish() const {
    if (is_json_) {
      json_.finish();
    }
  }

 private:
  void enter(const CallEvent& event, LaneCalls& open) {
    OpenCall call;
    call.site = event.site;
    call.id = ++latest_id_;
    call.position = event.position;
    call.choice = chooser_.choose(input_.sites()[event.site],
                                  open.calls.empty() ? nullptr : &open.calls.back().choice);
    call.is_wanted =
        call.choice.is_taken && sieve_.is_in_range(event, input_.reader().lanes()[event.lane]);
    if (call.is_wanted && !sieve_.is_late()) {
      begin_all(event.lane, open);
    }
    open.calls.push_back(call);
  }

  void leave(const CallEvent& event, LaneCalls& open) {
    const OpenCall call = open.calls.back();
    open.calls.pop_back();
    const bool is_taken = call.is_wanted && sieve_.takes(event);
    if (is_taken) {
      begin_all(event.lane, open);
    }
    if (is_json_) {
      if (is_taken) {
        json_.end(event, call, open.calls.empty() ? nullptr : &open.calls.back());
      }
    } else if (is_taken || call.is_begun) {
      lines_.end(event, call);
    }
    open.first_not_begun = std::min(open.first_not_begun, open.calls.size());
  }

  void text(const CallEvent& event, LaneCalls& open) {
    if (is_json_ || sieve_.is_late()) {
      return;
    }
    if (!sieve_.is_in_range(event, input_.reader().lanes()[event.lane])) {
      return;
    }
    if (open.calls.empty()) {
      return chooser_.takes_outside() ? lines_.text(event, 0) : void();
    }
    const OpenCall& call = open.calls.back();
    if (call.choice.is_taken) {
      begin_all(event.lane, open);
      lines_.text(event, call.choice.level + 1);
    }
  }

  /** Begins all calls that are open and not begun yet. */
  void begin_all(uint32_t lane, LaneCalls& open) {
    for (; open.first_not_begun < open.calls.size(); ++open.first_not_begun) {
      OpenCall& call = open.calls[open.first_not_begun];
      if (call.choice.is_taken && !is_json_) {
        lines_.begin(lane, call);
        call.is_begun = true;
      }
    }
  }

  CallChooser chooser_;
  Sieve sieve_;
  TraceInput& input_;
  Lines lines_;
  JsonCalls json_;
  bool is_json_;
  uint64_t latest_id_ = 0;
  std::vector<LaneCalls> lanes_;
};

void show_calls(const TraceShowOptions& options) {
  trace::ReadOptions how;
  how.texts = options.texts;
  Tree* shown = nullptr;
  if (options.follow) {
    watch_for_interruption();
    how.wait = [&shown] {
      constexpr int pause = 200;
      shown->show_open();
      std::fflush(stdout);
      os::pause_milliseconds(pause);
      return !is_interrupted();
    };
  }
  TraceInput input(options, how);
  Tree tree(options, input);
  shown = &tree;
  std::optional<Pager> pager;
  if (!options.follow && !options.json) {
    pager.emplace();
  }
  input.read([&](const CallEvent& event) { tree.add(event); });
  tree.finish();
  pager.reset();
  if (options.slower_than >= 0) {
    input.has_times();
  }
}

}  // namespace

void add_trace_show(CommandParser& group) {
  CommandParser& command =
      group.add_command("show", "Print the calls as a tree, with statuses and durations");
  const auto options = std::make_shared<TraceShowOptions>();
  add_trace_input(command, *options);
  add_call_selection(command, options->selection);
  command.add_flag("--failed", options->failed, "Only what has failed, with its callers");
  command
      .add_option("--slower-than", options->slower_than,
                  "Only calls that took more milliseconds, with their callers")
      .type_name("MS")
      .not_negative();
  command
      .add_option("--from", options->from,
                  "Only calls from here on: seconds since the beginning (1.5, 250ms), a time of "
                  "day (09:15:00), or a line (@1200)")
      .type_name("WHEN");
  command.add_option("--to", options->to, "Only calls before this").type_name("WHEN");
  command.add_flag("--texts", options->texts, "Show the other lines, too, behind a |");
  command.add_flag("--follow", options->follow, "Go on as the last file grows, until interrupted");
  command.footer(
      "\nA call that makes others has a line where it begins, and one where it ends, with its\n"
      "duration and status. Output goes through $PAGER, or less, when it goes to a terminal; it\n"
      "is coloured there, unless NO_COLOR is set.\n\n"
      "Example: zolp trace show run.trace --only 'ZOLP_write_*' --depth 3");
  command.callback([options] {
    if (options->follow && options->json) {
      throw usage_error("--follow does not go with --json", "leave one of them out");
    }
    show_calls(*options);
  });
}

}  // namespace tool
