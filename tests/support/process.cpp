#include "process.h"

namespace test {

std::string Process::read_line() {
  std::string line;
  for (char character = '\0'; read(character) && character != '\n';) {
    line += character;
  }
  if (line.ends_with('\r')) {
    line.pop_back();
  }
  return line;
}

}  // namespace test
