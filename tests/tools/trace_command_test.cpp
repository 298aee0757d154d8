#include <random>
#include <regex>

#include "tests/tools/generated_trace.h"
#include "tests/tools/run_program.h"

namespace {

using test::GeneratedTrace;
using testing::AllOf;
using Prefix = GeneratedTrace::Prefix;

class TraceCommand : public test::ZolpTest {
 protected:
  std::string trace(const std::string& text, const std::string& name = "run.trace") const {
    return folder.write(name, text);
  }

  static std::string shown(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "trace");
    const test::Run run = run_zolp(arguments);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    return run.out;
  }
};

/** A summary in JSON against what was counted when the trace was made. */
void expect_totals(const nlohmann::json& summary, const GeneratedTrace& expected, bool has_times) {
  ASSERT_EQ(summary["rows"].size(), expected.totals().size());
  for (const nlohmann::json& row : summary["rows"]) {
    SCOPED_TRACE(row["name"]);
    test::ExpectedTotal total = expected.totals().at(row["name"]);
    EXPECT_EQ(row["count"], total.count);
    EXPECT_EQ(row["failed"], total.failures);
    if (!has_times) {
      EXPECT_EQ(row["total_ms"], nullptr);
      continue;
    }
    std::sort(total.durations.begin(), total.durations.end());
    const auto milliseconds = [](int64_t time) { return static_cast<double>(time) / 1000; };
    EXPECT_NEAR(row["total_ms"], milliseconds(total.total), 1e-6);
    EXPECT_NEAR(row["own_ms"], milliseconds(total.own), 1e-6);
    EXPECT_NEAR(row["min_ms"], milliseconds(total.durations.front()), 1e-6);
    EXPECT_NEAR(row["max_ms"], milliseconds(total.durations.back()), 1e-6);
    const double rank = milliseconds(total.durations[(total.durations.size() * 99 + 99) / 100 - 1]);
    EXPECT_GE(row["p99_ms"].get<double>() + 1e-6, rank);
    EXPECT_LE(row["p99_ms"].get<double>(), rank * 1.032 + 1e-6);
  }
}

TEST_F(TraceCommand, SummaryCountsWhatAPlainModelCounts) {
  unsigned seed = 1;
  for (const Prefix prefix : {Prefix::none, Prefix::time_and_level, Prefix::all}) {
    for (int i = 0; i < 4; ++i, ++seed) {
      SCOPED_TRACE(seed);
      const GeneratedTrace generated(seed, prefix);
      const std::string all = generated.text();
      const std::string file = trace(all + std::string(300'000, '\n'));
      expect_totals(run_zolp({"trace", "summary", file, "--json"}).json(), generated,
                    prefix != Prefix::none);

      // The same in three parts, of which the newest has the name.
      const size_t third = generated.lines().size() / 3;
      const std::string newest = trace(generated.text(2 * third), "parts");
      trace(generated.text(third, 2 * third), "parts.1");
      trace(generated.text(0, third), "parts.2");
      expect_totals(run_zolp({"trace", "summary", newest, "--json"}).json(), generated,
                    prefix != Prefix::none);
      EXPECT_EQ(run_zolp({"trace", "diff", file, newest}).exit_code, 0);
    }
  }
}

/** A run of a command with a fault, as text with times and as recording. */
struct Runs {
  std::string text, recording;
};

class RunOfACommand : public TraceCommand {
 protected:
  Runs run_command(const std::string& name, const std::string& faults) {
    const Runs runs{folder.path(name + ".trace"), folder.path(name + ".rec")};
    run_zolp({"job", "list"}, {{"ORK_HOST_DB", site},
                               {"ORK_HOST_FAULTS", faults},
                               {"ZOLP_TRACE_LEVEL", "debug"},
                               {"ZOLP_TRACE_PREFIX", "time,pid"},
                               {"ZOLP_TRACE_FILE", runs.text},
                               {"ZOLP_TRACE_RECORD", runs.recording}});
    return runs;
  }
};

TEST_F(RunOfACommand, IsTheSameAsTextAndAsRecording) {
  make_site(R"({"site": {"name": "Here", "automatic_login": "ada"}, "groups": ["g"],
    "roles": ["r"], "users": [{"id": "ada", "memberships": [{"group": "g", "role": "r"}]}]})");
  const Runs good = run_command("good", "");
  const Runs bad = run_command("bad", "DSET_init_module=27002");
  EXPECT_EQ(shown({"diff", good.text, good.recording}), "");
  EXPECT_EQ(shown({"diff", bad.text, bad.recording}), "");
  const auto failures = run_zolp({"trace", "failures", bad.text, bad.recording, "--json"}).json();
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_EQ(failures[0]["name"], "DSET_init_module");
  EXPECT_EQ(failures[0]["status"], 27002);
  EXPECT_EQ(failures[0]["count"], 2);
  EXPECT_THAT(failures[0]["error"], HasSubstr("injected into DSET_init_module"));
  EXPECT_EQ(failures[0]["callers"][0]["name"], "zolp_startup_ork_environment");

  const test::Run compared = run_zolp({"trace", "diff", good.recording, bad.text});
  EXPECT_EQ(compared.exit_code, 1);
  EXPECT_THAT(compared.out,
              AllOf(StartsWith("The runs part in zolp_startup_ork_environment\n"
                               "- DSET_init_module (...) returns  "),
                    HasSubstr("\n+ DSET_init_module (...) fails with 27002: "),
                    HasSubstr("\n- zolp_startup_ork_environment > OBJ_init_module (...)  1 call")));
  EXPECT_EQ(run_zolp({"trace", "diff", good.text, folder.path("none")}).exit_code, 2);

  // What was recorded is not put away by the command that reads it.
  EXPECT_EQ(
      run_zolp({"trace", "slow", good.recording}, {{"ZOLP_TRACE_RECORD", good.recording}}).out,
      shown({"slow", good.recording}));
}

constexpr const char* small_trace = R"( ->outer a.c:1
   ->PREF_read(name) a.c:5
    File:a.c Line:5 Funktion:PREF_read(name)
   <-PREF_read(name) a.c:5
  a remark ->inner b.c:10
     ->PREF_write(name, 1) b.c:12
      File:b.c Line:12 Funktion:PREF_write(name, 1) returned 515 
      --Object 4711
      is locked--
     <-PREF_write(name, 1) b.c:12
     ->PREF_write(name, 1) b.c:12
      File:b.c Line:12 Funktion:PREF_write(name, 1) returned 515 
      --Object 4712
      is locked--
     <-PREF_write(name, 1) b.c:12
     ->PREF_save(...) b.c:14
      ##ORK_err_9: PREF_save(...)   b.c:14
      --Full--
     <-PREF_save(...) b.c:14
   <-ERROR: Outer a.c:20
)";

