// Handlers that crash, hang, end the program, fail and leave things behind, as a user meets them.

#include "tests/tools/run_program.h"

namespace {

/** A process that calls the bad handler with an argument. */
std::string process(const std::string& name, const std::string& on = "start") {
  return R"({"name": ")" + name + R"(", "tasks": [{"name": "Check", "handlers": [
    {"on": ")" +
         on + R"(", "name": "misbehave", "arguments": [")" + name + R"("]}]}]})";
}

class BadHandlers : public test::ZolpTest {
 protected:
  BadHandlers() {
    make_site(R"({"site": {"name": "Here", "automatic_login": "ada"},
      "groups": ["engineering"], "roles": ["designer"],
      "users": [{"id": "ada", "memberships": [{"group": "engineering", "role": "designer"}]}],
      "process_templates": [)" +
              process("segv") + "," + process("exit", "complete") + "," + process("hang") + "," +
              process("fail") + "," + process("nest") + "," + process("leave") + R"(,
        {"name": "Wait", "tasks": [{"name": "Review", "type": "review",
                                    "signoffs": [{"user": "ada"}]}]}]})");
  }

  /** Starts a job of the name of its process. */
  test::Run start(const std::string& name, std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"job", "start", name, "--name", name, "--handlers", BAD_HANDLERS});
    return on_site_quietly(std::move(more));
  }

  /** Sanitizers have crashes of their own, which are not those that are to be seen here. */
  test::Run on_site_quietly(const std::vector<std::string>& arguments,
                            test::Environment settings = {}) const {
    settings["ORK_HOST_DB"] = site;
    settings["ASAN_OPTIONS"] = "handle_segv=0:handle_abort=0:detect_leaks=0";
    return run_zolp(arguments, settings);
  }

  nlohmann::json stop_of(const std::string& job) const {
    const auto shown = on_site({"job", "show", job, "--json"}).json();
    EXPECT_EQ(shown["state"], "Stopped");
    EXPECT_EQ(shown["root"]["tasks"][0]["state"], "Stopped");
    return shown["stop"];
  }

  /** The failure that a command with --json tells last. */
  static nlohmann::json failure_of(const test::Run& run) {
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(run.out, "");
    const std::size_t begin = run.err.rfind("{\"error\":");
    return begin != std::string::npos ? nlohmann::json::parse(run.err.substr(begin))["error"]
                                      : nlohmann::json();
  }
};

TEST_F(BadHandlers, StopTheirJobsWhateverTheyDo) {
  const test::Run crashed = start("segv");
  EXPECT_EQ(crashed.exit_code, 1);
  EXPECT_THAT(crashed.err, HasSubstr("handler misbehave on task Check of job segv crashed with "));
  EXPECT_THAT(crashed.err, HasSubstr("  last calls, the newest last:\n"
                                     "    FLOW_get_job inside misbehave\n"));
  EXPECT_EQ(stop_of("segv")["on"], "start");
  EXPECT_THAT(std::string(stop_of("segv")["text"]), StartsWith("The process ended while"));

  const auto exited = failure_of(start("exit", {"--json"}));
  EXPECT_EQ(exited["handler"]["ended"], "exit");
  EXPECT_EQ(exited["handler"]["exit_code"], 0);
  EXPECT_EQ(stop_of("exit")["on"], "complete");
  EXPECT_EQ(stop_of("exit")["code"], exited["code"]);

  const auto hung = failure_of(start("hang", {"--json", "--timeout", "0.2"}));
  EXPECT_EQ(hung["handler"]["ended"], "timeout");
  EXPECT_EQ(stop_of("hang")["code"], hung["code"]);

  const test::Run nested = start("nest");
  EXPECT_THAT(nested.err, HasSubstr("of job inner crashed"));
  EXPECT_EQ(stop_of("inner")["handler"], "misbehave");
  EXPECT_EQ(stop_of("nest")["handler"], "misbehave") << "the handler that has started that job";

  EXPECT_THAT(
      on_site({"job", "list"}).out,
      testing::ContainsRegex("exit +exit +ada +Stopped +at task Check by handler misbehave, called "
                             "on complete: 33018"));
  EXPECT_EQ(start("hang", {"--timeout", "0"}).exit_code, 2);
}

