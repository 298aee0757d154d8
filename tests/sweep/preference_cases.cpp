// Preferences.

#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_values(Cases& cases) {
  cases
      .add("ZOLP_GetPreferenceArray", "", R"(good 0: 3|first second third;
        passes PREF_initialize PREF_get_value_count PREF_get_char_values: 0|null)")
      .call(outputs_of(ZOLP_GetPreferenceArray, "Several"));
  cases
      .add("ZOLP_check_preference", "the second of three values", R"(good 1;
        answers 0 PREF_get_value_count; ignores PREF_get_char_value;
        answers 0 PREF_get_char_value then PREF_get_char_value)")
      .call(outputs_of(ZOLP_check_preference, 0, "Several", "second"));
  const auto value = [](const char* name, const char* default_value) {
    return outputs_of(ZOLP_GetPreferenceValue, name, out, default_value, PREF_SCOPE_SITE);
  };
  cases
      .add("ZOLP_GetPreferenceValue", "with a default", R"(good 0: value;
        passes PREF_initialize PREF_get_value_count PREF_get_char_value: default)")
      .call(value("One", "default"));
  cases
      .add("ZOLP_GetPreferenceValue", "without a default", R"(good 0: value;
        passes PREF_initialize PREF_get_value_count PREF_get_char_value: null)")
      .call(value("One", nullptr));
  cases
      .add("ZOLP_GetPreferenceValue", "the default of a preference that is not set", R"(
        good 0: default; passes PREF_initialize PREF_get_value_count: default;
        exhausted 0: null)")
      .call(value("None", "default"));
  const char* swallowed = R"(good 0: value;
    answers 0 PREF_initialize PREF_get_value_count PREF_get_char_value: null)";
  cases.add("ZOLP_get_pref", "", swallowed).call(outputs_of(ZOLP_get_pref, "One"));
  cases.add("ZOLP_getSitePreference", "", swallowed)
      .call(outputs_of(ZOLP_getSitePreference, "One"));
}

void add_readers_that_initialize(Cases& cases) {
  cases
      .add("ZOLP_get_logical_pref", "", R"(good 0: 1;
        passes goes_on PREF_initialize: 1; ignores unwrapped PREF_get_logical_value: 0)")
      .call(outputs_of(ZOLP_get_logical_pref, 0, "Switch", out, logical{0}));
  cases
      .add("ZOLP_get_string_pref", "", R"(good 0: value;
        passes goes_on PREF_initialize: value; ignores unwrapped PREF_get_char_value: default)")
      .call(outputs_of(ZOLP_get_string_pref, 0, "One", out, "default"));
  // The value stays allocated.
  cases
      .add("ZOLP_run_modul", "switched off", R"(good 1 keeps 1;
        ignores keeps 1 PREF_initialize; ignores PREF_get_char_value)")
      .call(outputs_of(ZOLP_run_modul, "Off"));
  cases
      .add("ZOLP_run_modul", "not switched off", R"(good 0 keeps 1;
        ignores keeps 1 PREF_initialize; answers 1 PREF_get_char_value)")
      .call(outputs_of(ZOLP_run_modul, "On"));
}

}  // namespace

void add_preference_cases(Cases& cases) {
  add_values(cases);
  add_readers_that_initialize(cases);
}

}  // namespace sweep
