// Sharing, names and paths, as Windows has them.

#include <windows.h>

#include "basetool/traces.h"

namespace test {

namespace {

using testing::MatchesRegex;

using File = TraceFolder;
using Rotation = TraceFolder;

/** Opens a file as a viewer does that lets others go on with it. */
HANDLE open_as_viewer(const std::string& path) {
  return CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                     0, nullptr);
}

TEST_F(File, HasNamesOfAllLanguagesAndBothSlashes) {
  for (const std::string name : {"Getriebegeh\xC3\xA4use", "\xE6\xAD\xAF\xE8\xBD\xA6"}) {
    std::string path = folder.path("") + "/" + name;
    EXPECT_EQ(run_program(folder, {"ZOLP_TRACE_FILE=" + path}, {"text", "one\n"}), 0);
    EXPECT_EQ(folder.read(name), "one\n");
  }
  EXPECT_EQ(folder.read("stderr"), "");
}

TEST_F(File, HasLineFeedsOnly) {
  run_program(folder, {file}, {"text", "one\n", "text", "two\n"});
  std::ifstream trace(folder.path("trace"), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(trace), {}), "one\ntwo\n");
}

TEST_F(File, IsReadAndKeptFromBeingChangedByOthersMeanwhile) {
  ChildProgram child(folder, {file}, {"lines", "line", "10", "meet", "lines", "then", "20000"});
  child.meet();
  EXPECT_TRUE(folder.read("trace").starts_with(expected_lines("line", 10)));
  HANDLE writer = CreateFileW(std::filesystem::path(folder.path("trace")).c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              TRUNCATE_EXISTING, 0, nullptr);
  EXPECT_EQ(writer, INVALID_HANDLE_VALUE);
  child.go_on();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_TRUE(folder.read("trace") == expected_lines("line", 10) + expected_lines("then", 20000));
  EXPECT_EQ(folder.read("stderr"), "");
}

TEST_F(Rotation, GoesOnWhileViewersHaveTheFilesOpen) {
  folder.write("trace", "old\n");
  HANDLE viewer = open_as_viewer(folder.path("trace"));
  ASSERT_NE(viewer, INVALID_HANDLE_VALUE);
  EXPECT_EQ(run_program(folder, {file, "ZOLP_TRACE_SIZE=4", "ZOLP_TRACE_KEEP=1"},
                        {"text", "one\n", "text", "two\n"}),
            0);
  CloseHandle(viewer);
  EXPECT_EQ(folder.read("trace"), "two\n");
  EXPECT_EQ(folder.read("trace.1"), "one\n");
  EXPECT_EQ(folder.read("stderr"), "");
}

TEST_F(File, MayBeAStream) {
  const std::string name = "\\\\.\\pipe\\zolp-test-" + std::to_string(GetCurrentProcessId());
  HANDLE pipe = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE, 1, 4096, 4096,
                                 0, nullptr);
  ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
  ChildProgram child(folder, {"ZOLP_TRACE_FILE=" + name},
                     {"text", "a", "text", "b\n", "meet", "text", "c\n", "text", "d\n"});
  child.meet();
  char text[16] = {};
  DWORD size = 0;
  EXPECT_NE(ReadFile(pipe, text, sizeof text, &size, nullptr), 0);
  EXPECT_EQ(std::string(text, size), "ab\n");
  CloseHandle(pipe);
  child.go_on();
  EXPECT_EQ(child.wait(), 0) << "a reader that goes away must not end the program";
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*cannot write[^\n]*\nc\nd\n"));
}

}  // namespace

}  // namespace test
