// What is shown and recorded of a customer's own functions and calls, and what becomes of a
// recording when things go wrong.

#include <algorithm>
#include <atomic>
#include <random>
#include <set>
#include <thread>

#include "basetool/traces.h"
#include "support/kills.h"
#include "support/shared_memory.h"
#include "tools/trace/recording.h"

namespace test {

namespace {

using basetool::EventKind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

struct Recorder : TraceFolder {
  std::string record = "ZOLP_TRACE_RECORD=" + folder.path("rec");

  int run(std::vector<std::string> environment, std::vector<std::string> commands) const {
    return run_program_at(RECORDING_PROGRAM, folder, std::move(environment), std::move(commands));
  }

  trace::Recording read(const std::string& name = "rec") const {
    return trace::read_recording(folder.read_bytes(name));
  }

  /** The events as lines, indented by those that are open; error texts stand below their event. */
  static std::vector<std::string> tree(const trace::Recording& recording) {
    std::vector<std::string> lines;
    size_t depth = 0;
    for (const trace::Event& event : recording.events) {
      const trace::Site& site = recording.site_of(event);
      const bool is_end = event.kind == EventKind::left || event.kind == EventKind::abandoned;
      depth -= is_end ? 1 : 0;
      lines.push_back(std::string(2 * depth, ' ') + "_>%-!"[static_cast<int>(event.kind)] +
                      site.text + " " + std::to_string(event.status));
      depth += event.kind == EventKind::entered ? 1 : 0;
      for (const trace::Text& text : recording.texts) {
        if (text.event == event.id) {
          lines.push_back(std::string(2 * depth + 2, ' ') + text.text);
        }
      }
    }
    return lines;
  }

