#include <clocale>

#include "pattern_cost.h"
#include "patterns.h"
#include "support/process.h"
#include "support/site.h"
#include "support/small_stack.h"

namespace {

class Filters : public test::TestOn<> {
 protected:
  Filters() {
    EXPECT_EQ(ork_host_seed(R"seed({
      "types": [{"name": "Gear(box)", "parent": "Item"}],
      "items": [
        {"id": "1", "name": "XA*Y", "type": "Gear(box)",
         "statuses": ["Prototype", "Released", "Frozen"]},
        {"id": "2", "name": "AB"},
        {"id": "3", "name": "Zahnr\u00e4der"}]})seed"),
              ORK_ok);
    site.log_in();
    starred = item("1");
    plain = item("2");
    umlaut = item("3");
  }

  static tag item(const char* id) {
    const tag found = test::ask(ork_host_find_item, id, nullptr);
    return found;
  }

  /** The traced lines about matches, and the answer with its status, "1:0" for a pass. */
  std::vector<std::string> told(int status, bool match) {
    std::vector<std::string> lines;
    for (const std::string& line : trace.lines()) {
      const std::string text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
      if (text.find("atch for ") != std::string::npos || text.starts_with("inx=")) {
        lines.push_back(text);
      }
    }
    lines.push_back(std::to_string(match) + ":" + std::to_string(status));
    trace.clear();
    return lines;
  }

  std::vector<std::string> compare(tag object, const char* name, const char* type, bool prefix) {
    bool match = !prefix;
    const int status = ZOLP_ApplyFilter(object, name, type, &match, prefix);
    return told(status, match);
  }

  std::vector<std::string> find(tag object, const char* name, const char* type) {
    bool match = type == nullptr;
    const int status = ZOLP_ApplyRegExpFilter(object, name, type, &match);
    return told(status, match);
  }

  std::vector<std::string> find(tag object, const char* name, const char* type, const char* release,
                                bool escape) {
    bool match = escape;
    const int status = ZOLP_ApplyRegExpFilterExt(object, name, type, release, &match, escape);
    return told(status, match);
  }

  /** Whether a type pattern lets an object of type "Item" pass. */
  bool matches_item(const std::string& pattern) {
    bool match = false;
    EXPECT_EQ(ZOLP_ApplyRegExpFilterExt(plain, "", pattern.c_str(), "", &match, false), ORK_ok);
    return match;
  }

  tag starred = NULLTAG;
  tag plain = NULLTAG;
  tag umlaut = NULLTAG;
};

TEST_F(Filters, CompareWholeValues) {
  for (const bool prefix : {false, true}) {
    EXPECT_THAT(compare(plain, nullptr, nullptr, prefix), ElementsAre("1:0"));
    EXPECT_THAT(compare(plain, "", "", prefix), ElementsAre("1:0"));
    EXPECT_THAT(compare(plain, "AB", "Item", prefix), ElementsAre("1:0"));
    EXPECT_THAT(compare(plain, "AB", "item", prefix),
                ElementsAre("No Match for type <item>.", "0:0"));
    EXPECT_THAT(compare(plain, "A", nullptr, prefix), ElementsAre("No Match for name <A>.", "0:0"));
  }
  EXPECT_THAT(compare(plain, "ab", "x", false),
              ElementsAre("No Match for type <x>.", "No Match for name <ab>.", "0:0"));
  EXPECT_THAT(compare(plain, "ab", nullptr, true),
              ElementsAre("No Match for name <ab>.", "No Match for name <ab>.", "0:0"));
  EXPECT_THAT(compare(NULLTAG, "AB", nullptr, true),
              ElementsAre("1:" + std::to_string(STORE_unknown_tag)));
}

TEST_F(Filters, TakeEscapedTextsAnywhere) {
  EXPECT_THAT(find(plain, nullptr, ""), ElementsAre("1:0"));
  EXPECT_THAT(find(starred, "A*", nullptr), ElementsAre("Match for name <A\\*>.", "1:0"));
  EXPECT_THAT(find(plain, "A*", nullptr), ElementsAre("NO Match for name <A\\*>.", "0:0"));
  EXPECT_THAT(find(plain, "a|B", nullptr), ElementsAre("Match for name <a|B>.", "1:0"));
  EXPECT_THAT(find(plain, "AC?B", nullptr), ElementsAre("Match for name <AC?B>.", "1:0"));
  EXPECT_THAT(find(starred, "x", "Gear(box)"),
              ElementsAre("NO Match for type <Gear(box)>.", "NO Match for name <x>.", "0:0"));
  EXPECT_THAT(find(umlaut, "r\xc3\xa4", "Item"),
              ElementsAre("Match for type <Item>.", "Match for name <r\xc3\xa4>.", "1:0"));
  bool match = false;
  ZOLP_ApplyRegExpFilter(plain, "*.+[]{}^$\\()|?", nullptr, &match);
  EXPECT_TRUE(trace.has("Result: \\*\\.\\+\\[\\]\\{\\}\\^\\$\\\\()|? (length=24) "));
  trace.clear();
  ork_host_fail_allocation(3);  // after name and type
  EXPECT_THAT(find(plain, "A.B", nullptr), ElementsAre("NO Match for name <(null)>.", "0:0"));
}

