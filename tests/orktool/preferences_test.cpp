#include "support/site.h"

namespace {

class Preferences : public test::TestOn<> {
 protected:
  Preferences() {
    site.log_in();
    site.preference("Colours", std::vector<const char*>{"red", "green", ""});
    site.preference("Empty", "");
    site.preference("Switch", "false");
  }

  /** Status and value of a reader as "status:value". */
  template <typename Reader>
  static std::string told(Reader reader) {
    char* value = nullptr;
    const int status = reader(&value);
    const std::string result = std::to_string(status) + ":" + (value != nullptr ? value : "null");
    MEM_free(value);
    return result;
  }

  static std::string value(const char* name, const char* default_value) {
    return told([&](char** value) {
      return ZOLP_GetPreferenceValue(name, value, default_value, PREF_SCOPE_SITE);
    });
  }

  static std::string string_value(const char* name, const char* default_value) {
    return told([&](char** value) { return ZOLP_get_string_pref(0, name, value, default_value); });
  }
};

TEST_F(Preferences, ArrayHasAllValuesInOneBlock) {
  int count = 99;
  char** values = nullptr;
  EXPECT_EQ(ZOLP_GetPreferenceArray("Colours", &count, &values), ORK_ok);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(values[0], "red");
  EXPECT_STREQ(values[2], "");
  EXPECT_EQ(ork_host_block_count(), 1U);
  MEM_free(values);

  EXPECT_EQ(ZOLP_GetPreferenceArray("None", &count, &values), ORK_ok);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(values, nullptr);
}

TEST_F(Preferences, ArrayAndValueInitializeOnceEach) {
  int count = 0;
  char** values = nullptr;
  ork_host_fail_call("PREF_initialize", 1, 4711);
  ork_host_start_journal();
  EXPECT_EQ(value("Colours", nullptr), "4711:null");
  EXPECT_EQ(value("Colours", nullptr), "0:red");
  EXPECT_EQ(value("Colours", nullptr), "0:red");
  ZOLP_GetPreferenceArray("None", &count, &values);
  ZOLP_GetPreferenceArray("None", &count, &values);
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("PREF_initialize",                                                 //
                          "PREF_initialize", "PREF_get_value_count", "PREF_get_char_value",  //
                          "PREF_get_value_count", "PREF_get_char_value",                     //
                          "PREF_initialize", "PREF_get_value_count", "PREF_get_value_count"));
}

TEST_F(Preferences, ValuesFallBackToACopyOfTheDefault) {
  for (const auto& read : {value, string_value}) {
    EXPECT_EQ(read("Colours", "x"), "0:red");
    EXPECT_EQ(read("Empty", "x"), "0:");
    EXPECT_EQ(read("None", "x"), "0:x");
  }
  EXPECT_TRUE(trace.has("Preference [None] = [x]"));
  EXPECT_EQ(value("None", nullptr), "0:null");
}

TEST_F(Preferences, ShortcutsNeverFail) {
  const auto read = [](int (*reader)(const char*, char**), const char* name) {
    return told([&](char** value) { return reader(name, value); });
  };
  EXPECT_EQ(read(ZOLP_get_pref, "Colours"), "0:red");
  EXPECT_EQ(read(ZOLP_getSitePreference, "None"), "0:null");
  trace.clear();
  ork_host_fail_call("PREF_get_char_value", 1, 4711);
  EXPECT_EQ(read(ZOLP_getSitePreference, "Colours"), "0:null");
  EXPECT_THAT(trace.lines().front(),
              StartsWith(" ->ZOLP_GetPreferenceValue(szPref, p_szValue, NULL, PREF_SCOPE_SITE) "));
  EXPECT_TRUE(trace.has("PREF_SCOPE_SITE) returned 4711 "));
}

TEST_F(Preferences, LogicalTakesTheDefaultWhenUnreadable) {
  const auto read = [](const char* name, logical default_value) {
    logical value = 9;
    EXPECT_EQ(ZOLP_get_logical_pref(0, name, &value, default_value), ORK_ok);
    return value;
  };
  EXPECT_EQ(read("Switch", 1), 0);
  EXPECT_EQ(read("None", 1), 1);
  EXPECT_EQ(read("Colours", 0), 0);
  EXPECT_EQ(trace.count("Preference [Switch] = [TRUE]"), 1);
  EXPECT_EQ(ZOLP_get_logical_pref(0, "Switch", nullptr, 1), ORK_ok);
  EXPECT_EQ(trace.count("Preference [Switch] = [FALSE]"), 1);
}

TEST_F(Preferences, StringNeedsADefault) {
  char untouched = 'u';
  char* value = &untouched;
  EXPECT_EQ(ZOLP_get_string_pref(0, "Colours", &value, nullptr), ORK_ok);
  EXPECT_EQ(value, &untouched);
  EXPECT_THAT(trace.lines(), ElementsAre("ZOLP_get_string_pref default=NULL"));
}

TEST_F(Preferences, CheckLooksAtEachValueWhole) {
  PREF_initialize();
  EXPECT_EQ(ZOLP_check_preference(0, "Colours", "red"), 1);
  EXPECT_EQ(ZOLP_check_preference(0, "Colours", ""), 1);
  EXPECT_EQ(ZOLP_check_preference(0, "Colours", "Green"), 0);
  EXPECT_EQ(ZOLP_check_preference(0, "Colours", "gree"), 0);
  EXPECT_FALSE(trace.has("not found"));
  EXPECT_EQ(ZOLP_check_preference(0, "Colours", "green"), 1);
  EXPECT_EQ(ZOLP_check_preference(0, "None", "red"), 0);
  EXPECT_EQ(trace.lines().back(), "Preference None not found");
  EXPECT_EQ(trace.levels().back(), ZOLP_LEVEL_WARNING);
}

TEST_F(Preferences, ModuleIsSwitchedOffByExactlyFourTexts) {
  blocks += 9;  // the switch's text stays allocated
  for (const char* off : {"", "FALSE", "NO", "NEIN"}) {
    site.preference("Module", off);
    EXPECT_EQ(ZOLP_run_modul("Module"), 1) << off;
  }
  EXPECT_EQ(trace.missing({"  Preference [Module] = [NEIN]", "  Modul [Module] = [1]"}), "");
  for (const char* on : {"TRUE", "nein", "No", "0", "NEIN "}) {
    site.preference("Module", on);
    EXPECT_EQ(ZOLP_run_modul("Module"), 0) << on;
  }
  EXPECT_EQ(ZOLP_run_modul("None"), 1);
  EXPECT_TRUE(trace.has("  Preference [None] = [(null)]"));
}

}  // namespace
