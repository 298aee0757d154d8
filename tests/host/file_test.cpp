#include "demo_site.h"

TEST(TextFile, IsWrittenAsItStands) {
  const test::TemporaryFolder folder;
  const std::string path = folder.write("log.txt", "old contents");
  FILE_handle file = nullptr;
  ASSERT_EQ(FILE_create_text_file(path.c_str(), &file), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, "one\n"), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, "%s"), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, nullptr), ORK_invalid_argument);
  const FILE_handle copy = file;
  EXPECT_EQ(FILE_close_text_file(copy), ORK_ok);
  EXPECT_EQ(folder.read("log.txt"), "one\n%s");

  FILE_handle other = nullptr;
  ASSERT_EQ(FILE_create_text_file(folder.path("other.txt").c_str(), &other), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, "late"), FILE_not_open);
  EXPECT_EQ(FILE_close_text_file(file), FILE_not_open);
  EXPECT_EQ(FILE_close_text_file(nullptr), FILE_not_open);
  EXPECT_EQ(FILE_close_text_file(other), ORK_ok);
  EXPECT_EQ(folder.read("other.txt"), "");
}

TEST(TextFile, FailuresNameTheFile) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("missing/log.txt");
  FILE_handle file = nullptr;
  EXPECT_EQ(FILE_create_text_file(path.c_str(), &file), FILE_cannot_open);
  EXPECT_EQ(file, nullptr);
  EXPECT_THAT(test::last_error(), HasSubstr(path));

#if !defined(_WIN32)
  // A device that takes nothing; what is buffered fails when the file is closed.
  ASSERT_EQ(FILE_create_text_file("/dev/full", &file), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, "x"), ORK_ok);
  EXPECT_EQ(FILE_close_text_file(file), FILE_cannot_write);
  EXPECT_THAT(test::last_error(), HasSubstr("/dev/full"));
  ASSERT_EQ(FILE_create_text_file("/dev/full", &file), ORK_ok);
  EXPECT_EQ(FILE_write_file_line(file, std::string(100'000, 'x').c_str()), FILE_cannot_write);
  FILE_close_text_file(file);
#endif
}