  /** Statuses that numbered_function has left with, in their order; each must have been entered. */
  static std::vector<int> numbers(const trace::Recording& recording) {
    std::vector<int> found;
    for (const trace::Event& event : recording.events) {
      if (recording.site_of(event).text == "numbered_function" && event.kind == EventKind::left) {
        found.push_back(event.status);
      }
    }
    return found;
  }
};

TEST_F(Recorder, ShowsAndRecordsACustomersOwnFailingCalls) {
  EXPECT_EQ(run({record, "ZOLP_TRACE_LEVEL=trace"}, {"fail"}), 0);
  const auto line_of = [](const std::string& text) {
    return ":" + std::to_string(text == "guarded" ? 36 : 43);
  };
  const std::string source = "recording_program.cpp";
  const std::string place = " " + source + line_of("traced");
  const std::string detail = " File:" + source + " Line:" + line_of("traced").substr(1) +
                             " Funktion:platform_call(status)";
  const std::string guarded = " " + source + line_of("guarded");
  EXPECT_THAT(
      split(folder.read("stderr")),
      ElementsAre(" ->traced_function " + source + ":42", "   ->platform_call(status)" + place,
                  "    " + detail, "    " + detail + " returned 515001 ",
                  "    --Unknown error code 515001--", "   <-platform_call(status)" + place,
                  "  a remark of 515001", "   ->guarded_function " + source + ":35",
                  "     ->platform_call(...)" + guarded,
                  "      ##ORK_err_42: platform_call(...)  " + guarded,
                  "      --Unknown error code 42--", "     <-platform_call(...)" + guarded,
                  "   <-traced_function " + source + ":46"));
  const trace::Recording recording = read();
  EXPECT_THAT(tree(recording),
              ElementsAre(">traced_function 0", "  >platform_call(status) 0",
                          "  %platform_call(status) 515001", "    Unknown error code 515001",
                          "  >guarded_function 0", "    >platform_call(...) 0",
                          "    %platform_call(...) 42", "      Unknown error code 42",
                          "  -guarded_function 0", "%traced_function 515001"));
  EXPECT_TRUE(recording.has_ended);
  EXPECT_FALSE(recording.is_damaged);
  EXPECT_THAT(recording.program, HasSubstr("recording_program"));
  const trace::Site& site = recording.site_of(recording.events[1]);
  EXPECT_EQ(site.file + ":" + std::to_string(site.line), place.substr(1));
  EXPECT_EQ(site.kind, 2U);
  EXPECT_EQ(recording.threads.size(), 1U);
}

TEST_F(Recorder, KeepsWhatCameLastAndCountsWhatIsGone) {
  constexpr int many = 300'000;
  EXPECT_EQ(run({record, "ZOLP_TRACE_RECORD_SIZE=256K"}, {"calls", std::to_string(many)}), 0);
  const trace::Recording recording = read();
  EXPECT_EQ(folder.read_bytes("rec").size(), 256U << 10);
  EXPECT_EQ(recording.events.size() + recording.events_overwritten, 2U * many);
  EXPECT_GT(recording.events.size(), 10'000U);
  std::vector<int> expected;
  const std::vector<int> found = numbers(recording);
  for (int i = many - static_cast<int>(found.size()); i < many; ++i) {
    expected.push_back(i);
  }
  EXPECT_EQ(found, expected);
  EXPECT_TRUE(std::is_sorted(
      recording.events.begin(), recording.events.end(),
      [](const trace::Event& one, const trace::Event& other) { return one.time < other.time; }));
}

TEST_F(Recorder, KeepsDetailsWhenAsked) {
  EXPECT_EQ(run({record, "ZOLP_TRACE_RECORD_DETAILS=1"}, {"fail"}), 0);
  const trace::Recording recording = read();
  std::string texts;
  for (const trace::Text& text : recording.texts) {
    texts += std::to_string(static_cast<int>(text.kind)) + text.text;
  }
  EXPECT_THAT(texts, HasSubstr("3a remark of 515001\n"));
  EXPECT_THAT(texts, HasSubstr("2--Unknown error code 42--\n1Unknown error code 42"));
  EXPECT_THAT(split(folder.read("stderr")), testing::SizeIs(5)) << "the text's level is the usual";
}

TEST_F(Recorder, ShowsAndRecordsWhatIsSelected) {
  const auto shown = [&](const std::string& selection) {
    std::remove(folder.path("rec").c_str());
    TemporaryFolder own;
    run_program_at(RECORDING_PROGRAM, own, {record, selection, "ZOLP_TRACE_LEVEL=log"}, {"fail"});
    std::vector<std::string> calls;
    for (const std::string& line : split(own.read("stderr"))) {
      calls.push_back(line.substr(0, line.find_last_of(' ', line.size() - 2)));
    }
    return calls;
  };
  const char* traced_failure =
      "   File:recording_program.cpp Line:43 Funktion:platform_call(status) returned";
  EXPECT_THAT(shown("ZOLP_TRACE_SKIP=nothing, guarded*"),
              ElementsAre(" ->traced_function", "   ->platform_call(status)",
                          std::string("  ") + traced_failure, "    --Unknown error code",
                          "   <-platform_call(status)", "  a remark of",
                          "  ##ORK_err_42: platform_call(...)  ", "  --Unknown error code",
                          " <-traced_function"));
  EXPECT_THAT(tree(read()), ElementsAre(">traced_function 0", "  >platform_call(status) 0",
                                        "  %platform_call(status) 515001",
                                        "    Unknown error code 515001", "  !platform_call(...) 42",
                                        "    Unknown error code 42", "%traced_function 515001"));
  EXPECT_THAT(shown("ZOLP_TRACE_ONLY=*ed_f*tion"), testing::Contains("   ->guarded_function"));
  EXPECT_THAT(shown("ZOLP_TRACE_ONLY=guarded_function"),
              ElementsAre(std::string(traced_failure).substr(2), "--Unknown error code",
                          " ->guarded_function", "   ->platform_call(...)",
                          "    ##ORK_err_42: platform_call(...)  ", "    --Unknown error code",
                          "   <-platform_call(...)"));
  EXPECT_THAT(tree(read()), ElementsAre("!platform_call(status) 515001",
                                        "  Unknown error code 515001", ">guarded_function 0",
                                        "  >platform_call(...) 0", "  %platform_call(...) 42",
                                        "    Unknown error code 42", "-guarded_function 0"));
}

TEST_F(Recorder, HoldsEveryEventBeforeAKill) {
  std::mt19937 random(4711);
  for (int round = 0; round < kills(); ++round) {
    TemporaryFolder own;
    const std::string counter_file = own.write("counter", std::string(sizeof(int), '\0'));
    const SharedMemory<std::atomic<int>> counter(counter_file);
    ProgramRun child(RECORDING_PROGRAM, own,
                     {"ZOLP_TRACE_RECORD=" + own.path("rec"), "ZOLP_TRACE_RECORD_SIZE=1M"},
                     {"count", counter_file});
    const int wanted = std::uniform_int_distribution(1, 200'000)(random);
    while (counter->load() < wanted) {
      std::this_thread::yield();
    }
    child.kill();
    EXPECT_EQ(child.wait(), ProgramRun::killed);
    const int counted = counter->load();
    const trace::Recording recording = trace::read_recording(own.read_bytes("rec"));
    EXPECT_FALSE(recording.has_ended);
    EXPECT_FALSE(recording.is_damaged);
    const std::vector<int> found = numbers(recording);
    ASSERT_FALSE(found.empty());
    EXPECT_GE(found.back(), counted);
    EXPECT_LE(found.back(), counted + 1);
    for (size_t i = 1; i < found.size(); ++i) {
      ASSERT_EQ(found[i], found[i - 1] + 1);
    }
    // What was overwritten is counted, but for a chunk that was being emptied.
    const auto gone = static_cast<double>(recording.events_overwritten);
    EXPECT_NEAR(gone, 2.0 * (found.front() - 1), 2.0 + basetool::recording_events_in_chunk);
  }
}

TEST_F(Recorder, BelongsToOneProcessAndIsKeptWhenTheNextOneComes) {
  ProgramRun first(RECORDING_PROGRAM, folder, {record}, {"calls", "1", "meet", "calls", "2"});
  first.meet();
  EXPECT_THAT(numbers(read()), ElementsAre(0)) << "it can be read while the process lives";
  EXPECT_FALSE(read().has_ended);
  ProgramRun second(RECORDING_PROGRAM, folder, {record}, {"calls", "3"});
  const std::string other = "rec.pid" + std::to_string(second.id());
  EXPECT_EQ(second.wait(), 0);
  first.go_on();
  EXPECT_EQ(first.wait(), 0);
  EXPECT_THAT(numbers(read()), ElementsAre(0, 0, 1));
  EXPECT_THAT(numbers(read(other)), ElementsAre(0, 1, 2));
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*another process[^\n]*rec.pid.*\n"));

  EXPECT_EQ(run({record, "ZOLP_TRACE_KEEP=1"}, {"calls", "4", "quit"}), 0);
  EXPECT_THAT(numbers(read("rec.1")), ElementsAre(0, 0, 1));
  EXPECT_THAT(numbers(read()), ElementsAre(0, 1, 2, 3));
}

TEST_F(Recorder, IsSwitchedByTheProgram) {
  EXPECT_EQ(run({record}, {"calls", "1", "record", folder.path("other"), "calls", "2", "stop",
                           "calls", "3", "record", folder.path("missing/rec"), "calls", "4"}),
            0);
  EXPECT_THAT(numbers(read()), ElementsAre(0));
  EXPECT_THAT(numbers(read("other")), ElementsAre(0, 1));
  EXPECT_TRUE(read("other").has_ended);
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*cannot make [^\n]*no recording\n"));
}

TEST_F(Recorder, DoesNotStandInTheProgramsWay) {
  EXPECT_EQ(run({"ZOLP_TRACE_RECORD=" + folder.path("missing/rec")}, {"calls", "3"}), 0);
  EXPECT_EQ(run({"ZOLP_TRACE_RECORD=" + folder.path("")}, {"calls", "3"}), 0);
  const std::vector<std::string> lines = split(folder.read("stderr"));
  ASSERT_EQ(lines.size(), 2U);
  for (const std::string& line : lines) {
    EXPECT_THAT(line, HasSubstr("no recording"));
  }
  folder.write("rec", "a file of somebody else's");
  EXPECT_EQ(run({record}, {"calls", "3"}), 0);
  EXPECT_EQ(folder.read("rec.1"), "a file of somebody else's");
  EXPECT_THAT(numbers(read()), ElementsAre(0, 1, 2));
}

#if !defined(_WIN32)

TEST_F(Recorder, OutlivesForksExecFullDisksAndThoseWhoEmptyIt) {
  EXPECT_EQ(run({record + "-%p"}, {"fork", "exec"}), 0);
  std::multiset<std::vector<int>> found;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("rec-")) {
      found.insert(numbers(read(name)));
    }
  }
  EXPECT_THAT(found, ElementsAre(std::vector{1, 3}, std::vector{2}));

  EXPECT_EQ(run({record}, {"limit", "calls", "3"}), 0);
  EXPECT_FALSE(folder.has("rec"));
  EXPECT_THAT(folder.read("stderr"), MatchesRegex("[^\n]*cannot make room[^\n]*no recording\n"));

  EXPECT_EQ(run({record, "ZOLP_TRACE_RECORD_SIZE=128K"},
                {"calls", "10", "truncate", folder.path("rec"), "calls", "300"}),
            0);
  EXPECT_EQ(numbers(read()).back(), 299);
  EXPECT_EQ(run({record}, {"calls", "1", "close-all", "calls", "2"}), 0);
  EXPECT_THAT(numbers(read()), ElementsAre(0, 0, 1));
}

#endif

TEST_F(Recorder, ThreadsThatEndLeaveNothingToTheNext) {
  EXPECT_EQ(run({record, file}, {"threads-in-turn", "3"}), 0);
  EXPECT_EQ(folder.read("trace"), "  thread 0\n  thread 1\n  thread 2\n");
  EXPECT_THAT(numbers(read()), ElementsAre(0, 1, 2));
  EXPECT_EQ(read().threads.size(), 3U);
}

/** What threads do to text and recording at once. */
TEST_F(Recorder, ThreadsLoseAndTearNothing) {
  constexpr int threads = 8;
#if defined(_WIN32)
  constexpr int rounds = 200;
#else
  constexpr int rounds = 1000;
#endif
  for (const char* follow : {"ZOLP_TRACE_FOLLOW=0", "ZOLP_TRACE_FOLLOW=1"}) {
    std::remove(folder.path("trace").c_str());
    EXPECT_EQ(run({record, file, follow, "ZOLP_TRACE_LEVEL=error"},
                  {"threads", std::to_string(threads), std::to_string(rounds)}),
              0);
    std::multiset<std::string> expected;
    for (int thread = 0; thread < threads; ++thread) {
      for (int i = 0; i < rounds; ++i) {
        expected.insert("thread " + std::to_string(thread) + " round " + std::to_string(i));
        expected.insert("is whole");
      }
      expected.insert("the end of " + std::to_string(thread));
    }
    for (int i = 0; i < rounds; ++i) {
      expected.insert("first " + std::to_string(i) + " is whole");
    }
    const std::vector<std::string> lines = split(folder.read("trace"));
    EXPECT_TRUE(std::multiset<std::string>(lines.begin(), lines.end()) == expected);

    const trace::Recording recording = read();
    EXPECT_EQ(recording.events.size(), 2U * threads * rounds);
    std::map<uint32_t, std::vector<int>> numbers_of;
    for (const trace::Event& event : recording.events) {
      if (event.kind == EventKind::left) {
        numbers_of[event.thread].push_back(event.status);
      }
    }
    EXPECT_EQ(numbers_of.size(), size_t{threads});
    for (const auto& [thread, numbers] : numbers_of) {
      EXPECT_TRUE(recording.threads.contains(thread));
      for (int i = 0; i < rounds; ++i) {
        ASSERT_EQ(numbers[static_cast<size_t>(i)] % 1'000'000, i);
      }
    }
  }
}

}  // namespace

}  // namespace test
