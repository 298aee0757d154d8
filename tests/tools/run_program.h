/** @file Runs a program as a user does and collects what it prints. */
#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace test {

struct Run {
  int exit_code = -1; /**< or -1 when it did not end by itself */
  std::string out, err;

  nlohmann::json json() const { return nlohmann::json::parse(out); }
};

using Environment = std::map<std::string, std::string>;

/** Runs a program with the environment of the tests, without what steers the program under test. */
inline Run run_program(const std::vector<std::string>& command, const Environment& settings = {}) {
  const TemporaryFolder output;
  const pid_t child = fork();
  if (child == 0) {
    for (const char* name : {"ORK_HOST_DB", "ORK_LANGUAGE", "STORE_DATE_FORMAT", "ZOLP_TRACE_LEVEL",
                             "ZOLP_TRACE_FILE"}) {
      unsetenv(name);
    }
    for (const auto& [name, value] : settings) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> arguments;
    for (const std::string& word : command) {
      arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const bool redirected = std::freopen("/dev/null", "r", stdin) != nullptr &&
                            std::freopen(output.path("out").c_str(), "w", stdout) != nullptr &&
                            std::freopen(output.path("err").c_str(), "w", stderr) != nullptr;
    if (redirected) {
      execv(arguments[0], arguments.data());
    }
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output.read("out"), output.read("err")};
}

inline Run run_zolp(std::vector<std::string> arguments, const Environment& settings = {}) {
  arguments.insert(arguments.begin(), ZOLP_PROGRAM);
  return run_program(arguments, settings);
}

/** A run that ends with an exit code and one line on standard error that begins with "zolp: ". */
inline void expect_refusal(const Run& run, int exit_code, const std::string& text) {
  EXPECT_EQ(run.exit_code, exit_code) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, testing::StartsWith("zolp: "));
  EXPECT_THAT(run.err, testing::HasSubstr(text));
  EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
}

/** Names of all files in a folder, also of hidden ones. */
inline std::vector<std::string> files_in(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace test
