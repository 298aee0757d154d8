// Filters and dates.

#include <regex.h>

#include <cstdlib>

#include "ork/date.h"
#include "ork/mem.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

template <typename Filter>
auto filter(Filter filter_one) {
  return [filter_one](Run& run) {
    bool passes_filter = false;
    run.call(filter_one, &passes_filter);
    run.out(passes_filter ? "passes" : "held back");
  };
}

void add_filters(Cases& cases) {
  // What cannot be read passes.
  cases.add("ZOLP_ApplyFilter(unsigned int, char const*, char const*, bool*, bool)", "another name")
      .good({0, "held back"})
      .steps({passes("WSO_describe", "passes")})
      .call(filter(
          [](bool* match) { return ZOLP_ApplyFilter(object("100/A"), "None", "", match, false); }));
  cases.add("ZOLP_ApplyRegExpFilter(unsigned int, char const*, char const*, bool*)", "another name")
      .good({0, "held back"})
      .steps({passes("OBJ_get_value_string", "passes"), passes("OBJ_get_value_string", "passes")})
      .allocations({exhausted(0, "held back")})
      .call(filter(
          [](bool* match) { return ZOLP_ApplyRegExpFilter(object("100/A"), "N.ne", "", match); }));
  // A status that cannot be read does not match.
  cases
      .add(
          "ZOLP_ApplyRegExpFilterExt(unsigned int, char const*, char const*, char const*, bool*, "
          "bool)",
          "the first of two statuses")
      .good({0, "passes"})
      .makes_do("held back")
      .steps({passes("OBJ_get_value_string", "passes"), passes("OBJ_get_value_string", "passes"),
              passes("OBJ_get_value_tags", "held back"),
              passes("OBJ_get_value_string", "held back")})
      .call(filter([](bool* match) {
        return ZOLP_ApplyRegExpFilterExt(object("100/A"), "", "", "Released", match, true);
      }));
  cases.add("MatchPattern(re_pattern_buffer, char const*)", "").good({1, ""}).call([](Run& run) {
    regex_t pattern;
    prepared(regcomp(&pattern, "b+", REG_EXTENDED), "pattern");
    run.call([&] { return MatchPattern(pattern, "abba"); });
    regfree(&pattern);
  });
  cases.add("regmatch_dup(regmatch_t*, char const*)", "")
      .good({0, "bb"})
      .allocations({exhausted(0, "null")})
      .call([](Run& run) {
        regmatch_t match = {1, 3};
        char* part = run.call([&] { return regmatch_dup(&match, "abba"); });
        run.out(part);
        MEM_free(part);
      });
}

template <typename Ask>
auto ask_text(Ask ask) {
  return [ask](Run& run) {
    char* text = untouched<char>();
    run.call(ask, &text);
    run.out(text == nullptr ? "null" : "text");
    MEM_free(text);
  };
}

void use_site_format() {
  setenv("STORE_DATE_FORMAT", "%d.%m.%Y", 1);
}

/** Without the default format the platform refuses what is to be done by it. */
const Step without_format = answers("TEXT_lookup", ORK_invalid_argument, "null").goes_on();

void add_current_dates(Cases& cases) {
  cases.add("ZOLP_DateAskCurrentDate(date_s*)", "").call([](Run& run) {
    date_s date{};
    run.call(ZOLP_DateAskCurrentDate, &date);
  });
  cases.add("ZOLP_DateAskCurrentDateTimeAsString(char**)", "")
      .good({0, "text"})
      .allocations({exhausted(0, "null")})
      .call(ask_text([](char** text) { return ZOLP_DateAskCurrentDateTimeAsString(text); }));
  cases.add("ZOLP_DateAskCurrentDateAsString(char**)", "")
      .good({0, "text"})
      .steps({ignores("TEXT_lookup", "text"), passes("DATE_date_to_string", "null")})
      .allocations({exhausted(0, "null")})
      .call(ask_text([](char** text) { return ZOLP_DateAskCurrentDateAsString(text); }))
      .prepare(use_site_format);
  cases.add("ZOLP_DateAskCurrentDateAsVELOString(char**)", "")
      .good({0, "text"})
      .steps({without_format, passes("DATE_date_to_string", "null")})
      .allocations({exhausted(0, "null")})
      .call(ask_text([](char** text) { return ZOLP_DateAskCurrentDateAsVELOString(text); }));
  cases.add("ZOLP_DateDateToString(date_s, char**)", "")
      .good({0, "text"})
      .steps({ignores("TEXT_lookup", "text"), passes("DATE_date_to_string", "null")})
      .allocations({exhausted(0, "null")})
      .call(ask_text([](char** text) {
        return ZOLP_DateDateToString(date_s{2026, 11, 21, 7, 30, 0}, text);
      }))
      .prepare(use_site_format);
}

void add_parsed_dates(Cases& cases) {
  cases.add("ZOLP_DateStringVELODateString(char const*, char**)", "")
      .good({0, "text"})
      .steps({without_format,
              answers("DATE_string_to_date", DATE_wrong_text, "null")
                  .unwrapped()
                  .calls({"DATE_string_to_date"}),
              passes("DATE_date_to_string", "null")})
      .allocations({exhausted(0, "null")})
      .call(ask_text([](char** text) { return ZOLP_DateStringVELODateString("21.11.2026", text); }))
      .prepare(use_site_format);
  cases.add("ZOLP_UTIL_DateStringToVELODate(char const*, date_s*, char const*)", "by a format")
      .good({0, "2026"})
      .steps({passes("DATE_string_to_date", "0")})
      .call([](Run& run) {
        date_s date = {99, 1, 1, 1, 1, 1};
        run.call(ZOLP_UTIL_DateStringToVELODate, "21.11.2026", &date, "%d.%m.%Y");
        run.out(date.year);
      });
}

}  // namespace

void add_filter_cases(Cases& cases) {
  add_filters(cases);
  add_current_dates(cases);
  add_parsed_dates(cases);
}

}  // namespace sweep