TEST_F(TraceCommand, ShowsATree) {
  const std::string file = trace(small_trace);
  const std::string inner =
      "  inner {  b.c:10\n"
      "    PREF_write(name, 1) failed with 515: Object 4711?is locked  b.c:12\n"
      "    PREF_write(name, 1) failed with 515: Object 4712?is locked  b.c:12\n"
      "    PREF_save(...) failed with 9: Full  b.c:14\n"
      "  } inner ended by 9  b.c:10\n";
  const auto indented = [](const std::string& text) {
    return "  " + std::regex_replace(text.substr(0, text.size() - 1), std::regex("\n"), "\n  ") +
           "\n";
  };
  const std::string all = "outer {  a.c:1\n  PREF_read(name)  a.c:5\n" + inner + "} outer  a.c:1\n";
  EXPECT_EQ(shown({"show", file}), indented(all));
  EXPECT_EQ(shown({"show", file, "--failed"}),
            indented("outer {  a.c:1\n" + inner + "} outer  a.c:1\n"));
  EXPECT_EQ(shown({"show", file, "--only", "inner,nothing"}), inner);
  EXPECT_THAT(run_zolp({"trace", "show", "--only", "inner", "missing", file}).err,
              HasSubstr("cannot read missing"))
      << "the option takes one of the words behind it";
  EXPECT_EQ(shown({"show", file, "--skip", "PREF_wr*", "--skip", "inner"}),
            indented("outer {  a.c:1\n  PREF_read(name)  a.c:5\n} outer  a.c:1\n"));
  EXPECT_EQ(shown({"show", file, "--depth", "1"}), indented("outer  a.c:1\n"));
  EXPECT_EQ(shown({"show", file, "--from", "@5", "--to", "@7", "--texts"}),
            indented("outer {  a.c:1\n  | a remark\n  inner {  b.c:10\n"
                     "    PREF_write(name, 1) failed with 515: Object 4711?is locked  b.c:12\n"
                     "  } inner ended by 9  b.c:10\n} outer  a.c:1\n"));
  const auto calls = run_zolp({"trace", "show", file, "--json"}).json();
  ASSERT_EQ(calls.size(), 6U);
  EXPECT_EQ(calls[1]["error"], "Object 4711\nis locked");
  EXPECT_EQ(calls[1]["parent"], 3);
}

