// What a process leaves behind: levels, prefixes, files, rotation, and what survives.

#include <atomic>
#include <cstdio>
#include <random>
#include <thread>

#include "basetool/traces.h"
#include "support/kills.h"
#include "support/shared_memory.h"

namespace test {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

using Levels = TraceFolder;
using Prefix = TraceFolder;
using File = TraceFolder;
using Rotation = TraceFolder;
using Survival = TraceFolder;

TEST_F(Levels, ComeFromTheEnvironment) {
  auto shown = [](std::vector<std::string> environment) {
    TemporaryFolder own;
    EXPECT_EQ(run_program(own, environment, {"levels"}), 0);
    return own.read("stderr");
  };
  const std::string errors = "error\nmemory\n";
  EXPECT_EQ(shown({}), errors + "warning\n");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL="}), errors + "warning\n");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=off"}), "");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=0"}), "");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=Error"}), errors);
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=3"}), errors + "warning\nlog\nversion\n");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=TRACE"}), errors + "warning\nlog\nversion\ntrace\n");
  EXPECT_EQ(shown({"ZOLP_TRACE_LEVEL=debug"}), errors + "warning\nlog\nversion\ntrace\ndebug\n");
  for (const char* wrong : {"6", "-1", "33", "verbose", "log "}) {
    std::vector<std::string> lines = split(shown({std::string("ZOLP_TRACE_LEVEL=") + wrong}));
    ASSERT_EQ(lines.size(), 4U) << wrong;
    EXPECT_THAT(lines[0], HasSubstr(std::string("ZOLP_TRACE_LEVEL=") + wrong + " "));
  }
}

TEST_F(Prefix, StandsBeforeTheIndentation) {
  run_program(folder, {"ZOLP_TRACE_PREFIX=time,level,pid"},
              {"deeper", "text", "a\n\nb\n", "text", "c ", "levels"});
  std::string prefix = " {5,11}[0-9]{1,7} E [0-9]+   ";
  EXPECT_THAT(folder.read("stderr"),
              MatchesRegex(prefix + "a\n\n" + prefix + "b\n" + prefix + "c error\n" + prefix +
                           "memory\n {5,11}[0-9]{1,7} W [0-9]+   warning\n"));
  for (const std::string& line : split(folder.read("stderr"))) {
    EXPECT_EQ(line.find_first_of("EW"), line.empty() ? std::string::npos : 13U) << line;
  }
  run_program(folder, {"ZOLP_TRACE_PREFIX=Level, colour"}, {"text", "d\n"}, "wrong");
  EXPECT_THAT(folder.read("wrong"), MatchesRegex(".*ZOLP_TRACE_PREFIX=Level, colour.*\nd\n"));
}

TEST_F(File, IsAppendedToAndTrimmed) {
  EXPECT_EQ(run_program(folder, {file, "ZOLP_TRACE_LEVEL=off"}, {"levels"}), 0);
  EXPECT_FALSE(folder.has("trace")) << "nothing was shown";
  run_program(folder, {file}, {"text", "one\n", "text", "open line"});
  EXPECT_EQ(folder.read("trace"), "one\nopen line\n");
  folder.write("trace", "no line feed");
  run_program(folder, {file}, {"text", "two\n"});
  EXPECT_EQ(folder.read("trace"), "no line feed\ntwo\n");
  folder.write("trace", "three\n" + std::string(100000, '\n'));
  run_program(folder, {file}, {"text", "four\n\n"});
  EXPECT_EQ(folder.read("trace"), "three\nfour\n\n");
  folder.write("trace", std::string(70000, '\n'));
  run_program(folder, {file}, {"errno", "text", "five\n"});
  EXPECT_EQ(folder.read("trace"), "errno\nfive\n");
  EXPECT_EQ(folder.read("stderr"), "");
}

TEST_F(File, HoldsManyAndLongLines) {
#if defined(_WIN32)
  constexpr int many = 5'000;  // a call of the system for each line is slow under Wine
#else
  constexpr int many = 50'000;
#endif
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run_program(folder, {file, follow},
                          {"lines", "many", std::to_string(many), "text", "begun ", "long",
                           "3000000", "lines", "more", "10", "long", "262144"}),
              0);
    EXPECT_TRUE(folder.read("trace") ==
                expected_lines("many", many) + "begun " + std::string(3000000, 'x') + "|\n" +
                    expected_lines("more", 10) + std::string(262144, 'x') + "|\n");
  }
}

TEST_F(File, GetsWhatNoWriterGets) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run_program(folder, {file, follow},
                          {"text", "one\n", "text", "two", "capture", "text", "three", "release",
                           "text", "four\n", "capture", "text", "five"}),
              0);
    EXPECT_EQ(folder.read("trace"), "one\ntwo\nfour\n");
  }
}

