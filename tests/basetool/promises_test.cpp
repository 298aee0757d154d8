// What the trace promises of other programs that touch its file, of folders, of the program's end
// and of memory that runs short in the middle of a line.

#include <filesystem>

#include "basetool/traces.h"

namespace test {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

using Promise = TraceFolder;

TEST_F(Promise, WriterIsNotCalledOnceMainHasReturned) {
  EXPECT_EQ(run_program(folder, {file}, {"capture", "text", "one\n", "after-main"}), 0);
  EXPECT_EQ(folder.read("trace"), "after main\n");
}

TEST_F(Promise, RelativeNameMeansTheSameFileInEveryFolder) {
  std::filesystem::create_directory(folder.path("elsewhere"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  for (const char* size : {"ZOLP_TRACE_SIZE=4", "ZOLP_TRACE_SIZE=0"}) {
    EXPECT_EQ(run_program(folder, {"ZOLP_TRACE_FILE=trace", size},
                          {"folder", folder.path("elsewhere"), "text", "one\n", "text", "two\n"}),
              0);
  }
  std::filesystem::current_path(before);
  EXPECT_EQ(folder.read("trace.1"), "one\n");
  EXPECT_EQ(folder.read("trace"), "two\none\ntwo\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path("elsewhere")));
}

TEST_F(Promise, ClockTellsLocalTimeAndItsOffset) {
  run_program(folder, {"TZ=XXX+3:30", "ZOLP_TRACE_PREFIX=level,clock"}, {"text", "a\n"});
  EXPECT_THAT(folder.read("stderr"),
              MatchesRegex("20[0-9]{2}-[0-1][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]"
                           "\\.[0-9]{6}-03:30 E a\n"));
}

#if !defined(_WIN32)

TEST_F(Promise, TextsThatOthersAppendStay) {
  for (const char* size :
       {"ZOLP_TRACE_SIZE=0", "ZOLP_TRACE_SIZE=40000", "ZOLP_TRACE_SIZE=400000"}) {
    TemporaryFolder own;
    const std::string trace = own.path("trace");
    EXPECT_EQ(run_program(own, {"ZOLP_TRACE_FILE=" + trace, size},
                          {"lines", "first", "100", "append", trace, "others\n", "lines", "then",
                           "20000", "append", trace, "at the end\n"}),
              0);
    std::string text;
    for (const char* name : {"trace.3", "trace.2", "trace.1", "trace"}) {
      text += own.read(name);
    }
    std::vector<std::string> lines = split(text);
    std::erase(lines, "");  // room that could not be taken back
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "at the end"), 1) << size;
    if (std::string(size) != "ZOLP_TRACE_SIZE=40000") {  // its oldest files are gone
      EXPECT_EQ(std::count(lines.begin(), lines.end(), "others"), 1) << size;
      EXPECT_EQ(lines.size(), 20102U) << size;
    }
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("then"); });
    std::string kept;
    for (const std::string& line : lines) {
      kept += line + "\n";
    }
    EXPECT_TRUE(expected_lines("then", 20000).ends_with(kept)) << size;
  }
}

TEST_F(Promise, FileIsTrimmedAfterTheProgramHasClosedItsDescriptors) {
  folder.write("data", "precious");
  EXPECT_EQ(
      run_program(folder, {file}, {"lines", "line", "10", "take-descriptors", folder.path("data")}),
      0);
  EXPECT_EQ(folder.read("trace"), expected_lines("line", 10));
  EXPECT_EQ(folder.read("data"), "precious");
}

TEST_F(Promise, RotationFollowsNoLinks) {
  folder.write("victim", "precious\n");
  ChildProgram child(folder, {file, "ZOLP_TRACE_SIZE=30", "ZOLP_TRACE_KEEP=1"},
                     {"plant-link", folder.path("victim"), "text", "a line of some length\n",
                      "text", "another line of some length\n"});
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(folder.read("victim"), "precious\n");
  EXPECT_THAT(folder.read("stderr"), HasSubstr("was put there by somebody else"));
  EXPECT_EQ(folder.read("trace.pid" + std::to_string(child.id())), "another line of some length\n");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Promise, LinesEndWhereMemoryEnds) {
  EXPECT_EQ(run_program(folder, {}, {"exhaust-heap"}), 0);
  EXPECT_THAT(folder.read("stderr"),
              MatchesRegex("before\nx{3900,4096}\nnext 1\nmemory\n\nseveral\nlines\n"));
}
#endif

#endif

}  // namespace

}  // namespace test
