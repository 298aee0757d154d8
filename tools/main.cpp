/** @file The command-line program `zolp`: its general options, and how failures are reported. */
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "command_line/wrong_usage.h"
#include "commands/commands.h"
#include "error.h"
#include "os.h"
#include "output_files.h"
#include "site.h"
#include "text.h"

namespace {

using tool::Error;
using tool::ExitCode;

constexpr const char* general_help = R"(
Examples:
  zolp host init site.db --seed site.json          make a site to work with
  zolp list tree release_list.txt                  see what a release list holds
  zolp clone release_list.txt --host site.db --out run -u=alice -p=secret -g=engineering
                                                   prepare a clone run

Exit codes:
  0  done
  1  failed; one line on standard error says why and what to do
  2  wrong usage
An interrupted command ends by the signal, as shells expect, and leaves nothing.

Environment:
  ORK_HOST_DB       the site's file, where a command names none
  ORK_PASSWORD      the password of the user that -u names
  ZOLP_TRACE_LEVEL  how much of the library's call trace is shown; none unless this or
  ZOLP_TRACE_FILE   is set: the file that the trace goes to

"zolp COMMAND --help" says more about each command.)";

bool wants_json = false; /**< failures, too */

/** What is wrong, and what the user can do about it. */
Error split(const std::string& message, ExitCode exit_code) {
  const std::size_t end = message.rfind(": ");
  return {message.substr(0, end), end == std::string::npos ? "" : message.substr(end + 2),
          exit_code};
}

void print_lines(const char* heading, const std::vector<std::string>& lines) {
  if (!lines.empty()) {
    std::fprintf(stderr, "  %s:\n", heading);
  }
  for (const std::string& line : lines) {
    std::fprintf(stderr, "    %s\n", tool::printable(line).c_str());
  }
}

/** What there is to know of a handler that has failed, below the line that says so. */
void print_handler(const Error& error) {
  for (const std::string& remark : error.handler()->remarks) {
    std::fprintf(stderr, "  %s\n", tool::printable(remark).c_str());
  }
  std::vector<std::string> entries;
  for (const tool::ErrorEntry& entry : error.stack()) {
    entries.push_back(entry.severity + " " + std::to_string(entry.code) + ": " + entry.text);
  }
  if (entries.size() > 1) {  // one alone stands in the line
    print_lines("error stack, the newest last", entries);
  }
  print_lines("last calls, the newest last", error.handler()->calls);
}

tool::Json handler_json(const tool::FailedHandler& handler) {
  const bool has_exited = handler.ended == "exit";
  return {{"name", handler.name},
          {"task", handler.task},
          {"job", handler.job},
          {"action", handler.action},
          {"ended", handler.ended},
          {"signal", handler.signal.empty() ? tool::Json() : tool::Json(handler.signal)},
          {"exit_code", has_exited ? tool::Json(handler.exit_code) : tool::Json()},
          {"remarks", handler.remarks},
          {"calls", handler.calls}};
}

int report(const Error& error) {
  if (!wants_json) {
    std::fprintf(stderr, "zolp: %s\n", tool::printable(error.what()).c_str());
    if (error.handler()) {
      print_handler(error);
    }
    return error.exit_code();
  }
  tool::Json stack = tool::Json::array();
  for (const tool::ErrorEntry& entry : error.stack()) {
    stack.push_back({{"severity", entry.severity}, {"code", entry.code}, {"text", entry.text}});
  }
  const tool::Json code = error.code() != 0 ? tool::Json(error.code()) : tool::Json();
  tool::Json told = {{"error",
                      {{"message", error.problem()},
                       {"advice", error.advice()},
                       {"code", code},
                       {"exit_code", error.exit_code()},
                       {"stack", stack}}}};
  if (error.handler()) {
    told["error"]["handler"] = handler_json(*error.handler());
  }
  constexpr bool in_ascii = true;
  std::fprintf(stderr, "%s\n",
               told.dump(-1, ' ', in_ascii, tool::Json::error_handler_t::replace).c_str());
  return error.exit_code();
}

int report(const std::string& message, ExitCode exit_code) {
  return report(split(message, exit_code));
}

int report_usage(const tool::CommandParser& program, const std::vector<std::string>& words,
                 const tool::ParseError& error) {
  std::string message = error.what();
  std::replace(message.begin(), message.end(), '\n', ' ');
  return report(tool::wrong_usage(tool::describe(program), words, tool::trimmed(message)),
                tool::exit_usage);
}

int run(int argc, char** argv) {
  tool::CommandParser program(
      "zolp", "Works with release lists, clone runs, workflow jobs and embedded host sites.");
  program.footer(general_help);
  program.add_version("-V,--version", "zolp " ZOLP_TOOL_VERSION);
  tool::add_host_commands(program);
  tool::add_clone_command(program);
  tool::add_list_commands(program);
  tool::add_show_command(program);
  tool::add_find_command(program);
  tool::add_item_commands(program);
  tool::add_checkout_commands(program);
  tool::add_dataset_commands(program);
  tool::add_form_commands(program);
  tool::add_filter_command(program);
  tool::add_date_command(program);
  tool::add_job_commands(program);
  tool::add_handler_commands(program);
  tool::add_bom_commands(program);
  tool::add_trace_commands(program);
  tool::add_completion_commands(program);
  tool::add_manual_command(program);
  tool::add_schema_command(program);
  int exit_code = tool::exit_ok;
  try {
    exit_code = program.parse(argc, argv);
  } catch (const tool::ParseError& error) {
    return report_usage(program, {argv + 1, argv + argc}, error);
  } catch (const std::bad_alloc&) {
    const bool reads_list = program.names("list") || program.names("clone");
    return report(std::string("memory is exhausted: ") +
                      (reads_list ? "work on a smaller list" : "make room for the program"),
                  tool::exit_failure);
  }
  const bool is_printed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (!is_printed && !tool::is_interrupted()) {
    return report("cannot write to standard output: check where it goes", tool::exit_failure);
  }
  return exit_code;
}

int run_and_report(int argc, char** argv) {
  for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
    wants_json = wants_json || std::strcmp(argv[i], "--json") == 0;
  }
  try {
    tool::os::prepare_process();
    // What shows traces makes none: it would put away the recording that it is about to read.
    if (argc < 2 || std::string_view(argv[1]) != "trace") {
      tool::silence_trace_unless_wanted();
    }
    return run(argc, argv);
  } catch (const Error& error) {
    return report(error);
  } catch (const std::bad_alloc&) {
    return report("memory is exhausted: make room for the program", tool::exit_failure);
  } catch (const std::exception& error) {
    return report(std::string("unexpected failure (") + error.what() + "): please report it",
                  tool::exit_failure);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int exit_code = run_and_report(argc, argv);
  if (tool::is_interrupted()) {
    tool::os::end_as_interrupted();  // shells end their loops when they see that
  }
  return exit_code;
}
