// The library over another trace library than its own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "host/ork_host.h"
#include "ork/mem.h"
#include "ork/ork.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

/** Loads a library as a host process does. @return null, and a failed test, when that fails. */
void* load(const char* path) {
#if defined(_WIN32)
  void* library = reinterpret_cast<void*>(
      LoadLibraryExW(std::filesystem::path(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  EXPECT_NE(library, nullptr) << path << ": " << GetLastError();
#else
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(library, nullptr) << dlerror();
#endif
  return library;
}

template <typename Function>
Function* find(void* library, const char* name) {
#if defined(_WIN32)
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name)));
#else
  return reinterpret_cast<Function*>(dlsym(library, name));
#endif
}

/** What the foreign library has printed, line by line. */
std::vector<std::string> printed_lines() {
  std::istringstream output(testing::internal::GetCapturedStdout());
  std::vector<std::string> lines;
  for (std::string line; std::getline(output, line);) {
    while (line.ends_with('\r')) {
      line.pop_back();
    }
    lines.push_back(line);
  }
  return lines;
}

TEST(ForeignTraceLibrary, GetsTheLinesOfACustomersOwnFrame) {
  ASSERT_NE(load(FOREIGN_BASETOOL), nullptr);
  void* library = load(CUSTOMER_LIBRARY);
  ASSERT_NE(library, nullptr);
  auto* customer_function = find<int(int)>(library, "customer_function");
  ASSERT_NE(customer_function, nullptr);
  testing::internal::CaptureStdout();
  EXPECT_EQ(customer_function(ORK_ok), ORK_ok);
  EXPECT_EQ(customer_function(42), 42);
  std::vector<std::string> expected;
  const std::string place = " customer_library.cpp NUMBER";
  const std::string arrow[] = {"LOG \" ->%s %s:%d\\n\" ", "LOG \" <-%s %s:%d\\n\" "};
  for (const bool fails : {false, true}) {
    expected.insert(
        expected.end(),
        {arrow[0] + "customer_function" + place, "Inc", arrow[0] + "platform_call(ORK_ok)" + place,
         "Inc", "TRACE \" File:%s Line:%d Funktion:%s\\n\"" + place + " platform_call(ORK_ok)",
         "Dec", arrow[1] + "platform_call(ORK_ok)" + place, arrow[0] + "platform_call(...)" + place,
         "Inc"});
    if (fails) {
      expected.insert(expected.end(), {"ERROR \"##ORK_err_%d: %s   %s:%d\\n\" NUMBER "
                                       "platform_call(...)" +
                                           place,
                                       "ERROR \"--%s--\\n\" Unknown error code 42"});
    }
    expected.insert(expected.end(), {"Dec", arrow[1] + "platform_call(...)" + place});
    if (!fails) {
      expected.insert(expected.end(), {"Dec", arrow[1] + "customer_function" + place});
    }
  }
  EXPECT_EQ(printed_lines(), expected);
}

TEST(ForeignTraceLibrary, GetsAllLinesWithTheirFormats) {
  void* foreign = load(FOREIGN_BASETOOL);
  void* library = load(ORKTOOL);
  ASSERT_TRUE(foreign != nullptr && library != nullptr);
  EXPECT_EQ(find<int>(foreign, "ZOLP_trace_state"), nullptr);
  auto* list_errors = find<int(int)>(library, "ZOLP_list_errors");
  auto* ask_status_names = find<int(tag, int*, char***)>(library, "ZOLP_ask_status_names");
  ASSERT_TRUE(list_errors != nullptr && ask_status_names != nullptr);
  int count = 0;
  char** names = nullptr;
  ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
  testing::internal::CaptureStdout();
  EXPECT_EQ(list_errors(1), ORK_ok);
  const int status = ask_status_names(4711, &count, &names);
  std::vector<std::string> lines = printed_lines();
  EXPECT_NE(status, ORK_ok);
  const std::string list_call = "ERR_get_errors(&n_ifails, &severities, &ifails, &texts)";
  const std::string list_file = " zolp_allg_utilities.cpp NUMBER";
  ASSERT_GE(lines.size(), 6U);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 6),
              testing::ElementsAre(
                  "LOG \" ->%s %s:%d\\n\" " + list_call + list_file, "Inc",
                  "TRACE \" File:%s Line:%d Funktion:%s\\n\"" + list_file + " " + list_call, "Dec",
                  "LOG \" <-%s %s:%d\\n\" " + list_call + list_file, "TRACE \"list_errors:\\n\""));
  lines.erase(lines.begin(), lines.begin() + 6);
  using testing::MatchesRegex;
  EXPECT_THAT(
      lines,
      testing::ElementsAre(
          "LOG \" ->%s %s:%d\\n\" ZOLP_ask_status_names zolp_itool.cpp NUMBER", "Inc",
          MatchesRegex(
              "LOG \" ->%s %s:%d\\\\n\" [A-Za-z_]+ *\\(\\.\\.\\.\\) zolp_itool.cpp NUMBER"),
          "Inc",
          MatchesRegex("ERROR \"##ORK_err_%d: %s   %s:%d\\\\n\" NUMBER [A-Za-z_]+ *\\(\\.\\.\\.\\) "
                       "zolp_itool.cpp NUMBER"),
          MatchesRegex("ERROR \"--%s--\\\\n\" .+"), "Dec",
          MatchesRegex(
              "LOG \" <-%s %s:%d\\\\n\" [A-Za-z_]+ *\\(\\.\\.\\.\\) zolp_itool.cpp NUMBER")));
}

}  // namespace
