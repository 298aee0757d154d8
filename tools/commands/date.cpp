/** @file `zolp date`: dates in the formats of the platform. */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "error.h"
#include "objects.h"
#include "ork/date.h"
#include "ork/text.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct DateOptions {
  std::vector<std::string> inputs;
  std::string format; /**< of the inputs; empty for the known ones */
  std::string result_format;
  std::string site;
  bool now = false;
  bool in_site_format = false;
  bool json = false;
};

date_s read_date(const std::string& input, const DateOptions& options) {
  date_s date{};
  const int status = ZOLP_UTIL_DateStringToVELODate(input.c_str(), &date, options.format.c_str());
  const char* const advice = "say with --format how it is written";
  if (status != ORK_ok) {
    require_success(status, "cannot read a date", advice);
  }
  // A date in the default format is none in the site's, which is tried first.
  require_success(status, "cannot read a date", advice,
                  {DATE_wrong_text, DATE_invalid_date, DATE_invalid_format});
  return date;
}

std::string default_format() {
  return handed_out("the default format",
                    [](char** found) { return TEXT_lookup(TEXT_default_date_format, found); });
}

std::string written(const date_s& date, const DateOptions& options) {
  char* text = nullptr;
  int status = ORK_ok;
  if (options.in_site_format) {
    status = ZOLP_DateDateToString(date, &text);
  } else {
    const std::string format =
        options.result_format.empty() ? default_format() : options.result_format;
    status = DATE_date_to_string(date, format.c_str(), &text);
  }
  const PlatformBlock<char> block(text);
  require_success(status, "cannot write the date", "choose another format with --to");
  return text != nullptr ? text : "";
}

Json record_of(const date_s& date) {
  return {{"year", date.year}, {"month", date.month + 1}, {"day", date.day},
          {"hour", date.hour}, {"minute", date.minute},   {"second", date.second}};
}

void convert(const DateOptions& options) {
  // The formats of a site count where there is one; the platform's own need none.
  std::optional<Site> site;
  if (!options.site.empty() || std::getenv("ORK_HOST_DB") != nullptr) {
    site.emplace(site_file(options.site));
  }
  const std::vector<std::string> inputs =
      options.now ? std::vector<std::string>{""} : options.inputs;
  Json dates = Json::array();
  for (const std::string& input : inputs) {
    const date_s date = read_date(input, options);
    dates.push_back({{"input", options.now ? Json() : Json(input)},
                     {"text", written(date, options)},
                     {"date", record_of(date)}});
  }
  if (options.json) {
    return print_json(dates);
  }
  for (const Json& date : dates) {
    std::puts(printable(date["text"].get<std::string>()).c_str());
  }
}

}  // namespace

void add_date_command(CommandParser& program) {
  CommandParser& command =
      program.add_command("date", "Bring dates into the default or another format");
  const auto options = std::make_shared<DateOptions>();
  command
      .add_option("DATE", options->inputs,
                  "A date in the site's, the default, or --format's format")
      .type_name("");
  command.add_flag("--now", options->now, "Take the current date and time");
  command.add_option("--format", options->format, "Format of the dates that are given")
      .type_name("FORMAT");
  const OptionParser to =
      command
          .add_option("--to", options->result_format, "Format to write; the default when left out")
          .type_name("FORMAT");
  command.add_flag("--to-site", options->in_site_format, "Write in the site's format").excludes(to);
  command
      .add_option("--host", options->site, "The site's file; ORK_HOST_DB, or none, when left out")
      .type_name("FILE");
  command.add_flag("--json", options->json, "Print JSON");
  command.footer(
      "\nIn a format, %d %m %Y stand for day, month and year, %b for a month's short name, %y for "
      "a\n"
      "year in two digits, %H %M %S for hours, minutes and seconds, %% for \"%\".\n"
      "The site's format is the value of STORE_DATE_FORMAT, or the default format.\n"
      "Examples: zolp date --now\n"
      "          zolp date 31.12.2026 --format %d.%m.%Y\n"
      "          zolp date \"31-Dec-2026 23:59\" --to \"%Y-%m-%d %H:%M:%S\"");
  command.callback([options] {
    if (options->now != options->inputs.empty()) {
      throw usage_error("expected dates, or --now", "give one of them");
    }
    // The library would take it for the current date, and a script's empty variable for a date.
    if (std::count(options->inputs.begin(), options->inputs.end(), "") != 0) {
      throw usage_error("a date is empty", "give --now for the current date");
    }
    convert(*options);
  });
}

}  // namespace tool