TEST_F(BadHandlers, AJobThatGoesOnForgetsItsStop) {
  expect_refusal(on_site({"job", "start", "leave", "--name", "L"}), 1,
                 "job L was stopped at task Check by handler misbehave, called on start (There is "
                 "no such workflow handler");
  EXPECT_EQ(stop_of("L")["code"], FLOW_unknown_handler);
  const test::Run went_on =
      on_site_quietly({"job", "continue", "L", "--handlers", BAD_HANDLERS, "--json"});
  EXPECT_EQ(went_on.json()["state"], "Completed") << went_on.err;
  EXPECT_EQ(went_on.json()["stop"], nullptr);
  EXPECT_THAT(went_on.err, HasSubstr("printed by a handler\n")) << "and not into the JSON";
  EXPECT_THAT(went_on.err, HasSubstr("\"operation\":\"MEM_alloc\",\"function\":\"misbehave\""));
}

TEST_F(BadHandlers, TheWholeErrorStackIsTold) {
  const test::Run failed = start("fail");
  EXPECT_THAT(failed.err, HasSubstr("job fail was stopped at task Check by handler misbehave, "
                                    "called on start (Unknown error code 990001: the handler's "
                                    "own text): mend"));
  EXPECT_THAT(failed.err, HasSubstr("    warning 990002: Unknown error code 990002: first\n"
                                    "    error 990001: Unknown error code 990001: the handler's "
                                    "own text\n"
                                    "    error 990001: Unknown error code 990001: handler "
                                    "misbehave on task Check\n"));
  EXPECT_EQ(stop_of("fail")["text"], "Unknown error code 990001: the handler's own text");
  const auto told =
      failure_of(on_site({"job", "continue", "fail", "--handlers", BAD_HANDLERS, "--json"}));
  EXPECT_EQ(told["stack"].size(), 3U);
  EXPECT_EQ(told["handler"]["ended"], "failure");
}

TEST_F(BadHandlers, AreRunAlone) {
  ASSERT_EQ(on_site({"job", "start", "Wait", "--name", "W"}).exit_code, 0);
  const auto run = [&](const std::string& what, std::vector<std::string> more = {},
                       const test::Environment& settings = {}) {
    more.insert(more.begin(), {"handler", "run", BAD_HANDLERS, "--job", "W", "--argument", what});
    return on_site_quietly(more, settings);
  };
  for (const std::string what : {"segv", "abort", "throw in thread", "exit", "quick exit"}) {
    const auto told = failure_of(run(what, {"--json"}));
    EXPECT_EQ(told["handler"]["name"], "misbehave") << what;
    EXPECT_EQ(told["handler"]["task"], "Review");
    EXPECT_EQ(told["handler"]["ended"], what.ends_with("exit") ? "exit" : "crash") << what;
    EXPECT_EQ(told["code"], FLOW_handler_died);
  }
  EXPECT_EQ(failure_of(run("throw", {"--json"}))["code"], FLOW_handler_threw);
  EXPECT_EQ(on_site({"job", "show", "W", "--json"}).json()["state"], "Started") << "as it was";

  const test::Run recorded = run("quick exit", {}, {{"ZOLP_TRACE_RECORD", folder.path("rec")}});
  EXPECT_THAT(recorded.err, HasSubstr("    misbehave has not returned\n"
                                      "      FLOW_get_job(...)\n"))
      << recorded.err;

  const test::Run left = run("leave");
  EXPECT_EQ(left.exit_code, 0);
  EXPECT_EQ(left.out, "printed by a handler\nmisbehave has run on task Review\n");
  EXPECT_EQ(left.err,
            "zolp: warning: handler misbehave on task Review of job W leaves 1 block and 1 lock "
            "behind\n"
            "  1 block, 5 bytes: MEM_alloc inside misbehave\n"
            "  lock on W: OBJ_refresh inside misbehave\n");
  EXPECT_EQ(run("leave", {"--strict"}).exit_code, 1);
  EXPECT_EQ(run("leave", {"--json"}).json()[0]["left_behind"][0]["locks"][0]["object"], "W");
  EXPECT_EQ(run("nothing", {"--in-process", "--strict"}).exit_code, 0);
#ifndef _WIN32
  const auto nowhere = test::run_program(
      {"/bin/sh", "-c", ZOLP_PROGRAM " handler run " BAD_HANDLERS " --job W --json >&-"},
      {{"ORK_HOST_DB", site}});
  EXPECT_EQ(nowhere.exit_code, 1) << "what is printed does not go to standard error instead";
#endif
}

