// Traces in the formats of other programs, and as a page in a browser.

#include <nlohmann/json.hpp>
#include <set>

#include "tools/run_program.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

/** A text trace and a recording of failing calls: two functions, and a platform call in each. */
struct TraceExport : testing::Test {
  TraceExport() {
    test::run_program(
        {RECORDING_PROGRAM, "fail"},
        {{"ZOLP_TRACE_RECORD", recording}, {"ZOLP_TRACE_FILE", text}, {"ZOLP_TRACE_LEVEL", "log"}});
  }

  static test::Run exported(const std::string& file, const std::string& format,
                            const std::vector<std::string>& options = {}) {
    std::vector<std::string> command = {"trace", "export", file, "--format", format};
    command.insert(command.end(), options.begin(), options.end());
    test::Run run = run_zolp(command);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    return run;
  }

  test::TemporaryFolder folder;
  const std::string recording = folder.path("run.rec");
  const std::string text = folder.path("run.trace");
};

TEST_F(TraceExport, SpeedscopesProfilesAreAsItsSchemaHasThem) {
  for (const std::string& file : {recording, text}) {
    const test::Run run = exported(file, "speedscope");
    const json profiles = run.json();
#if defined(SPEEDSCOPE_SCHEMA)
    EXPECT_EQ(test::misfit(SPEEDSCOPE_SCHEMA, run.out), "");
#endif
    // Beyond what a schema can say: each frame is there, ends come in order, time goes on.
    std::string shown;
    std::vector<int> open;
    double latest = profiles["profiles"][0]["startValue"];
    for (const json& event : profiles["profiles"][0]["events"]) {
      const int frame = event["frame"];
      EXPECT_GE(event["at"], latest);
      latest = event["at"];
      if (event["type"] == "O") {
        open.push_back(frame);
        shown += std::string(2 * open.size(), ' ') +
                 profiles["shared"]["frames"].at(frame)["name"].get<std::string>() + "\n";
      } else {
        ASSERT_EQ(open.back(), frame);
        open.pop_back();
      }
    }
    EXPECT_EQ(latest, profiles["profiles"][0]["endValue"]);
    EXPECT_EQ(shown,
              "  traced_function\n    platform_call() failed with 515001\n"
              "    guarded_function failed with 42\n      platform_call() failed with 42\n");
  }
}

TEST_F(TraceExport, ChromesEventsHaveWhatTheFormatAsksFor) {
  std::map<std::string, std::vector<json>> named;
  const json document = exported(recording, "chrome").json();
  for (const json& event : document["traceEvents"]) {
    EXPECT_TRUE(event["pid"].is_number_integer() && event["tid"].is_number_integer() &&
                event["args"].is_object());
    if (event["ph"] == "M") {
      EXPECT_TRUE(event["args"]["name"].is_string());
    } else {
      EXPECT_EQ(event["ph"], "X") << "a call with its duration, in microseconds";
      EXPECT_TRUE(event["ts"].is_number() && event["dur"].is_number() && event["dur"] >= 0);
    }
    named[event["name"]].push_back(event);
  }
  ASSERT_EQ(named["platform_call()"].size(), 2U);
  const json& outer = named["traced_function"].at(0);
  for (const json& call : named["platform_call()"]) {
    EXPECT_GE(call["ts"], outer["ts"]);
    EXPECT_LE(call["ts"].get<double>() + call["dur"].get<double>(),
              outer["ts"].get<double>() + outer["dur"].get<double>());
  }
  EXPECT_EQ(named["platform_call()"][0]["args"]["status"], 515001);
  EXPECT_EQ(named["platform_call()"][1]["args"]["error"], "Unknown error code 42");
  EXPECT_EQ(named["guarded_function"].at(0)["args"]["ending"], "early");
}

TEST_F(TraceExport, CallsAreFoldedListedAndSelected) {
  const test::Run folded = exported(text, "folded");
  EXPECT_EQ(folded.out,
            "traced_function 1\ntraced_function;platform_call() 1\n"
            "traced_function;guarded_function 1\n"
            "traced_function;guarded_function;platform_call() 1\n");
  EXPECT_THAT(folded.err, HasSubstr("no times"));
  EXPECT_EQ(exported(text, "folded", {"--only", "guarded*"}).out,
            "guarded_function 1\nguarded_function;platform_call() 1\n");
  EXPECT_EQ(exported(text, "folded", {"--skip", "guarded*", "--depth", "1"}).out,
            "traced_function 1\n");
  const std::string target = folder.path("calls.json");
  EXPECT_EQ(exported(recording, "json", {"--out", target}).out, "");
  const json calls = json::parse(folder.read("calls.json"))["calls"];
  std::map<int, json> by_id;
  for (const json& call : calls) {
    by_id[call["id"]] = call;
  }
  ASSERT_EQ(by_id.size(), 4U);
  EXPECT_EQ(by_id[1]["parent"], nullptr);
  EXPECT_EQ(by_id[by_id[4]["parent"]]["name"], "guarded_function");
  EXPECT_EQ(by_id[4]["status"], 42);
  expect_refusal(
      run_zolp({"trace", "export", folder.path("missing"), "--format", "json", "--out", target}), 1,
      "cannot read");
  EXPECT_EQ(json::parse(folder.read("calls.json"))["calls"], calls) << "what was there stays";
}

#if !defined(_WIN32)

TEST_F(TraceExport, APageShowsTheCallsInABrowser) {
  const bool is_needed = std::getenv("ZOLP_REQUIRE_CHROMIUM") != nullptr;
  const std::string page = folder.path("run.html");
  const test::Run made = run_zolp({"trace", "view", recording, "--out", page});
#if !defined(SPEEDSCOPE_SCHEMA)
  expect_refusal(made, 1, "without its viewer");
  ASSERT_FALSE(is_needed);
#else
  EXPECT_EQ(made.exit_code, 0) << made.err;
  if (std::string(BROWSER).empty()) {
    ASSERT_FALSE(is_needed) << "there is no Chromium";
    GTEST_SKIP() << "there is no Chromium to open the page in";
  }
  // A window of the table of functions, which is text; all that the page says on its console.
  const test::Run shown = test::run_program(
      {BROWSER, "--headless=new", "--no-sandbox", "--user-data-dir=" + folder.path("profile"),
       "--enable-logging=stderr", "--virtual-time-budget=20000", "--dump-dom",
       "file://" + page + "#view=sandwich"});
  for (const char* name : {"traced_function", "platform_call() failed with 515001"}) {
    EXPECT_THAT(shown.out, HasSubstr(">" + std::string(name) + "</td>"));
  }
  EXPECT_THAT(shown.out, HasSubstr("<title>run.rec - speedscope</title>"));
  std::istringstream messages(shown.err);
  for (std::string message; std::getline(messages, message);) {
    if (message.find("CONSOLE") != std::string::npos) {
      EXPECT_THAT(message,
                  testing::AnyOf(HasSubstr("\"speedscope v"), HasSubstr("\"import: "),
                                 HasSubstr("\"Importing as speedscope"), HasSubstr("WebGL")));
    }
  }
#endif
}

#endif

}  // namespace
