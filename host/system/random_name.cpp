#include "random_name.h"

#include "crypto.h"
#include "os.h"

namespace host {

std::string random_name() {
  unsigned char bytes[random_name_length / 2];
  os::make_random(bytes);
  return hex_text(bytes);
}

bool is_random_name(const std::string& text) {
  return text.size() == random_name_length &&
         text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace host
