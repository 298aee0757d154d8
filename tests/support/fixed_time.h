/** @file A clock and a calendar that stand still. */
#pragma once

#include "src/clock.h"

namespace test {

/** It is 2013-03-14 09:05:07 and the processor time is 1,234, as long as this lives. */
class FixedTime {
 public:
  FixedTime() {
    orktool::replace_clock([] { return 1234; });
    orktool::replace_calendar([] {
      std::tm time{};
      time.tm_year = 113;
      time.tm_mon = 2;
      time.tm_mday = 14;
      time.tm_hour = 9;
      time.tm_min = 5;
      time.tm_sec = 7;
      return time;
    });
  }
  ~FixedTime() {
    orktool::replace_clock(nullptr);
    orktool::replace_calendar(nullptr);
  }
  FixedTime(const FixedTime&) = delete;
  FixedTime& operator=(const FixedTime&) = delete;
};

}  // namespace test
