// Preferences.

#include "ork/mem.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_arrays(Cases& cases) {
  cases.add("ZOLP_GetPreferenceArray", "")
      .good({0, "3|first second third"})
      .steps({passes("PREF_initialize", "0|null"), passes("PREF_get_value_count", "0|null"),
              passes("PREF_get_char_values", "0|null")})
      .call([](Run& run) {
        int count = untouched_number;
        char** values = untouched<char*>();
        run.call(ZOLP_GetPreferenceArray, "Several", &count, &values);
        run.out(count).out_texts(count, values);
        MEM_free(values);
      });
  cases.add("ZOLP_check_preference", "the second of three values")
      .good({1, ""})
      .steps({answers("PREF_get_value_count", 0), ignores("PREF_get_char_value"),
              answers("PREF_get_char_value", 0).calls({"PREF_get_char_value"})})
      .call([](Run& run) { run.call(ZOLP_check_preference, 0, "Several", "second"); });
}

template <typename Read>
auto read_text(Read read) {
  return [read](Run& run) {
    char* value = untouched<char>();
    run.call(read, &value);
    run.out(value == untouched<char>() ? "untouched" : value);
    MEM_free(value == untouched<char>() ? nullptr : value);
  };
}

void add_single_values(Cases& cases) {
  cases.add("ZOLP_GetPreferenceValue", "with a default")
      .good({0, "value"})
      .steps({passes("PREF_initialize", "default"), passes("PREF_get_value_count", "default"),
              passes("PREF_get_char_value", "default")})
      .call(read_text([](char** value) {
        return ZOLP_GetPreferenceValue("One", value, "default", PREF_SCOPE_SITE);
      }));
  cases.add("ZOLP_GetPreferenceValue", "without a default")
      .good({0, "value"})
      .steps({passes("PREF_initialize", "null"), passes("PREF_get_value_count", "null"),
              passes("PREF_get_char_value", "null")})
      .call(read_text([](char** value) {
        return ZOLP_GetPreferenceValue("One", value, nullptr, PREF_SCOPE_SITE);
      }));
  cases.add("ZOLP_GetPreferenceValue", "the default of a preference that is not set")
      .good({0, "default"})
      .steps({passes("PREF_initialize", "default"), passes("PREF_get_value_count", "default")})
      .allocations({exhausted(0, "null")})
      .call(read_text([](char** value) {
        return ZOLP_GetPreferenceValue("None", value, "default", PREF_SCOPE_SITE);
      }));
  const auto swallowed = [](const char* operation) { return answers(operation, 0, "null"); };
  cases.add("ZOLP_get_pref", "")
      .good({0, "value"})
      .steps({swallowed("PREF_initialize"), swallowed("PREF_get_value_count"),
              swallowed("PREF_get_char_value")})
      .call(read_text([](char** value) { return ZOLP_get_pref("One", value); }));
  cases.add("ZOLP_getSitePreference", "")
      .good({0, "value"})
      .steps({swallowed("PREF_initialize"), swallowed("PREF_get_value_count"),
              swallowed("PREF_get_char_value")})
      .call(read_text([](char** value) { return ZOLP_getSitePreference("One", value); }));
}

void add_readers_that_initialize(Cases& cases) {
  cases.add("ZOLP_get_logical_pref", "")
      .good({0, "1"})
      .steps({passes("PREF_initialize", "1").goes_on(),
              ignores("PREF_get_logical_value", "0").unwrapped()})
      .call([](Run& run) {
        logical value = untouched_number;
        run.call(ZOLP_get_logical_pref, 0, "Switch", &value, logical{0});
        run.out(value);
      });
  cases.add("ZOLP_get_string_pref", "")
      .good({0, "value"})
      .steps({passes("PREF_initialize", "value").goes_on(),
              ignores("PREF_get_char_value", "default").unwrapped()})
      .call(
          read_text([](char** value) { return ZOLP_get_string_pref(0, "One", value, "default"); }));
  // The value stays allocated.
  cases.add("ZOLP_run_modul", "switched off")
      .good({1, "", 0, 1})
      .steps({ignores("PREF_initialize").keeps(1), ignores("PREF_get_char_value")})
      .call([](Run& run) { run.call(ZOLP_run_modul, "Off"); });
  cases.add("ZOLP_run_modul", "not switched off")
      .good({0, "", 0, 1})
      .steps({ignores("PREF_initialize").keeps(1), answers("PREF_get_char_value", 1)})
      .call([](Run& run) { run.call(ZOLP_run_modul, "On"); });
}

}  // namespace

void add_preference_cases(Cases& cases) {
  add_arrays(cases);
  add_single_values(cases);
  add_readers_that_initialize(cases);
}

}  // namespace sweep