TEST_F(BadHandlers, AreListedAndBadLibrariesRefused) {
  EXPECT_EQ(run_zolp({"handler", "list", BAD_HANDLERS}).out, "misbehave\n");
  EXPECT_EQ(run_zolp({"handler", "list", BAD_HANDLERS, "--json"}).json()[0]["handler"],
            "misbehave");
  expect_refusal(run_zolp({"handler", "list", site}), 1, "cannot load the handlers of");
  expect_refusal(run_zolp({"handler", "list", folder.path("none")}), 1, "there is no file");
  expect_refusal(run_zolp({"handler", "list", folder.path("")}), 1, "is no file");
  const test::Run crashed =
      on_site_quietly({"handler", "list", BAD_HANDLERS}, {{"TEST_CRASH_WHEN_LOADED", "1"}});
  EXPECT_EQ(crashed.exit_code, 1);
  EXPECT_THAT(crashed.err, HasSubstr("while it was loaded: look at its ORK_register_handlers"));
}

#ifndef _WIN32
TEST_F(BadHandlers, EndWithTheProgramThatIsInterrupted) {
  test::Launch launch{
      {"/bin/sh", "-c",
       std::string(ZOLP_PROGRAM " job start hang --name hang --handlers ") + BAD_HANDLERS
           " & sleep 0.1; until " ZOLP_PROGRAM " job list | grep -q hang; do :; done; sleep 0.5; "
           "kill -TERM $!; wait $!"},
      {"ORK_HOST_DB=" + site, "PATH=/usr/bin:/bin"},
      folder.path("out"),
      folder.path("err")};
  EXPECT_EQ(test::Process(launch).wait(), 128 + SIGTERM) << folder.read("err");
  EXPECT_EQ(stop_of("hang")["handler"], "misbehave");
  EXPECT_EQ(on_site({"host", "check", site}).exit_code, 0) << "no lock of a process is left";
}

TEST_F(BadHandlers, GoOnWhereSignalsAreIgnored) {
  ASSERT_EQ(on_site({"job", "start", "Wait", "--name", "W"}).exit_code, 0);
  const auto begin = [&](const std::string& arguments) {
    return test::Launch{{"/bin/sh", "-c", "trap '' INT CHLD; exec " ZOLP_PROGRAM " " + arguments},
                        {"ORK_HOST_DB=" + site},
                        "",
                        folder.path("err")};
  };
  test::Process hung(begin("handler run " BAD_HANDLERS " --job W --argument hang --timeout 1"));
  EXPECT_EQ(hung.read_line(), "printed by a handler");
  hung.interrupt();
  EXPECT_EQ(hung.wait(), 1) << folder.read("err");
  EXPECT_THAT(folder.read("err"), HasSubstr("did not return within 1 second"));

  test::Process seed(begin("host seed " + site + " -"));
  constexpr std::size_t more_than_a_pipe_holds = 1 << 20;
  EXPECT_TRUE(seed.write("{" + std::string(more_than_a_pipe_holds, ' ')));
  seed.interrupt();
  EXPECT_TRUE(seed.write("\"roles\": [\"Guest\"]}"));
  seed.close_input();
  EXPECT_EQ(seed.wait(), 0) << folder.read("err");
  EXPECT_THAT(on_site({"host", "show", site, "roles"}).out, HasSubstr("Guest"));
}
#endif

}  // namespace
