// Pipes, forks, limits and descriptors, as POSIX systems have them.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "basetool/traces.h"

namespace test {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

using File = TraceFolder;
using Survival = TraceFolder;

TEST_F(File, GivesWayToStandardErrorWhenNobodyReadsThePipe) {
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(run_program(folder, {"ZOLP_TRACE_FILE=" + folder.path("pipe")}, {"text", "one\n"}), 0);
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*cannot open[^\n]*\none\n"));
}

TEST_F(File, MayBeAStream) {
  std::string pipe = folder.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ChildProgram child(folder, {"ZOLP_TRACE_FILE=" + pipe},
                     {"text", "a", "text", "b\n", "meet", "text", "c\n", "meet", "text", "d\n"});
  child.meet();
  char text[16] = {};
  EXPECT_EQ(read(reader, text, sizeof text), 3);
  EXPECT_STREQ(text, "ab\n");
  close(reader);
  child.go_on();
  child.meet();
  child.go_on();
  EXPECT_EQ(child.wait(), 0) << "a reader that goes away must not end the program";
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*cannot write[^\n]*\nc\nd\n"));

  run_program(folder, {"ZOLP_TRACE_FILE=" + folder.path("both")}, {"text", "shared\n"}, "both");
  run_program(folder, {"ZOLP_TRACE_FILE=/dev/stderr"}, {"text", "again\n"}, "both");
  EXPECT_EQ(folder.read("both"), "shared\nagain\n");
}

TEST_F(File, GetsWhatIsWrittenAfterTheLibraryHasTidiedUp) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run_program(folder, {file, follow}, {"text", "one", "late"}), 0);
    EXPECT_EQ(folder.read("trace"), "one\nlate line\n");
    EXPECT_EQ(run_program(folder, {file, follow}, {"capture", "text", "two", "late"}), 0);
    EXPECT_EQ(folder.read("trace"), "one\nlate line\nlate line\n");
  }
}

TEST_F(File, StaysWithTheParentOfAForkedChild) {
  EXPECT_EQ(run_program(folder, {file}, {"fork"}), 0);
  EXPECT_EQ(folder.read("trace"), "begun by the parent, ended by it 0\n");
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*another process[^\n]*trace.pid.*\n"));
  int found = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
    std::string name = entry.path().filename().string();
    if (!name.starts_with("trace.pid")) {
      continue;
    }
    ++found;
    EXPECT_EQ(folder.read(name), expected_lines("child", 1000));
  }
  EXPECT_EQ(found, 1);
}

TEST_F(Survival, ProgramsOutliveAFullDisk) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    TemporaryFolder own;
    ChildProgram child(own, {"ZOLP_TRACE_FILE=" + own.path("trace"), follow},
                       {"limit", "300000", "lines", "line", "20000"});
    EXPECT_EQ(child.wait(), 0);
    std::string text = own.read("trace");
    std::vector<std::string> errors = split(own.read("stderr"));
    ASSERT_FALSE(errors.empty());
    EXPECT_THAT(errors[0], HasSubstr("cannot write"));
    EXPECT_GT(text.size(), 299000U);
    for (size_t i = 1; i < errors.size(); ++i) {
      text += errors[i] + "\n";
    }
    EXPECT_TRUE(text == expected_lines("line", 20000)) << "no line is lost or torn";
  }
}

TEST_F(Survival, ProgramsOutliveSomebodyWhoEmptiesTheFile) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    TemporaryFolder own;
    std::string trace = own.path("trace");
    EXPECT_EQ(run_program(own, {"ZOLP_TRACE_FILE=" + trace, follow},
                          {"lines", "line", "20000", "truncate", trace, "lines", "then", "20000"}),
              0);
    EXPECT_TRUE(own.read("trace") == expected_lines("then", 20000));
    EXPECT_EQ(own.read("stderr"), "");
  }
}

TEST_F(Survival, FilesOfOthersAreLeftAlone) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    TemporaryFolder own;
    own.write("data", "precious");
    EXPECT_EQ(run_program(own, {"ZOLP_TRACE_FILE=" + own.path("trace"), follow},
                          {"lines", "line", "10", "take-descriptors", own.path("data"), "lines",
                           "then", "20000"}),
              0);
    EXPECT_EQ(own.read("data"), "precious");
    EXPECT_TRUE(own.read("trace") == expected_lines("line", 10) + expected_lines("then", 20000));
  }
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(Survival, ProgramsOutliveExhaustedMemory) {
  for (const std::string& destination : {std::string("UNUSED=1"), file}) {
    TemporaryFolder own;
    EXPECT_EQ(run_program(own, {destination}, {"exhaust-memory", "text", "after\n"}), 0);
    std::string text = own.read("stderr") + folder.read("trace");
    EXPECT_LT(text.size(), 100U << 20);
    EXPECT_TRUE(text.starts_with("cut x"));
    EXPECT_THAT(text, HasSubstr("x|\nx"));
    EXPECT_TRUE(text.ends_with("x\nlast\nafter\n"));
  }
}
#endif

}  // namespace

}  // namespace test
