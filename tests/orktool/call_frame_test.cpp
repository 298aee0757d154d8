#include "call_frame.h"

#include "clock.h"
#include "support/site.h"

namespace {

constexpr int failure = PREF_value_not_found;

std::int32_t now = 0;

int platform_call(int status, int duration) {
  now = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) +
                                  static_cast<std::uint32_t>(duration));
  return status;
}

struct Lines {
  int entry = 0;
  int call = 0;
  int exit = 0;
};

/** An exported function of the kind that goes on after a failing call. */
int traced_function(int status, int duration, Lines& lines) {
  lines.entry = __LINE__ + 1;
  FRAME(frame, "traced_function");
  int result = ORK_ok;
  lines.call = __LINE__ + 1;
  TRACED(result, "call( a, &b)", platform_call(status, duration));
  lines.exit = __LINE__ + 1;
  return frame.leave(result);
}

/** An exported function of the kind that a failing call ends. */
int guarded_function(int status, int duration, Lines& lines) {
  lines.entry = __LINE__ + 1;
  FRAME(frame, "guarded_function");
  lines.call = __LINE__ + 1;
  GUARDED("call (a, f(b))", platform_call(status, duration));
  lines.exit = __LINE__ + 1;
  frame.leave_as("Guarded_function");
  return 17;
}

class CallFrame : public testing::Test {
 protected:
  CallFrame() {
    now = 0;
    orktool::replace_clock([] { return now; });
  }
  ~CallFrame() override { orktool::replace_clock(nullptr); }

  /** "File:line" of this source as trace lines have it. */
  static std::string at(int line) {
    return " " + std::string("call_frame_test.cpp") + ":" + number(line);
  }
  static std::string number(int value) { return std::to_string(value); }
  std::string file_line_function() const {
    return " File:" + std::string("call_frame_test.cpp") + " Line:" + number(lines.call) +
           " Funktion:call( a, &b)";
  }

  test::Site site;
  test::TraceCapture trace;
  Lines lines;
};

TEST_F(CallFrame, TracedCallWritesItsLinesAndGoesOn) {
  EXPECT_EQ(traced_function(ORK_ok, 0, lines), ORK_ok);
  EXPECT_THAT(trace.lines(), ElementsAre(" ->traced_function" + at(lines.entry),  //
                                         "   ->call( a, &b)" + at(lines.call),    //
                                         "    " + file_line_function(),           //
                                         "   <-call( a, &b)" + at(lines.call),    //
                                         " <-traced_function" + at(lines.exit)));
}

TEST_F(CallFrame, FailingTracedCallWritesTimeStatusAndGeneralText) {
  EXPECT_EQ(traced_function(failure, 5000, lines), failure);
  char* text = nullptr;
  ERR_get_error_text(failure, &text);
  EXPECT_THAT(trace.lines(),
              ElementsAre(" ->traced_function" + at(lines.entry),                                //
                          "   ->call( a, &b)" + at(lines.call),                                  //
                          "    " + file_line_function(),                                         //
                          "    5s for call" + file_line_function(),                              //
                          "    " + file_line_function() + " returned " + number(failure) + " ",  //
                          "    --" + std::string(text) + "--",                                   //
                          "   <-call( a, &b)" + at(lines.call),                                  //
                          " <-traced_function" + at(lines.exit)));
  EXPECT_THAT(trace.levels(),
              ElementsAre(ZOLP_LEVEL_LOG, ZOLP_LEVEL_LOG, ZOLP_LEVEL_TRACE, ZOLP_LEVEL_TRACE,
                          ZOLP_LEVEL_ERROR, ZOLP_LEVEL_ERROR, ZOLP_LEVEL_LOG, ZOLP_LEVEL_LOG));
  MEM_free(text);
  EXPECT_EQ(ork_host_block_count(), 0U);
}

TEST_F(CallFrame, GuardedCallShortensItsText) {
  EXPECT_EQ(guarded_function(ORK_ok, 0, lines), 17);
  EXPECT_THAT(trace.lines(), ElementsAre(" ->guarded_function" + at(lines.entry),  //
                                         "   ->call (...)" + at(lines.call),       //
                                         "   <-call (...)" + at(lines.call),       //
                                         " <-Guarded_function" + at(lines.exit)));
}

