#include "demo_site.h"
#include "host/store/registry.h"
#include "host/system/texts.h"

namespace {

std::string text_of(const char* key) {
  char* text = nullptr;
  const int status = TEXT_lookup(key, &text);
  return status == ORK_ok ? test::take(text) : std::to_string(status);
}

}  // namespace

TEST(ShippedTexts, EachKeyHasATextInEachLanguageOfItsOwn) {
  const host::Texts& texts = host::shipped_texts();
  const auto& english = texts.in(host::Language::english);
  const auto& german = texts.in(host::Language::german);
  for (const int code : host::known_errors()) {
    const std::string key = "error." + std::to_string(code);
    EXPECT_TRUE(english.contains(key)) << key;
  }
  for (const auto& [key, text] : english) {
    ASSERT_TRUE(german.contains(key)) << key;
    EXPECT_NE(text, "") << key;
    EXPECT_NE(german.at(key), "") << key;
    if (key.starts_with("error.")) {
      EXPECT_NE(german.at(key), text) << key;
    }
  }
  EXPECT_EQ(german.size(), english.size());
  EXPECT_EQ(english.at("DefaultDateFormat"), "%d-%b-%Y %H:%M");
}

TEST(Texts, AreThereBeforeALogin) {
  unsetenv("ORK_LANGUAGE");
  EXPECT_EQ(text_of("error.20003"), "There is no such user");
  EXPECT_EQ(text_of("no such key"), std::to_string(TEXT_unknown_key));
  EXPECT_EQ(test::last_error(), "There is no text with this key: no such key");
  EXPECT_EQ(text_of(nullptr), std::to_string(ORK_invalid_argument));
}

TEST_F(DemoSite, TextsFollowTheLanguageOfTheLogin) {
  log_in();
  setenv("ORK_LANGUAGE", "de", 1);
  int count = 0;
  EXPECT_EQ(PREF_get_value_count(nullptr, &count), ORK_invalid_argument);
  EXPECT_THAT(test::last_error(), StartsWith("An argument is not valid: "));
  ORK_exit_module(0);
  EXPECT_EQ(ORK_init_module("nobody", "", nullptr), ORK_unknown_user);
  EXPECT_EQ(test::last_error(), "Diesen Benutzer gibt es nicht: nobody");
  EXPECT_EQ(text_of("error.0"), "Erfolg");
  EXPECT_EQ(test::ask(ERR_get_error_text, 4711), "Unbekannter Fehlercode 4711");
  setenv("ORK_LANGUAGE", "tlh", 1);
  log_in();
  EXPECT_EQ(text_of("error.0"), "Success");
  unsetenv("ORK_LANGUAGE");
}

TEST(SiteTexts, StandInPlaceOfTheShippedOnesAndAreKept) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ASSERT_EQ(ork_host_seed(test::demo_seed), ORK_ok);
  ASSERT_EQ(ork_host_seed(R"({"texts": {
    "en": {"error.4711": "Out of perfume", "error.2002": "No memory", "Greeting": "Hello"},
    "de": {"error.4711": "Kein Parfum mehr"}}})"),
            ORK_ok)
      << test::last_error();
  EXPECT_EQ(text_of("error.2002"), "No memory") << "without a login";
  ork_host_close();
  EXPECT_EQ(text_of("error.2002"), "Memory is exhausted");

  setenv("ORK_LANGUAGE", "de", 1);
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  EXPECT_EQ(text_of("error.4711"), "Kein Parfum mehr");
  EXPECT_EQ(text_of("error.2002"), "Der Speicher ist ersch\u00f6pft");
  EXPECT_EQ(text_of("Greeting"), "Hello");
  EXPECT_THAT(test::describe("texts"), HasSubstr("Kein Parfum mehr"));
  ASSERT_EQ(ork_host_seed(R"({"texts": {"de": {"error.4711": null}}})"), ORK_ok);
  EXPECT_EQ(text_of("error.4711"), "Out of perfume");

  expect_refused("refused_texts.txt", ork_host_seed);
  EXPECT_EQ(text_of("Greeting"), "Hello");
  ork_host_close();
  unsetenv("ORK_LANGUAGE");
}
