/**
 * @file
 * How a refusal travels inside the host: as an exception, from wherever it is found to the frame of
 * the operation (frame.h), which alone turns it into a status and an entry of the error stack.
 * Nearly every line of an operation can be refused by the store or by SQLite; with statuses in
 * between, the checks would outnumber the work.
 */
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "ork/ork.h"

namespace host {

/** An error code and the details of this occurrence, which follow the code's general text. */
class Failure : public std::exception {
 public:
  Failure(int status, std::string detail) : status_(status), detail_(std::move(detail)) {}

  int status() const { return status_; }
  const std::string& detail() const { return detail_; }
  const char* what() const noexcept override { return detail_.c_str(); }

 private:
  int status_;
  std::string detail_;
};

[[noreturn]] inline void refuse(int status, std::string detail = {}) {
  throw Failure(status, std::move(detail));
}

/** Refuses with ORK_invalid_argument unless a condition holds. */
inline void require(bool condition, const char* what) {
  if (!condition) {
    refuse(ORK_invalid_argument, what);
  }
}

}  // namespace host
