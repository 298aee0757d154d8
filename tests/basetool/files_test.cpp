// What a process leaves behind: levels, prefixes, files, rotation, and what survives.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "basetool/child_program.h"
#include "support/kills.h"
#include "support/temporary_folder.h"

namespace {

using test::ChildProgram;
using test::run_program;
using test::TemporaryFolder;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string expected_lines(const std::string& name, int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) {
    lines += name + " " + std::to_string(i) + " of " + std::to_string(count) + "\n";
  }
  return lines;
}

struct Folder : testing::Test {
  TemporaryFolder folder;
  std::string file = "ZOLP_TRACE_FILE=" + folder.path("trace");
};

using Levels = Folder;
using Prefix = Folder;
using File = Folder;
using Rotation = Folder;
using Survival = Folder;

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
  EXPECT_THAT(folder.read("wrong"), MatchesRegex(".*ZOLP_TRACE_PREFIX=Level, colour.*\nE d\n"));
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
  run_program(folder, {file}, {"errno", "late"});
  EXPECT_EQ(folder.read("trace"), "errno\nlate line\n");
  EXPECT_EQ(folder.read("stderr"), "");
}

TEST_F(File, HoldsManyAndLongLines) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run_program(folder, {file, follow},
                          {"lines", "many", "50000", "text", "begun ", "long", "3000000", "lines",
                           "more", "10", "long", "262144"}),
              0);
    EXPECT_TRUE(folder.read("trace") ==
                expected_lines("many", 50000) + "begun " + std::string(3000000, 'x') + "|\n" +
                    expected_lines("more", 10) + std::string(262144, 'x') + "|\n");
  }
}

TEST_F(File, GetsWhatNoWriterGets) {
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run_program(folder, {file, follow},
                          {"text", "one\n", "text", "two", "capture", "text", "three", "release",
                           "text", "four\n", "capture", "text", "five", "late"}),
              0);
    EXPECT_EQ(folder.read("trace"), "one\ntwo\nfour\nlate line\n");
  }
}

TEST_F(File, IsNamedAfterTheProcess) {
  ChildProgram child(folder, {file + "%%1-%p"}, {"text", "one\n"});
  std::string name = "trace%1-" + std::to_string(child.process());
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
  // Nobody reads the pipe: the program must not wait for that.
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

TEST_F(File, BelongsToOneProcess) {
  ChildProgram first(folder, {file}, {"lines", "first", "10", "meet", "lines", "then", "20000"});
  first.meet();
  ChildProgram second(folder, {file}, {"lines", "second", "5"});
  std::string other = "trace.pid" + std::to_string(second.process());
  EXPECT_EQ(second.wait(), 0);
  first.go_on();
  EXPECT_EQ(first.wait(), 0);
  EXPECT_TRUE(folder.read("trace") == expected_lines("first", 10) + expected_lines("then", 20000));
  EXPECT_EQ(folder.read(other), expected_lines("second", 5));
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*another process[^\n]*trace.pid.*\n"));
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
  for (int round = 0; round < test::kills(); ++round) {
    TemporaryFolder own;
    std::string counter_file = own.write("counter", std::string(sizeof(int), '\0'));
    int descriptor = open(counter_file.c_str(), O_RDWR | O_CLOEXEC);
    void* memory = mmap(nullptr, sizeof(int), PROT_READ, MAP_SHARED, descriptor, 0);
    close(descriptor);
    ASSERT_NE(memory, MAP_FAILED);
    const auto* counter = static_cast<const std::atomic<int>*>(memory);
    ChildProgram child(own, {"ZOLP_TRACE_FILE=" + own.path("trace")}, {"count", counter_file});
    int wanted = std::uniform_int_distribution(1, 50000)(random);
    while (counter->load() < wanted) {
      std::this_thread::yield();
    }
    child.kill();
    EXPECT_EQ(child.wait(), -SIGKILL);
    int count = counter->load();
    munmap(memory, sizeof(int));
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