TEST_F(Filters, TakeExpressions) {
  EXPECT_THAT(find(starred, nullptr, "^G.*[(]box.$", nullptr, false),
              ElementsAre("Match for type <^G.*[(]box.$>.", "1:0"));
  EXPECT_THAT(find(plain, nullptr, "I{2}", nullptr, false),
              ElementsAre("NO Match for type <I{2}>.", "0:0"));
  EXPECT_THAT(find(plain, "AB", "(", nullptr, false),
              ElementsAre("NO Match for type <(>.", "NO Match for name <(null)>.", "0:0"));
  // Of the statuses, one that matches is enough.
  EXPECT_THAT(find(starred, nullptr, nullptr, "^Rel", false),
              ElementsAre("inx=0, status=Prototype", "inx=1, status=Released",
                          "Match for status <^Rel> (3 statuses)", "1:0"));
  EXPECT_THAT(
      find(starred, nullptr, nullptr, "^Rel", true),
      ElementsAre("inx=0, status=Prototype", "inx=1, status=Released", "inx=2, status=Frozen",
                  "NO Match for status <\\^Rel> (3 statuses)", "0:0"));
  EXPECT_THAT(find(plain, nullptr, nullptr, "^$", false),
              ElementsAre("Match for status <^$> (0 statuses)", "1:0"));
  EXPECT_THAT(find(plain, nullptr, nullptr, "Released", true),
              ElementsAre("NO Match for status <Released> (0 statuses)", "0:0"));
  EXPECT_THAT(find(starred, "A", "Box", "[", false),
              ElementsAre("NO Match for type <Box>.", "NO Match for name <(null)>.",
                          "NO Match for status <[> (0 statuses)", "0:0"));
}

TEST_F(Filters, ReadStatusesOnlyForAPatternOfTheirs) {
  ork_host_start_journal();
  EXPECT_THAT(find(starred, "A", "box", "", true).back(), "1:0");
  EXPECT_THAT(test::Site::journal(), ElementsAre("OBJ_get_value_string", "OBJ_get_value_string"));
  ork_host_fail_call("OBJ_get_value_tags", 1, failure);
  EXPECT_EQ(find(starred, "A", "box", "(|Rel)", true).back(),
            "1:4711");  // as for an object without statuses

  bool match = false;
  ZOLP_ApplyRegExpFilterExt(plain, "A", nullptr, nullptr, &match, true);
  EXPECT_THAT(trace.lines().front(), StartsWith(" ->ZOLP_ApplyRegExpFilter "));
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ZOLP_ApplyRegExpFilter "));
  EXPECT_EQ(trace.count("->ZOLP_ApplyRegExpFilter"), 1);
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

TEST_F(Filters, HostilePatternsNeitherCrashNorStall) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  constexpr int huge = 65'536;
  const std::pair<std::string, bool> patterns[] = {
      {repeated("(", huge), false},
      {repeated("(", huge) + repeated(")", huge), false},
      {repeated("((", 100) + "Item" + repeated("))", 100), true},
      {repeated("x", huge), false},
      {repeated("x|", 900) + "Item", true},
      {repeated("I?", huge / 2), false},
      {repeated("|", huge), true},
      {repeated("()", huge / 2), false},
      {"I" + repeated("*", huge), false},
      {"I" + repeated("+", 40), false},
      {repeated("^", huge), false},
      {repeated("\\b", 40), false},
      {repeated("[", huge), false},
      {"(((I{1,200}){1,200}){1,200})", false},
      {"I{1,32767}", false},
      {"I{99999999999999999999}", false},
      {"((I?)?(t?)?(e?)?(m?)?(x?)?(y?)?(z?)?)*", false},
      {"^(((I*)*)*)*tem$", true},
      {"(I|t|e|m|It|em)*$", true},
      {"[[:upper:]][][x(t]em", true},
      {"(.).*\\1x", false},
      {"(.*)(.*)(.*)\\1\\2\\3x", false},
      {"I(t)\\1?em", true},
      {"\xff\x80", false},
      {"[^\x80-\xff]{4}", true},
      {"Item\\", false},
  };
  test::on_small_stack([&] {
    for (const auto& [pattern, expected] : patterns) {
      EXPECT_EQ(matches_item(pattern), expected) << pattern.substr(0, 60);
      EXPECT_EQ(matches_item(pattern), expected) << "from memory: " << pattern.substr(0, 60);
    }
  });
}

