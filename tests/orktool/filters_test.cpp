
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
      {repeated("|", huge), false},
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
      {"([)]){100}(.){900}", true},
      {"([)]){100}(.){901}", false},
      {"(x{1,10}){100}", true},
      {"(x{1,11}){100}", false},
      {"x{32000}{3}", true},
      {"x{32000}{4}", false},
      {"[x{900}]{2}[[:alpha:](((]", true},
      {"\\(\\[\\|\\{\\*", true},
      {"((a?){6})*", true},
      {"((a?){8})*", false},
      {"^a?(b?)?(c?)?(d?)?$", true},
      {"^[A-Z]*(-[A-Z]+)?(te)?(m)?( .*)?(x+)?$", true},
      {"^" + repeated("(a?)?", 16) + "$", true},
      {"^" + repeated("(a?)?", 20) + "$", false},
      {"(^a?(b?)?(c?)?(d?)?(e?)?$)*", false},
      {repeated("^a$|", 140) + "b", true},
      {"(a)\\1\\1\\1", true},
      {"(a)\\1\\1\\1\\1", false},
      {"(a+)-\\1", true},
      {"(a+)-?\\1", false},
  };
  for (const auto& [pattern, expected] : patterns) {
    EXPECT_EQ(orktool::is_within_limits(pattern.c_str()), expected) << pattern.substr(0, 60);
  }
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
