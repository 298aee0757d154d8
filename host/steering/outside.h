/**
 * @file
 * Faults and a journal that the environment asks for, so that any program can be tried as it is:
 *
 *     ORK_HOST_FAULTS=OPERATION[:N]=STATUS,...   the N-th call (the first without) fails
 *     ORK_HOST_DELAYS=OPERATION=MILLISECONDS,... each call takes that long
 *     ORK_HOST_JOURNAL=FILE                      each call is appended: its operation and status
 */
#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct FaultOrder {
  std::string operation;
  int nth = 1;
  int status = 0;
};

/** The faults that a text asks for; refused with ORK_invalid_argument when it cannot be read. */
std::vector<FaultOrder> fault_orders(std::string_view text);

struct DelayOrder {
  std::string operation;
  int milliseconds = 0;
};
std::vector<DelayOrder> delay_orders(std::string_view text);

/** The file that calls are written to, each in a line of its own as soon as it has ended. */
class JournalFile {
 public:
  /** Refused with ORK_invalid_argument when the file cannot be written. */
  void open(const std::string& path);
  bool is_open() const { return file_.is_open(); }
  void write(const char* operation, int status) noexcept;

 private:
  std::ofstream file_;
};

}  // namespace host