TEST_F(Filters, LimitsOfPatternsHoldForWhatTheyAmountTo) {
  const std::pair<std::string, bool> patterns[] = {
      {repeated("(", 250) + repeated(")", 250), true},
      {repeated("(", 251) + repeated(")", 251), false},
      {repeated("x?", 950), true},
      {repeated("x?", 1050), false},
      {repeated("x?y", 10'000), true},
      {repeated("(x|y)", 10'000), true},
      {"x{32000}{3}", true},
      {"x{32000}{4}", false},
      {"[x{900}]{2}[[:alpha:](((]", true},
      {"\\(\\[\\|\\{\\*", true},
      {"((a?){6})*", true},
      {"((a?){8})*", false},
      {"^[A-Z]*(-[A-Z]+)?(te)?(m)?( .*)?(x+)?$", true},
      {"^" + repeated("(a?)?", 16) + "$", true},
      {"^" + repeated("(a?)?", 20) + "$", false},
      {"(^a?(b?)?(c?)?(d?)?(e?)?$)*", false},
      {repeated("^a.$|", 140) + "b", true},
      {"(a+)(-\\1)*", true},
      {"(a*)(\\1{1,2})*", false},  // the matcher goes round in it for ever
  };
  for (const auto& [pattern, expected] : patterns) {
    EXPECT_EQ(orktool::cost_of(pattern).is_within_limits, expected) << pattern.substr(0, 60);
  }
}

/** Whether a pattern matches, by the library alone. */
bool matches(const std::string& pattern, const char* value) {
  orktool::Pattern* found = orktool::Pattern::find(pattern.c_str());
  return found != nullptr && found->matches(value);
}

TEST_F(Filters, AnswerAsTheExpressionLibraryDoes) {
  std::string many = "(none|^x$";  // more than are compiled as they stand
  for (int i = 0; i < 40; ++i) {
    many += "|a{" + std::to_string(i) + "}-[|)]" + std::to_string(i) + "(b|c)?";
  }
  const std::string patterns[] = {"(.+)-\\1-.*",
                                  "^(A|B)[0-9]+-\\1$",
                                  "^([a-z]+) \\1 ?$",
                                  "(.)(.)(.)\\3\\2\\1",
                                  many + ")$",
                                  many + ").|)x",
                                  "a)|b",
                                  "^a|b$|^c$",
                                  "^(a|(-|^b$))|\\)$",
                                  "|",
                                  "(^|x)$",
                                  "a|*",
                                  "(a",
                                  "a\\",
                                  "r\xc3\xa4|\xa4",
                                  "^..$",
                                  "x|\xc3"};
  const char* values[] = {"",   "a",         "ab-ab-", "A12-A",    "ab ab", "abccba", "aa-|2c",
                          "a)", "xb",        "c",      "-)",       "b",     "cx",     "a-)1",
                          "x",  "r\xc3\xa4", "\xa4",   "\xc3\xa4", "\xc3x"};
  for (const char* locale : {"C", "C.UTF-8"}) {
    std::setlocale(LC_ALL, locale);
    for (const std::string& pattern : patterns) {
      regex_t expression{};
      const bool compiles = regcomp(&expression, pattern.c_str(), REG_EXTENDED) == 0;
      for (const char* value : values) {
        EXPECT_EQ(matches(pattern, value), compiles && MatchPattern(expression, value))
            << locale << ": " << pattern.substr(0, 60) << " in " << value;
      }
      if (compiles) {
        regfree(&expression);
      }
    }
  }
  std::setlocale(LC_ALL, "C");
}

TEST_F(Filters, FollowTheLocaleOfTheProcess) {
  const char* pattern = "^.$";
#if defined(_WIN32)
  const std::pair<const char*, const char*> two_bytes{".932", "\x83\x41"};
#else
  const std::pair<const char*, const char*> two_bytes{"C.UTF-8", "\xc3\xa4"};
#endif
  for (int round = 0; round < 2; ++round) {
    EXPECT_FALSE(matches(pattern, two_bytes.second));
    ASSERT_NE(std::setlocale(LC_ALL, two_bytes.first), nullptr);
    EXPECT_TRUE(matches(pattern, two_bytes.second));
    std::setlocale(LC_ALL, "C");
  }
}

TEST_F(Filters, ListsOfIdsAreFilters) {
  std::string ids;
  std::string families;
  for (int i = 0; i < 5000; ++i) {
    ids += "|ID-" + std::to_string(i);
    families += "|(ID|NO)-" + std::to_string(i) + "/.*";
  }
  test::on_small_stack([&] {
    for (const std::string& list : {"x" + ids, "^(x" + ids + ")$", "^(x" + families + ")$"}) {
      EXPECT_TRUE(matches(list, "x"));
      EXPECT_EQ(matches(list, "ID-4999"), list.find('*') == std::string::npos);
      EXPECT_EQ(matches(list, "ID-4999/B"), list[0] == 'x' || list.find('*') != std::string::npos);
      EXPECT_FALSE(matches(list, "IC-4999/B"));
    }
  });
  EXPECT_FALSE(trace.has("lets nothing pass"));
}

TEST_F(Filters, WhatIsRefusedIsSaid) {
  find(plain, nullptr, "(", nullptr, false);
  EXPECT_FALSE(trace.has("lets nothing pass"));
  const std::string refused = repeated("I?", 2000);
  bool match = true;
  for (int i = 0; i < 2; ++i) {
    ZOLP_ApplyRegExpFilterExt(plain, "", refused.c_str(), "", &match, false);
    EXPECT_FALSE(match);
  }
  EXPECT_EQ(trace.count("Pattern <I?I?"), 1);
  EXPECT_EQ(trace.count("lets nothing pass: it would take too much memory or time"), 1);
  const std::string two = "(.*)(.*)\\1\\2$";
  EXPECT_TRUE(matches(two, "abcabc"));
  EXPECT_FALSE(matches(two, repeated("a", 200).c_str()));
  EXPECT_EQ(trace.count("Pattern <" + two + "> lets nothing pass: its back-references"), 1);
  EXPECT_TRUE(matches("(.+)-\\1$", (repeated("a", 64) + "-" + repeated("a", 64)).c_str()));
}

// Sanitizers keep what is freed for a while, and find leaks themselves.
#if !defined(__SANITIZE_ADDRESS__)

constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST_F(Filters, CompileEachPatternOnce) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  constexpr int patterns = 100;
  constexpr int many = 20'000;
  const auto filter = [this](int calls) {
    int found = 0;
    for (int i = 0; i < calls; ++i) {
      char name[40];
      std::snprintf(name, sizeof name, "A(B|C%d)", i % patterns);
      bool match = false;
      ZOLP_ApplyRegExpFilter(plain, name, "(", &match);
      ZOLP_ApplyRegExpFilter(plain, name, nullptr, &match);
      found += match ? 1 : 0;
    }
    return found;
  };
  filter(10 * patterns);
  const std::size_t before = test::peak_memory();
  EXPECT_EQ(filter(many), many);
  EXPECT_LT(test::peak_memory(), before + mebibyte);
}

TEST_F(Filters, ForgetWhatMatchingHasLeftBehind) {
  // In each of these names the matcher comes to states that it has not seen before.
  std::vector<std::string> names;
  unsigned random = 1;
  for (int i = 0; i < 160; ++i) {
    std::string& name = names.emplace_back();
    while (name.size() < 128) {
      random = random * 1103515245U + 12345U;
      name += (random >> 16 & 1) != 0 ? 'a' : 'b';
    }
  }
  orktool::Pattern* pattern = orktool::Pattern::find("(a|b)*a(a|b){20}c");
  ASSERT_NE(pattern, nullptr);
  const auto match = [&](std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
      EXPECT_FALSE(pattern->matches(names[i].c_str()));
    }
  };
  constexpr std::size_t enough = 60;
  match(0, enough);
  const std::size_t before = test::peak_memory();
  match(enough, names.size());
  EXPECT_LT(test::peak_memory(), before + 16 * mebibyte);
}

#endif

TEST_F(Filters, SmallExpressionFunctions) {
  regex_t expression{};
  ASSERT_EQ(regcomp(&expression, "([0-9]+)(x)?", REG_EXTENDED), 0);
  EXPECT_TRUE(MatchPattern(expression, "ab12"));
  EXPECT_FALSE(MatchPattern(expression, "ab"));
  EXPECT_FALSE(MatchPattern(expression, ""));
  regmatch_t parts[3];
  ASSERT_EQ(regexec(&expression, "ab12cd", 3, parts, 0), 0);
  regfree(&expression);
  char* part = regmatch_dup(&parts[1], "ab12cd");
  EXPECT_STREQ(part, "12");
  MEM_free(part);
  EXPECT_EQ(regmatch_dup(&parts[2], "ab12cd"), nullptr);
  EXPECT_EQ(regmatch_dup(nullptr, "ab12cd"), nullptr);
  for (regmatch_t backwards : {regmatch_t{0, -1}, regmatch_t{5, 2}}) {
    EXPECT_EQ(regmatch_dup(&backwards, "ab12cd"), nullptr);
  }
  regmatch_t nothing{2, 2};
  part = regmatch_dup(&nothing, "ab12cd");
  EXPECT_STREQ(part, "");
  MEM_free(part);
}

}  // namespace
