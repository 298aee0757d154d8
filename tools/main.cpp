/** @file The command-line program `zolp`: its general options, and how failures are reported. */
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "commands/commands.h"
#include "error.h"
#include "os.h"
#include "site.h"
#include "text.h"

namespace {

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

Environment:
  ORK_HOST_DB       the site's file, where a command names none
  ZOLP_TRACE_LEVEL  how much of the library's call trace is shown; none unless this or
  ZOLP_TRACE_FILE   is set: the file that the trace goes to

"zolp COMMAND --help" says more about each command.)";

int report(const std::string& message, ExitCode exit_code) {
  std::fprintf(stderr, "zolp: %s\n", tool::printable(message).c_str());
  return exit_code;
}

int report_usage(const CLI::ParseError& error) {
  std::string message = error.what();
  std::replace(message.begin(), message.end(), '\n', ' ');
  return report(tool::trimmed(message) + ": see \"zolp --help\"", tool::exit_usage);
}

int run(int argc, char** argv) {
  CLI::App program("Works with release lists, clone runs, workflow jobs and embedded host sites.",
                   "zolp");
  program.footer(general_help);
  // Paths may begin with a slash.
  program.allow_windows_style_options(false);
  program.set_version_flag("--version", "zolp " ZOLP_TOOL_VERSION, "Print the version and exit");
  program.require_subcommand(1);
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
  int exit_code = tool::exit_ok;
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& help_or_version) {
    program.exit(help_or_version);
  } catch (const CLI::RuntimeError& answer) {
    // What a command has found out is its exit code.
    exit_code = answer.get_exit_code();
  } catch (const CLI::ParseError& error) {
    return report_usage(error);
  } catch (const std::bad_alloc&) {
    const bool reads_list = program.got_subcommand("list") || program.got_subcommand("clone");
    return report(std::string("memory is exhausted: ") +
                      (reads_list ? "work on a smaller list" : "make room for the program"),
                  tool::exit_failure);
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return report("cannot write to standard output: check where it goes", tool::exit_failure);
  }
  return exit_code;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    tool::os::prepare_process();
    // What shows traces makes none: it would put away the recording that it is about to read.
    if (argc < 2 || std::string_view(argv[1]) != "trace") {
      tool::silence_trace_unless_wanted();
    }
    return run(argc, argv);
  } catch (const tool::Error& error) {
    return report(error.what(), error.exit_code());
  } catch (const std::bad_alloc&) {
    return report("memory is exhausted: make room for the program", tool::exit_failure);
  } catch (const std::exception& error) {
    return report(std::string("unexpected failure (") + error.what() + "): please report it",
                  tool::exit_failure);
  }
}
