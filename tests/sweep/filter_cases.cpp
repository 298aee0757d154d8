// Filters and dates.

#include <regex.h>

#include <cstdlib>

#include "ork/date.h"
#include "ork/mem.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_filters(Cases& cases) {
  // What cannot be read passes.
  cases
      .add("ZOLP_ApplyFilter(unsigned int, char const*, char const*, bool*, bool)", "another name",
           "good 0: 0; passes WSO_describe: 1")
      .call(outputs_of(ZOLP_ApplyFilter, object("100/A"), "None", "", out, false));
  cases
      .add("ZOLP_ApplyRegExpFilter(unsigned int, char const*, char const*, bool*)", "another name",
           "good 0: 0; passes OBJ_get_value_string x2: 1; exhausted 0: 0")
      .call(outputs_of(ZOLP_ApplyRegExpFilter, object("100/A"), "N.ne", ""));
  // A status that cannot be read does not match.
  cases
      .add(
          "ZOLP_ApplyRegExpFilterExt(unsigned int, char const*, char const*, char const*, bool*, "
          "bool)",
          "the first of two statuses", R"(good 0: 1; makes_do: 0;
           passes OBJ_get_value_string x2: 1; passes OBJ_get_value_tags OBJ_get_value_string: 0)")
      .call(outputs_of(ZOLP_ApplyRegExpFilterExt, object("100/A"), "", "", "Released", out, true));
  cases.add("MatchPattern(re_pattern_buffer, char const*)", "", "good 1").call([](Run& run) {
    regex_t pattern;
    prepared(regcomp(&pattern, "b+", REG_EXTENDED), "pattern");
    run.call([&] { return MatchPattern(pattern, "abba"); });
    regfree(&pattern);
  });
  cases.add("regmatch_dup(regmatch_t*, char const*)", "", "good 0: bb; exhausted 0: null")
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

void add_dates(Cases& cases) {
  const char* by_site_format = R"(good 0: text;
    ignores TEXT_lookup: text; passes DATE_date_to_string: null; exhausted 0: null)";
  cases.add("ZOLP_DateAskCurrentDate(date_s*)", "", "good 0").call([](Run& run) {
    date_s date{};
    run.call(ZOLP_DateAskCurrentDate, &date);
  });
  cases.add("ZOLP_DateAskCurrentDateTimeAsString(char**)", "", "good 0: text; exhausted 0: null")
      .call(ask_text(ZOLP_DateAskCurrentDateTimeAsString));
  cases.add("ZOLP_DateAskCurrentDateAsString(char**)", "", by_site_format)
      .call(ask_text(ZOLP_DateAskCurrentDateAsString))
      .prepare(use_site_format);
  // Without the default format the platform refuses what is to be done by it.
  cases
      .add("ZOLP_DateAskCurrentDateAsVELOString(char**)", "", R"(good 0: text;
        answers ORK_invalid_argument goes_on TEXT_lookup: null; passes DATE_date_to_string: null;
        exhausted 0: null)")
      .call(ask_text(ZOLP_DateAskCurrentDateAsVELOString));
  cases.add("ZOLP_DateDateToString(date_s, char**)", "", by_site_format)
      .call(ask_text([](char** text) {
        return ZOLP_DateDateToString(date_s{2026, 11, 21, 7, 30, 0}, text);
      }))
      .prepare(use_site_format);
  cases
      .add("ZOLP_DateStringVELODateString(char const*, char**)", "", R"(good 0: text;
        answers ORK_invalid_argument goes_on TEXT_lookup: null;
        answers DATE_wrong_text unwrapped DATE_string_to_date then DATE_string_to_date: null;
        passes DATE_date_to_string: null; exhausted 0: null)")
      .call(ask_text([](char** text) { return ZOLP_DateStringVELODateString("21.11.2026", text); }))
      .prepare(use_site_format);
  cases
      .add("ZOLP_UTIL_DateStringToVELODate(char const*, date_s*, char const*)", "by a format",
           "good 0: 2026; passes DATE_string_to_date: 0")
      .call(outputs_of(ZOLP_UTIL_DateStringToVELODate, "21.11.2026", out, "%d.%m.%Y"));
}

}  // namespace

void add_filter_cases(Cases& cases) {
  add_filters(cases);
  add_dates(cases);
}

}  // namespace sweep