TEST_F(TraceCommand, FoldsFailuresAndIgnoresTagsUnlessAsked) {
  const std::string file = trace(small_trace);
  EXPECT_EQ(shown({"failures", file}),
            "PREF_write(name, 1) failed with 515, 2 times: Object 4711?is locked\n"
            "  at b.c:12, first line 10 of " +
                file +
                "\n  in inner  b.c:10\n  in outer  a.c:1\n"
                "PREF_save(...) failed with 9: Full\n"
                "  at b.c:14, line 19 of " +
                file +
                "\n  in inner  b.c:10\n  in outer  a.c:1\n"
                "3 of 6 calls failed\n");
  const std::string other =
      trace(std::regex_replace(small_trace, std::regex("471"), "99"), "other.trace");
  EXPECT_EQ(shown({"diff", file, other}), "");
  const test::Run with_tags = run_zolp({"trace", "diff", file, other, "--tags"});
  EXPECT_EQ(with_tags.exit_code, 1);
  EXPECT_THAT(with_tags.out, HasSubstr("Object 991"));
  const auto graph = run_zolp({"trace", "graph", file, "inner", "--json"}).json();
  EXPECT_EQ(graph[0]["callers"][0]["name"], "outer");
  EXPECT_EQ(graph[0]["callees"][0]["name"], "PREF_write()");
  EXPECT_EQ(graph[0]["callees"][0]["count"], 2);
  EXPECT_EQ(graph[0]["callees"][0]["failed"], 2);
}

TEST_F(TraceCommand, ReadsErrorsAlone) {
  const std::string file = trace(
      "E 12 ##ORK_err_9: PREF_save(...)   b.c:14\nE 12 --Full--\n"
      "E 12  File:b.c Line:12 Funktion:PREF_write(a) returned -3 \nW 12 a warning\n");
  const auto failures = run_zolp({"trace", "failures", file, "--json"}).json();
  ASSERT_EQ(failures.size(), 2U);
  EXPECT_EQ(failures[0]["error"], "Full");
  EXPECT_EQ(failures[0]["first"]["process"], 12);
  EXPECT_EQ(failures[1]["status"], -3);
}

TEST_F(TraceCommand, ReadsWhatIsDamagedAndSaysSo) {
  const auto summary = [&](const std::string& text, const std::string& remark) {
    const test::Run run = run_zolp({"trace", "summary", trace(text), "--json"});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr(remark));
    return run.json();
  };
  const std::string good = small_trace;
  EXPECT_EQ(summary(good.substr(0, good.size() - 5), "line 20: the last line is cut")["unfinished"],
            1);
  EXPECT_EQ(summary(good.substr(40), "the beginning is missing: 2 exits")["calls"], 4);
  EXPECT_EQ(summary(" \x01\x02\n" + good, "line 1: this is no text")["calls"], 6);
  EXPECT_EQ(summary(std::string(100'000, '\0') + good + std::string(9, '\0'), "")["calls"], 6);
  EXPECT_EQ(summary("", "")["calls"], 0);
  EXPECT_EQ(summary("nothing\n", "holds no calls")["calls"], 0);
  EXPECT_EQ(summary(std::string(20'000'000, 'x') + "\n" + good, "")["calls"], 6);
  std::string binary(5000, '\0');
  std::mt19937 random(7);
  std::generate(binary.begin(), binary.end(), [&] { return static_cast<char>(random()); });
  expect_refusal(run_zolp({"trace", "summary", trace(binary)}), 1, "neither a text trace nor");
  expect_refusal(run_zolp({"trace", "show", folder.path("")}), 1, "a folder");
  expect_refusal(run_zolp({"trace", "show", trace(good), "--from", "then"}), 2, "no moment");
  expect_refusal(run_zolp({"trace", "show", trace(good), "--from", "1.5"}), 1, "no times");
  expect_refusal(run_zolp({"trace", "graph", trace(good), "none"}), 1, "no call of none");
}

TEST_F(TraceCommand, TellsProcessesOfOneFileApart) {
  const std::string file = trace(
      "1  ->work a.c:1\n2  ->work a.c:1\n1    ->PREF_a() a.c:2\n2  <-work a.c:9\n"
      "1    <-PREF_a() a.c:2\n1  <-work a.c:9\n");
  EXPECT_EQ(shown({"show", file}), "== " + file + ", process 1 ==\n  work {  a.c:1\n== " + file +
                                       ", process 2 ==\n  work  a.c:1\n== " + file +
                                       ", process 1 ==\n    PREF_a()  a.c:2\n  } work  a.c:1\n");
}

#if !defined(_WIN32)
TEST_F(TraceCommand, FollowsAFileThatGrows) {
  const std::string file = trace(" ->work a.c:1\n\n\n\n");
  test::Process follower({{ZOLP_PROGRAM, "trace", "show", file, "--follow"},
                          test::own_environment(),
                          "",
                          folder.path("err")});
  EXPECT_EQ(follower.read_line(), "  work {  a.c:1");
  trace(" ->work a.c:1\n   ->PREF_a() a.c:2\n   <-PREF_a() a.c:2\n <-work a.c:9\n\n\n");
  EXPECT_EQ(follower.read_line(), "    PREF_a()  a.c:2");
  EXPECT_EQ(follower.read_line(), "  } work  a.c:1");
}
#endif

}  // namespace