TEST_F(File, IsNamedAfterTheProcess) {
  ChildProgram child(folder, {file + "%%1-%p"}, {"text", "one\n"});
  std::string name = "trace%1-" + std::to_string(child.id());
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(folder.read(name), "one\n");
}

TEST_F(File, GivesWayToStandardErrorWhenItCannotBeOpened) {
  for (const std::string& name :
       {folder.path("missing/trace"), folder.path(""), std::string(5000, 'x')}) {
    TemporaryFolder own;
    EXPECT_EQ(run_program(own, {"ZOLP_TRACE_FILE=" + name}, {"lines", "shown", "2"}), 0);
    std::vector<std::string> lines = split(own.read("stderr"));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("goes to standard error"));
    EXPECT_EQ(lines[1], "shown 0 of 2");
  }
}

TEST_F(File, BelongsToOneProcess) {
  ChildProgram first(folder, {file}, {"lines", "first", "10", "meet", "lines", "then", "20000"});
  first.meet();
  ChildProgram second(folder, {file}, {"lines", "second", "5"});
  std::string other = "trace.pid" + std::to_string(second.id());
  EXPECT_EQ(second.wait(), 0);
  first.go_on();
  EXPECT_EQ(first.wait(), 0);
  EXPECT_TRUE(folder.read("trace") == expected_lines("first", 10) + expected_lines("then", 20000));
  EXPECT_EQ(folder.read(other), expected_lines("second", 5));
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*another process[^\n]*trace.pid.*\n"));
}

TEST_F(Rotation, KeepsOldFilesWithWholeLines) {
  std::string all = expected_lines("line", 3000);
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    TemporaryFolder own;
    run_program(own, {"ZOLP_TRACE_FILE=" + own.path("trace"), "ZOLP_TRACE_SIZE=8k", follow},
                {"lines", "line", "3000"});
    std::string kept;
    for (const char* name : {"trace.3", "trace.2", "trace.1", "trace"}) {
      std::string part = own.read(name);
      EXPECT_LE(part.size(), 8192U) << name;
      EXPECT_TRUE(part.starts_with("line ") && part.ends_with("of 3000\n")) << name;
      kept += part;
    }
    EXPECT_GT(kept.size(), 3U * 7900);
    EXPECT_TRUE(all.ends_with(kept));
    EXPECT_FALSE(own.has("trace.4"));
    EXPECT_EQ(own.read("stderr"), "");
  }
}

TEST_F(Rotation, MakesLongLinesFilesOfTheirOwn) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    TemporaryFolder own;
    std::string name = "ZOLP_TRACE_FILE=" + own.path("trace");
    run_program(own, {name, "ZOLP_TRACE_SIZE=1000", "ZOLP_TRACE_KEEP=2", follow},
                {"text", "one\n", "text", "begun ", "long", "300000", "text", "two\n"});
    EXPECT_EQ(own.read("trace.2"), "one\n");
    EXPECT_TRUE(own.read("trace.1") == "begun " + std::string(300000, 'x') + "|\n");
    EXPECT_EQ(own.read("trace"), "two\n");
    run_program(own, {name, "ZOLP_TRACE_SIZE=4", "ZOLP_TRACE_KEEP=0", follow}, {"text", "new\n"});
    EXPECT_EQ(own.read("trace"), "new\n");
    EXPECT_EQ(own.read("trace.2"), "one\n");
  }
}

TEST_F(Survival, EveryLineOutlivesAKill) {
  std::mt19937 random(4711);
  for (int round = 0; round < kills(); ++round) {
    TemporaryFolder own;
    std::string counter_file = own.write("counter", std::string(sizeof(int), '\0'));
    const SharedMemory<std::atomic<int>> counter(counter_file);
    ChildProgram child(own, {"ZOLP_TRACE_FILE=" + own.path("trace")}, {"count", counter_file});
    int wanted = std::uniform_int_distribution(1, 50000)(random);
    while (counter->load() < wanted) {
      std::this_thread::yield();
    }
    child.kill();
    EXPECT_EQ(child.wait(), ChildProgram::killed);
    int count = counter->load();
    std::string expected;
    for (int i = 0; i < count; ++i) {
      expected += "line " + std::to_string(i) + " is whole\n";
    }
    std::string text = own.read("trace");
    ASSERT_TRUE(text.starts_with(expected)) << count;
    // One more line may be there, or parts of it; everything else is line feeds.
    expected += "line " + std::to_string(count) + " is whole\n";
    for (size_t i = 0; i < text.size(); ++i) {
      ASSERT_TRUE(text[i] == '\n' || (i < expected.size() && text[i] == expected[i])) << i;
    }

    run_program(own, {"ZOLP_TRACE_FILE=" + own.path("trace")}, {"text", "next run\n"});
    text = own.read("trace");
    EXPECT_TRUE(text.ends_with("\nnext run\n") && !text.ends_with("\n\nnext run\n"));
    EXPECT_LE(text.size(), expected.size() + 9);
  }
}

}  // namespace

}  // namespace test
