// Preferences.

#include "sweep.h"

namespace sweep {

namespace {

void add_values(Cases& cases) {
  cases.add("ZOLP_GetPreferenceArray").call(outputs_of(ZOLP_GetPreferenceArray, "Several"));
  cases.add("ZOLP_check_preference", "the second of three values")
      .call(outputs_of(ZOLP_check_preference, 0, "Several", "second"));
  const auto value = [](const char* name, const char* default_value) {
    return outputs_of(ZOLP_GetPreferenceValue, name, out, default_value, PREF_SCOPE_SITE);
  };
  cases.add("ZOLP_GetPreferenceValue", "with a default").call(value("One", "default"));
  cases.add("ZOLP_GetPreferenceValue", "without a default").call(value("One", nullptr));
  cases.add("ZOLP_GetPreferenceValue", "the default of a preference that is not set")
      .call(value("None", "default"));
  cases.add("ZOLP_get_pref").call(outputs_of(ZOLP_get_pref, "One"));
  cases.add("ZOLP_getSitePreference").call(outputs_of(ZOLP_getSitePreference, "One"));
}

void add_readers_that_initialize(Cases& cases) {
  cases.add("ZOLP_get_logical_pref")
      .call(outputs_of(ZOLP_get_logical_pref, 0, "Switch", out, logical{0}));
  cases.add("ZOLP_get_string_pref")
      .call(outputs_of(ZOLP_get_string_pref, 0, "One", out, "default"));
  cases.add("ZOLP_run_modul", "switched off").call(outputs_of(ZOLP_run_modul, "Off"));
  cases.add("ZOLP_run_modul", "not switched off").call(outputs_of(ZOLP_run_modul, "On"));
}

}  // namespace

void add_preference_cases(Cases& cases) {
  add_values(cases);
  add_readers_that_initialize(cases);
}

}  // namespace sweep
