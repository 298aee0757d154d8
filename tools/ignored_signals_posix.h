/** @file Signals that whoever has started the program wants ignored, as `nohup` does. */
#pragma once

#include <signal.h>

namespace tool::os {

inline bool is_ignored(int signal_number) {
  struct sigaction action = {};
  sigaction(signal_number, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

}  // namespace tool::os
