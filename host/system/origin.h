/**
 * @file
 * Inside what a caller has got something that it is to give back: which of the platform's
 * operations, and which traced function of the program. With `ORK_HOST_BLOCKS=report` it is kept
 * of each block and lock, and what was never given back is told when the process ends. Programs
 * that watch handlers have it kept, too.
 */
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace host {

struct Origin {
  const char* operation = nullptr; /**< null for none */
  const char* function = nullptr;  /**< the innermost traced one; null for none */

  // NOLINTNEXTLINE(modernize-use-nullptr): takes the comparison's own 0 for a null pointer
  auto operator<=>(const Origin&) const = default;
};

/** "OPERATION inside FUNCTION" */
std::string origin_text(const Origin& origin);

/** Whether origins are kept: the environment wants the report, or a program asks what is left. */
bool reports_origins();

/** Has origins kept from now on. */
void keep_origins();

/** Where the calling thread is. */
Origin this_origin();

/** An operation that is under way, as long as one lives; they may be inside one another. */
class OperationMark {
 public:
  explicit OperationMark(const char* name);
  ~OperationMark();
  OperationMark(const OperationMark&) = delete;
  OperationMark& operator=(const OperationMark&) = delete;

 private:
  const char* outer_;
};

/** Keeps a line about a lock for the report. */
void report_lock(const std::string& line);

/** How many blocks and bytes came from where. */
using BlocksByOrigin = std::map<Origin, std::pair<std::size_t, std::size_t>>;

/** Has the report written when the process ends; `find` tells what is left then. */
void report_at_end(BlocksByOrigin (*find)());

}  // namespace host
