// How texts become lines, and how formats are written.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "support/trace_capture.h"
#include "zolp_basetool.h"

#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-overflow"
#pragma GCC diagnostic ignored "-Wformat-truncation"
#pragma GCC diagnostic ignored "-Wformat-zero-length"
#pragma GCC diagnostic ignored "-Wformat-security"

namespace {

using test::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;

/** Compares what the trace and the C library make of a format. */
template <typename... Values>
void expect_same(const char* format, Values... values) {
  std::string expected(static_cast<size_t>(std::snprintf(nullptr, 0, format, values...)), '\0');
  std::snprintf(expected.data(), expected.size() + 1, format, values...);
  TraceCapture trace;
  ZOLP_TRACE(format, values...);
  ZOLP_TRACE("\n");
  EXPECT_THAT(trace.lines(), ElementsAre(expected)) << format;
}

TEST(Format, WritesWhatPrintfWrites) {
  for (int value : {0, 1, -1, 9, 10, 99, 100, 12345, INT_MAX, INT_MIN}) {
    for (const char* format : {"%d", "%i", "<%5d>", "<%-5d>", "%05d", "%+d", "% d", "%.3d", "%hd",
                               "%hhd", "%u", "%x", "%#X", "%o", "%08x", "%-8u|", "%1$d %1$x"}) {
      expect_same(format, value);
    }
    expect_same("%*d|%-*d", 7, value, 7, value);
    expect_same("%*.*d", -7, 3, value);
    expect_same("%.*d", -1, value);
  }
  for (long value : {0L, 1L, -1L, LONG_MAX, LONG_MIN}) {
    for (const char* format : {"%ld", "%lld", "%zd", "%jd", "%td", "%lu", "%lx", "%20ld", "%zu"}) {
      expect_same(format, value);
    }
  }
  for (double value : {0.0, -0.0, 1.0, -2.5, 1e300, DBL_MIN, DBL_MAX, 1.0 / 3}) {
    for (const char* format : {"%f", "%.2f", "%10.3f", "%e", "%G", "%g", "%a", "%-12.1f|", "%'f"}) {
      expect_same(format, value);
    }
    expect_same("%Lf %.0Lf", static_cast<long double>(value), static_cast<long double>(value));
  }
  for (const char* value : {"", "a", "seven..", "eight...", "nine.....", "a text of some length"}) {
    for (const char* format :
         {"%s", "%10s", "%-10s|", "%.3s", "%10.3s", "%.0s", "%s %%", "%.99s"}) {
      expect_same(format, value);
    }
    expect_same("%*s|%-*s|%.*s|%.*s", 6, value, 6, value, 2, value, -1, value);
    expect_same("%2$s %1$d", 5, value);
    expect_same("%s %f %s %ls %s", value, 1.5, value, L"wide", value);
  }
  for (char value : {'a', ' ', '\x7f', '\xe4'}) {
    expect_same("%c", value);
    expect_same("%3c|%-3c|%lc", value, value, 'x');
  }
  int local = 0;
  expect_same("%p %p %20p", &local, nullptr, &local);
  expect_same("no conversion \xc3\xa4");
  expect_same("%5%|%d", 3);
}

#if !defined(_WIN32)
// The C library of Windows refuses no format, and knows no numbered arguments.
TEST(Format, ShowsMalformedFormatsAsTheyStand) {
  TraceCapture trace;
  ZOLP_TRACE("100%");
  ZOLP_TRACE(" %s %", "lone");
  ZOLP_TRACE("\n");
  EXPECT_THAT(trace.lines(), ElementsAre("100% %s %"));
}
#endif

TEST(Format, ShowsNullTextsInEveryPath) {
  const char* null = nullptr;
  TraceCapture trace;
  ZOLP_TRACE("%s|%10s|%-8s|%.3s|%5.2s\n", null, null, null, null, null);
#if !defined(_WIN32)
  ZOLP_TRACE("%1$s %2$d\n", null, 1);
#else
  ZOLP_TRACE("%s %d\n", null, 1);
#endif
  ZOLP_TRACE(nullptr);
  ZOLP_LOG(1, 1, nullptr);
  ZOLP_CRERROR(nullptr);
  EXPECT_THAT(trace.lines(), ElementsAre("(null)|    (null)|(null)  |(null)|(null)", "(null) 1"));
}

TEST(Format, WritesTextsOfAnySize) {
  TraceCapture trace;
  std::vector<std::string> expected;
#if defined(_WIN32)
  // The C library pads numbers on the stack.
  constexpr size_t largest = 500'000;
#else
  constexpr size_t largest = 5'000'000;
#endif
  for (size_t size : {size_t{4080}, size_t{4095}, size_t{4096}, size_t{4097}, largest}) {
    std::string text(size, 'x');
    ZOLP_TRACE("<%s>\n", text.c_str());
    expected.push_back("<" + text + ">");
    ZOLP_TRACE("%s", (text + ">").c_str());
    ZOLP_TRACE("%*d\n", static_cast<int>(size), 7);
    expected.push_back(text + ">" + std::string(size - 1, ' ') + "7");
  }
  EXPECT_TRUE(trace.lines() == expected);
}

TEST(Lines, ArePutTogetherFromTexts) {
  TraceCapture trace;
  ZOLP_LOG(1, 1, "one ");
  ZOLP_TRACE("%s", "");
  ZOLP_ERROR("%s ", "line");
  EXPECT_THAT(trace.lines(), IsEmpty());
  ZOLP_DEBUG("%d\n", 1);
  EXPECT_THAT(trace.lines(), ElementsAre("one line 1"));
  trace.clear();

  ZOLP_TRACE("a\nb%s\n\nd", "\nc");
  EXPECT_THAT(trace.lines(), ElementsAre("a", "b", "c", ""));
  ZOLP_CRERROR("memory");
  EXPECT_THAT(trace.lines(), ElementsAre("a", "b", "c", "", "dmemory"));
  trace.clear();

  std::string many;
  for (int i = 0; i < 1000; ++i) {
    many += "line\n";
  }
  ZOLP_TRACE("%s%5s%c", many.c_str(), "end", '\n');
  EXPECT_EQ(trace.count("line"), 1000);
  EXPECT_EQ(trace.lines().back(), "  end");
}

TEST(Lines, AreIndentedWhereTheyBegin) {
  TraceCapture trace;
  ZOLP_IncTraceSpaces();
  ZOLP_TRACE("begun ");
  ZOLP_IncTraceSpaces();
  ZOLP_TRACE("here\n");
  ZOLP_TRACE("%s", "first\n\nsecond\n");
  ZOLP_TRACE("\n");
  ZOLP_DecTraceSpaces();
  ZOLP_DecTraceSpaces();
  ZOLP_DecTraceSpaces();
  ZOLP_TRACE("margin\n");
  EXPECT_THAT(trace.lines(),
              ElementsAre("  begun here", "    first", "", "    second", "", "margin"));
  EXPECT_EQ(ZOLP_GetTraceDepth(), 0);
  trace.clear();

  constexpr int deep = 1000000;
  for (int i = 0; i < deep; ++i) {
    ZOLP_IncTraceSpaces();
  }
  EXPECT_EQ(ZOLP_GetTraceDepth(), deep);
  ZOLP_TRACE("deep\n");
  for (int i = 0; i < deep - 31; ++i) {
    ZOLP_DecTraceSpaces();
  }
  ZOLP_TRACE("31\n");
  for (int i = 0; i < 31; ++i) {
    ZOLP_DecTraceSpaces();
  }
  ZOLP_TRACE("0\n");
  EXPECT_THAT(trace.lines(),
              ElementsAre(std::string(64, ' ') + "deep", std::string(62, ' ') + "31", "0"));
}

TEST(Levels, ShowWhatTheOnesBeforeThemShow) {
  TraceCapture trace;
  auto shown = [&](int level) {
    ZOLP_SetTraceLevel(level);
    trace.clear();
    ZOLP_ERROR("1");
    ZOLP_WARNING("2");
    ZOLP_LOG(1, 1, "3");
    ZOLP_PRINT_VERINFO("v");
    ZOLP_TRACE("4");
    ZOLP_DEBUG("5");
    std::string levels;
    for (int i = -1; i <= 6; ++i) {
      levels += ZOLP_IsTraced(i) == 1 ? std::to_string(i) : "";
    }
    ZOLP_SetTraceLevel(ZOLP_LEVEL_DEBUG);
    ZOLP_TRACE("\n");
    return trace.lines().front() + " " + levels;
  };
  EXPECT_EQ(shown(ZOLP_LEVEL_OFF), " ");
  EXPECT_EQ(shown(-5), " ");
  EXPECT_EQ(shown(ZOLP_LEVEL_ERROR), "1 1");
  EXPECT_EQ(shown(ZOLP_LEVEL_WARNING), "12 12");
  EXPECT_EQ(shown(ZOLP_LEVEL_LOG), "123v 123");
  EXPECT_EQ(shown(ZOLP_LEVEL_TRACE), "123v4 1234");
  EXPECT_EQ(shown(ZOLP_LEVEL_DEBUG), "123v45 12345");
  EXPECT_EQ(shown(99), "123v45 12345");
}

TEST(Writer, GetsTheLevelOfTheTextThatBeganTheLine) {
  struct Call {
    int level;
    std::string line;
    bool operator==(const Call&) const = default;
  };
  std::vector<Call> calls;
  ZOLP_TraceWriter writer = [](int level, const char* line, size_t size, void* context) {
    EXPECT_EQ(line[size], '\0');
    static_cast<std::vector<Call>*>(context)->push_back({level, line});
    ZOLP_ERROR("a writer's own text goes nowhere\n");
  };
  ZOLP_SetTraceLevel(ZOLP_LEVEL_DEBUG);
  ZOLP_SetTraceWriter(writer, &calls);
  ZOLP_WARNING("a ");
  ZOLP_ERROR("b\nc\n");
  ZOLP_CRERROR("d");
  ZOLP_DEBUG("\n");
  ZOLP_TRACE("unfinished");
  ZOLP_SetTraceWriter(nullptr, nullptr);
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  EXPECT_THAT(calls, ElementsAre(Call{2, "a b"}, Call{1, "c"}, Call{1, "d"}, Call{5, ""},
                                 Call{4, "unfinished"}));
}

}  // namespace
