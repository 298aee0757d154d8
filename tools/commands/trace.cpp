/** @file `zolp trace`: what traces and recordings hold. */
#include "commands/trace.h"

#include <cstdio>
#include <cstdlib>

#include "commands/commands.h"
#include "os.h"

namespace tool {

struct Pager::Running {
  os::OutputProgram program;
};

Pager::Pager() {
  const char* const wanted = std::getenv("PAGER");
  const std::string command = wanted != nullptr ? wanted : "";
  if (os::is_output_on_terminal() && command != "cat" && (wanted == nullptr || !command.empty())) {
    running_ = std::make_unique<Running>(Running{os::start_pager(command)});
  }
}

Pager::~Pager() {
  if (running_ != nullptr) {
    os::end_pager(running_->program);
  }
}

Colours colours() {
  const char* const unwanted = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if (!os::is_output_on_terminal() || (unwanted != nullptr && *unwanted != '\0') ||
      (terminal != nullptr && std::string(terminal) == "dumb")) {
    return {};
  }
  return {"\033[31m", "\033[1m", "\033[2m", "\033[0m"};
}

void print_callers(const trace::ChainTree& chains, uint32_t node, const char* indentation) {
  for (uint32_t above = chains[node].parent; above != trace::ChainTree::root;
       above = chains[above].parent) {
    const trace::CallSite& site = chains.groups().site(chains[above].group);
    std::printf("%sin %s  %s\n", indentation, printable(site.text).c_str(),
                printable(place_of(site)).c_str());
  }
}

Json callers_json(const trace::ChainTree& chains, uint32_t node) {
  Json callers = Json::array();
  for (const uint32_t above : chains.chain(chains[node].parent)) {
    callers.push_back(site_json(chains.groups().site(chains[above].group)));
  }
  return callers;
}

std::string position_text(const trace::Lane& lane, uint64_t position) {
  const trace::Lane::Part* part = &lane.parts.front();
  for (const trace::Lane::Part& later : lane.parts) {
    part = later.positions_before < position ? &later : part;
  }
  return (lane.is_recording ? "event " : "line ") +
         std::to_string(position - part->positions_before) + " of " + printable(part->file);
}

std::string without_numbers(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const bool is_digit = c >= '0' && c <= '9';
    if (!is_digit) {
      result += c;
    } else if (!result.ends_with('#')) {
      result += '#';
    }
  }
  return result;
}

namespace {

void add_without_parts(CommandParser& command, TraceOptions& options) {
  command.add_flag("--without-parts", options.without_parts,
                   "Leave out the older parts of a text trace, NAME.1 and so on");
}

void add_json(CommandParser& command, TraceOptions& options) {
  command.add_flag("--json", options.json, "Print JSON");
}

}  // namespace

void add_trace_parts(CommandParser& command, TraceOptions& options) {
  add_without_parts(command, options);
  add_json(command, options);
}

void add_trace_files(CommandParser& command, TraceOptions& options) {
  command.add_option("FILE", options.files, "Text traces and recordings; - for standard input")
      .required()
      .type_name("");
  add_without_parts(command, options);
}

void add_trace_input(CommandParser& command, TraceOptions& options) {
  add_trace_files(command, options);
  add_json(command, options);
}

void add_trace_commands(CommandParser& program) {
  CommandParser& group = program.add_group("trace", "Show what traces and recordings hold");
  group.footer(
      "\nA text trace is what ZOLP_TRACE_FILE has named, a recording what ZOLP_TRACE_RECORD has;\n"
      "the commands tell them apart. Rotated parts of a text (NAME.1, NAME.2) are read before\n"
      "it. What is damaged or cut is read as far as it goes, and standard error says so.\n\n"
      "\"zolp trace COMMAND --help\" says more about each command.");
  add_trace_show(group);
  add_trace_summary(group);
  add_trace_failures(group);
  add_trace_slow(group);
  add_trace_graph(group);
  add_trace_diff(group);
  add_trace_export(group);
  add_trace_view(group);
}

}  // namespace tool
