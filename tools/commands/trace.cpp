/** @file `zolp trace`: what traces and recordings hold. */
#include "commands/trace.h"

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

namespace {

void add_without_parts(CLI::App& command, TraceOptions& options) {
  command.add_flag("--without-parts", options.without_parts,
                   "Leave out the older parts of a text trace, NAME.1 and so on");
}

void add_json(CLI::App& command, TraceOptions& options) {
  command.add_flag("--json", options.json, "Print JSON");
}

}  // namespace

void add_trace_parts(CLI::App& command, TraceOptions& options) {
  add_without_parts(command, options);
  add_json(command, options);
}

void add_trace_files(CLI::App& command, TraceOptions& options) {
  command.add_option("FILE", options.files, "Text traces and recordings; - for standard input")
      ->required()
      ->type_name("");
  add_without_parts(command, options);
}

void add_trace_input(CLI::App& command, TraceOptions& options) {
  add_trace_files(command, options);
  add_json(command, options);
}

void add_trace_commands(CLI::App& program) {
  CLI::App& group = *program.add_subcommand("trace", "Show what traces and recordings hold");
  group.require_subcommand(1);
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
