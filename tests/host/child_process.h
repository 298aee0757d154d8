/** @file A process that a test runs beside itself. */
#pragma once

#include "tests/support/process.h"

namespace test {

class ChildProcess : public Process {
 public:
  explicit ChildProcess(std::vector<std::string> command)
      : Process({std::move(command), own_environment(), "", ""}) {}
};

}  // namespace test
