/** @file `zolp trace export` and `zolp trace view`: a trace for other programs, and for a browser.
 */
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>

#include "commands/trace.h"
#include "error.h"
#include "os.h"
#include "output_files.h"
#include "trace_formats.h"
#include "viewer_page.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

struct TraceExportOptions : TraceOptions {
  CallSelection selection;
  std::string format;
  std::string target;
};

/** Writes a file as a whole, or leaves what there was. */
void write_file(const std::string& target, const std::function<void(std::FILE*)>& write) {
  OutputFile output(target);
  std::FILE* const file = std::fopen(output.path().c_str(), "wb");
  if (file == nullptr) {
    throw Error("cannot write " + target + " (" + std::strerror(errno) + ")", "check the folder");
  }
  try {
    const os::InterruptibleReads reads;
    write(file);
  } catch (...) {
    std::fclose(file);
    stop_if_interrupted();
    throw;
  }
  const bool has_failed = std::ferror(file) != 0;
  if (std::fclose(file) != 0 || has_failed) {
    throw Error("cannot write " + target, "make room on the disk");
  }
  stop_if_interrupted();
  output.publish();
}

void write_format(const TraceExportOptions& options, std::FILE* file) {
  TraceInput input(options);
  SelectedCalls calls(input, options.selection);
  DocumentWriter to(file);
  if (options.format == "chrome") {
    write_chrome(calls, to);
  } else if (options.format == "speedscope") {
    write_speedscope(calls, trace_title(options.files), to);
  } else if (options.format == "folded") {
    write_folded(calls, to);
  } else {
    write_calls_json(calls, to);
  }
}

void export_trace(const TraceExportOptions& options) {
  if (options.target.empty()) {
    return write_format(options, stdout);
  }
  write_file(options.target, [&](std::FILE* file) { write_format(options, file); });
}

std::string html_text(std::string_view text) {
  static const std::map<char, std::string> escapes = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}};
  std::string html;
  for (const char character : text) {
    const auto escape = escapes.find(character);
    html += escape == escapes.end() ? std::string(1, character) : escape->second;
  }
  return html;
}

/** Writes the page. @return how many calls are in it. */
size_t write_page(const TraceExportOptions& options, std::FILE* file) {
  // Browsers take no texts of more than half a gigabyte, and get slow long before.
  constexpr long most_bytes = 400'000'000;
  const std::string_view page = viewer_page();
  const std::string_view title_mark = "@TITLE@";
  const std::string_view profile_mark = "@PROFILE@";
  const size_t title_at = page.find(title_mark);
  const size_t profile_at = page.find(profile_mark);
  const std::string title = trace_title(options.files);
  TraceInput input(options);
  SelectedCalls calls(input, options.selection);
  DocumentWriter to(file);
  to << page.substr(0, title_at) << html_text(printable(title))
     << page.substr(title_at + title_mark.size(), profile_at - title_at - title_mark.size());
  const size_t count = write_speedscope(calls, title, to);
  if (count == 0) {
    throw Error("there is no call to show", options.selection.only.empty()
                                                ? "trace with ZOLP_TRACE_LEVEL=log, or record"
                                                : "check the names");
  }
  if (std::ftell(file) > most_bytes || std::ftell(file) < 0) {
    throw Error("a page of " + counted(count, "call") + " is too large for browsers",
                "choose with --only, --skip or --depth");
  }
  to << page.substr(profile_at + profile_mark.size());
  return count;
}

void view_trace(const TraceExportOptions& options) {
  if (viewer_page().empty()) {
    throw Error("this program was built without its viewer, which comes from npm",
                "build it where npm can be reached, or give a viewer of your own what \"zolp "
                "trace export --format speedscope\" writes");
  }
  const std::string& first = options.files.front();
  const std::string target = !options.target.empty() ? options.target
                             : first == "-"          ? "trace.html"
                                                     : trace_title({first}) + ".html";
  size_t count = 0;
  write_file(target, [&](std::FILE* file) { count = write_page(options, file); });
  std::printf("wrote %s with %s: open it in a browser\n", printable(target).c_str(),
              counted(count, "call").c_str());
}

}  // namespace

void add_trace_export(CommandParser& group) {
  CommandParser& command =
      group.add_command("export", "Write the calls for timeline viewers and flame graphs");
  const auto options = std::make_shared<TraceExportOptions>();
  add_trace_files(command, *options);
  command.add_option("--format", options->format, "chrome, speedscope, folded or json")
      .required()
      .type_name("FORMAT")
      .one_of({"chrome", "speedscope", "folded", "json"});
  command.add_option("--out", options->target, "Write to this file; standard output otherwise")
      .type_name("FILE");
  add_call_selection(command, options->selection);
  command.footer(
      "\nFormats:\n"
      "  chrome      trace events, for about:tracing and Perfetto\n"
      "  speedscope  profiles of speedscope; \"zolp trace view\" shows them itself\n"
      "  folded      a chain of calls a line, outermost first, and its own time in nanoseconds,\n"
      "              for scripts that draw flame graphs\n"
      "  json        each call with its site, parent, times, status and error text\n"
      "Where a trace has no times, each call counts as one instead.\n\n"
      "Example: zolp trace export run.trace --format folded --only \"ZOLP_*\"");
  command.callback([options] { export_trace(*options); });
}

void add_trace_view(CommandParser& group) {
  CommandParser& command = group.add_command(
      "view", "Make a page that shows the calls in a browser: over time, summed up, as a table");
  const auto options = std::make_shared<TraceExportOptions>();
  add_trace_files(command, *options);
  command
      .add_option("--out", options->target,
                  "The page; the first file's name with .html, in the current folder, otherwise")
      .type_name("PAGE");
  add_call_selection(command, options->selection);
  command.footer(
      "\nThe page holds all that it needs and asks nothing of any network. Calls that failed have\n"
      "\"failed\" in their names: search for it with Ctrl-F. An earlier page is replaced.\n\n"
      "Example: zolp trace view run.trace --out run.html");
  command.callback([options] { view_trace(*options); });
}

}  // namespace tool
