// Filters and dates.

#include <regex.h>

#include "sweep.h"

namespace sweep {

namespace {

void add_filters(Cases& cases) {
  cases.add("ZOLP_ApplyFilter(unsigned int, char const*, char const*, bool*, bool)", "another name")
      .call(outputs_of(ZOLP_ApplyFilter, object("100/A"), "None", "", out, false));
  cases.add("ZOLP_ApplyRegExpFilter(unsigned int, char const*, char const*, bool*)", "another name")
      .call(outputs_of(ZOLP_ApplyRegExpFilter, object("100/A"), "N.ne", ""));
  cases
      .add(
          "ZOLP_ApplyRegExpFilterExt(unsigned int, char const*, char const*, char const*, bool*, "
          "bool)",
          "the first of two statuses")
      .call(outputs_of(ZOLP_ApplyRegExpFilterExt, object("100/A"), "", "", "Released", out, true));
  cases.add("MatchPattern(re_pattern_buffer, char const*)").call([](Run& run) {
    regex_t pattern;
    prepared(regcomp(&pattern, "b+", REG_EXTENDED), "pattern");
    run.call([&] { return MatchPattern(pattern, "abba"); });
    regfree(&pattern);
  });
  cases.add("regmatch_dup(regmatch_t*, char const*)").call([](Run& run) {
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

void add_dates(Cases& cases) {
  cases.add("ZOLP_DateAskCurrentDate(date_s*)").call([](Run& run) {
    date_s date{};
    run.call(ZOLP_DateAskCurrentDate, &date);
  });
  cases.add("ZOLP_DateAskCurrentDateTimeAsString(char**)")
      .call(ask_text(ZOLP_DateAskCurrentDateTimeAsString));
  cases.add("ZOLP_DateAskCurrentDateAsString(char**)")
      .call(ask_text(ZOLP_DateAskCurrentDateAsString))
      .prepare(use_site_format);
  cases.add("ZOLP_DateAskCurrentDateAsVELOString(char**)")
      .call(ask_text(ZOLP_DateAskCurrentDateAsVELOString));
  cases.add("ZOLP_DateDateToString(date_s, char**)")
      .call(ask_text([](char** text) {
        return ZOLP_DateDateToString(date_s{2026, 11, 21, 7, 30, 0}, text);
      }))
      .prepare(use_site_format);
  cases.add("ZOLP_DateStringVELODateString(char const*, char**)")
      .call(ask_text([](char** text) { return ZOLP_DateStringVELODateString("21.11.2026", text); }))
      .prepare(use_site_format);
  cases.add("ZOLP_UTIL_DateStringToVELODate(char const*, date_s*, char const*)", "by a format")
      .call(outputs_of(ZOLP_UTIL_DateStringToVELODate, "21.11.2026", out, "%d.%m.%Y"));
}

}  // namespace

void add_filter_cases(Cases& cases) {
  add_filters(cases);
  add_dates(cases);
}

}  // namespace sweep
