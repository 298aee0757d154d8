/** @file One run of the sweep: a case's good call with one thing that fails in it. */
#pragma once

#include "sweep.h"

namespace sweep {

/** What is to fail in a run: a call, an allocation, a request to the C heap, or nothing. */
struct Fault {
  const Step* step = nullptr;
  int nth_call = 0;               /**< which call of the step's operation */
  std::size_t at_step = 0;        /**< index of the step */
  int allocation = 0;             /**< which allocation, from 1 */
  std::size_t own_allocation = 0; /**< which of the library's own it is, if it is one */
  int heap_request = 0;           /**< which request to the C heap, from 1 */
};

/** How a run ended, as its process's exit code. */
enum Ending { as_promised = 0, otherwise = 10, none_such = 11, own_allocation = 12 };

/** The run in words, for messages. */
std::string words(const Case& tried, const Fault& fault);

/** Makes one run, in its process. @return its ending. */
int run(const Case& tried, const Fault& fault);

}  // namespace sweep
