#include "error.h"

#include "ork/access.h"
#include "ork/err.h"
#include "ork/ork.h"
#include "ork/store.h"
#include "platform_block.h"

namespace tool {

std::string advice_for(int status, const std::string& otherwise) {
  switch (status) {
    case ACCESS_denied:
      return "log in as somebody who may";
    case STORE_locked_by_other:
      return "wait until it is free, or take the lock away with \"zolp host unlock\"";
    case ORK_site_busy:
      return "start again when it has finished";
    default:
      return otherwise;
  }
}

int last_platform_error() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ERR_get_errors(&count, &severities, &codes, &texts);
  return count > 0 ? codes[count - 1] : ORK_ok;
}

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