TEST_F(CallFrame, FailingGuardedCallEndsTheFunctionAndLeavesALevelOpen) {
  ERR_store_error_s1(ERR_severity_error, failure, "the first");
  ERR_store_error_s1(ERR_severity_error, failure, "the latest");
  EXPECT_EQ(guarded_function(failure, 5000, lines), failure);
  EXPECT_THAT(
      trace.lines(),
      ElementsAre(" ->guarded_function" + at(lines.entry), "   ->call (...)" + at(lines.call),
                  "    ##Long Call: call (...)   5s" + at(lines.call),
                  "    ##ORK_err_" + number(failure) + ": call (...)  " + at(lines.call),
                  testing::MatchesRegex("    --.*the latest.*"),
                  "   <-call (...)" + at(lines.call)));
  EXPECT_THAT(trace.levels(), ElementsAre(ZOLP_LEVEL_LOG, ZOLP_LEVEL_LOG, ZOLP_LEVEL_TRACE,
                                          ZOLP_LEVEL_ERROR, ZOLP_LEVEL_ERROR, ZOLP_LEVEL_LOG));

  trace.clear();
  EXPECT_EQ(traced_function(ORK_ok, 0, lines), ORK_ok);
  EXPECT_EQ(trace.lines().front(), "   ->traced_function" + at(lines.entry));
}

TEST_F(CallFrame, OnlyCallsOfMoreThanASecondAreSlow) {
  // The slow line of a call that takes a time, without what all such lines have; "" for none.
  const auto slow_line = [&](int duration) {
    trace.clear();
    traced_function(ORK_ok, duration, lines);
    const std::string line = trace.lines().size() == 5 ? "" : trace.lines()[3];
    return line.substr(0, line.find(" for call" + file_line_function()));
  };
  const auto slow_guarded_line = [&](int duration) {
    trace.clear();
    guarded_function(ORK_ok, duration, lines);
    const std::string line = trace.lines().size() == 4 ? "" : trace.lines()[2];
    return line.substr(0, line.find(at(lines.call)));
  };
  // The clock may pass the largest number meanwhile.
  constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
  for (const std::int32_t start : {0, largest - 500}) {
    for (const auto& [duration, seconds] : {std::pair{1000, ""}, {1001, "1s"}, {2999, "2s"}}) {
      const bool is_slow = *seconds != '\0';
      now = start;
      EXPECT_EQ(slow_line(duration), is_slow ? std::string("    ") + seconds : "");
      now = start;
      EXPECT_EQ(slow_guarded_line(duration),
                is_slow ? std::string("    ##Long Call: call (...)   ") + seconds : "");
    }
  }
}

TEST(FileName, LosesFolders) {
  EXPECT_STREQ(orktool::file_name("D:\\build\\src\\zolp_itool.cpp"), "zolp_itool.cpp");
  EXPECT_STREQ(orktool::file_name("zolp_itool.cpp"), "zolp_itool.cpp");
  EXPECT_STREQ(orktool::file_name("src/zolp_itool.cpp"), "zolp_itool.cpp");
}

TEST(Clock, CounterThatJumpsSpoilsOneAnswerAtMost) {
  constexpr std::int64_t second = 1'000'000'000;
  constexpr std::int64_t rate = 3;  // counts in a nanosecond
  for (const std::int64_t jump : {3600 * second, 100 * second, -40 * second, -3600 * second}) {
    std::int64_t time = 7 * second;
    std::int64_t count = rate * time;
    orktool::CounterScale scale({count, time});
    const auto seconds_of_call = [&](std::int64_t duration) {
      time += duration;
      count += rate * duration;
      return scale.nanoseconds(rate * duration, {count, time}) / second;
    };
    EXPECT_NEAR(seconds_of_call(2 * second), 2, 0.01);
    time += 50 * second;
    count += rate * 50 * second + jump;
    seconds_of_call(2 * second);
    for (int call = 0; call < 100; ++call) {
      EXPECT_NEAR(seconds_of_call(2 * second), 2, 0.01) << jump << " " << call;
    }
  }
}

TEST(Clock, CountsElapsedTimeFromTheStart) {
  const std::int32_t first = orktool::elapsed_milliseconds();
  EXPECT_GE(first, 0);
  EXPECT_GE(orktool::elapsed_milliseconds(), first);
}

}  // namespace
