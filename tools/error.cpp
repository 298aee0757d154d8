#include "error.h"

#include "ork/err.h"
#include "platform_block.h"

namespace tool {

std::string platform_error_text(int status) {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ERR_get_errors(&count, &severities, &codes, &texts);
  for (int i = count - 1; i >= 0; --i) {
    if (codes[i] == status && texts[i] != nullptr) {
      return texts[i];
    }
  }
  char* general_text = nullptr;
  ERR_get_error_text(status, &general_text);
  const PlatformBlock<char> block(general_text);
  return general_text != nullptr ? general_text : "error " + std::to_string(status);
}

}  // namespace tool
