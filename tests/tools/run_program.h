/** @file Runs a program as a user does and collects what it prints. */
#pragma once

#include "support/prelude.h"

#include <nlohmann/json.hpp>

#include "support/process.h"
#include "support/schema_check.h"

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
  Environment environment = settings;
  for (const std::string& variable : own_environment()) {
    const std::size_t name_end = variable.find('=', 1);  // on Windows some names begin with one
    environment.emplace(variable.substr(0, name_end), variable.substr(name_end + 1));
  }
  for (const char* name : {"ORK_HOST_DB", "ORK_HOST_FAULTS", "ORK_HOST_JOURNAL", "ORK_HOST_WAIT",
                           "ORK_LANGUAGE", "ORK_PASSWORD", "STORE_DATE_FORMAT", "ZOLP_TRACE_LEVEL",
                           "ZOLP_TRACE_FILE", "ZOLP_TRACE_RECORD"}) {
    if (settings.count(name) == 0) {
      environment.erase(name);
    }
  }
  Launch launch{command, {}, output.path("out"), output.path("err")};
  for (const auto& [name, value] : environment) {
    launch.environment.push_back(name + "=" + value);
  }
  Process program(launch);
  const int result = program.wait();
  return {result >= 0 ? result : -1, output.read("out"), output.read("err")};
}

/** What it prints with --json must fit the command's schema. */
inline Run run_zolp(std::vector<std::string> arguments, const Environment& settings = {}) {
  arguments.insert(arguments.begin(), ZOLP_PROGRAM);
  Run run = run_program(arguments, settings);
  EXPECT_EQ(misfit_of_command(arguments, run.exit_code, run.out, run.err), "");
  return run;
}

/** A folder with a site, worked on with zolp. */
class ZolpTest : public testing::Test {
 protected:
  /** Makes the site. @return its path. */
  std::string make_site(const std::string& seed) const {
    const test::Run made =
        run_zolp({"host", "init", site, "--seed", folder.write("seed.json", seed)});
    EXPECT_EQ(made.exit_code, 0) << made.err;
    return site;
  }

  /** Runs zolp on that site. */
  test::Run on_site(std::vector<std::string> arguments) const {
    return run_zolp(std::move(arguments), {{"ORK_HOST_DB", site}});
  }

  /** The same for a command whose name comes before the arguments. */
  test::Run on_site(const char* command, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), command);
    return on_site(std::move(arguments));
  }

  TemporaryFolder folder;
  const std::string site = folder.path("site.db");
};

/** A run that ends with an exit code and one line on standard error: "zolp: ", or an object. */
inline void expect_refusal(const Run& run, int exit_code, const std::string& text) {
  EXPECT_EQ(run.exit_code, exit_code) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, testing::AnyOf(testing::StartsWith("zolp: "),
                                      testing::StartsWith("{\"error\":{\"message\":")));
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

using test::run_zolp, test::expect_refusal, test::files_in;
