#include <cstdio>
#include <cstdlib>

#include "process.h"
#include "support/process.h"

namespace sweep {

int in_process(const std::function<int()>&, const std::vector<std::string>& arguments) {
  test::Launch launch{{_pgmptr}, test::own_environment(), "NUL", ""};
  launch.command.insert(launch.command.end(), arguments.begin(), arguments.end());
  const int code = test::Process(launch).wait();
  constexpr int greatest_own_code = 255;
  if (code >= 0 && code <= greatest_own_code) {
    return code;
  }
  std::fprintf(stderr, "ended with code %#x\n", static_cast<unsigned>(code));
  return crashed;
}

bool silence_standard_output() {
  return std::freopen("NUL", "w", stdout) != nullptr;
}

}  // namespace sweep
