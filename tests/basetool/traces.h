/** @file What tests of trace files share. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "basetool/child_program.h"
#include "support/temporary_folder.h"

namespace test {

inline std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

inline std::string expected_lines(const std::string& name, int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) {
    lines += name + " " + std::to_string(i) + " of " + std::to_string(count) + "\n";
  }
  return lines;
}

struct TraceFolder : testing::Test {
  TemporaryFolder folder;
  std::string file = "ZOLP_TRACE_FILE=" + folder.path("trace");
};

}  // namespace test
