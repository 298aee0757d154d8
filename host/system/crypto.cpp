#include "crypto.h"

#include <gcrypt.h>

namespace host {

void start_crypto_library() {
  static const bool started = [] {
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    return true;
  }();
  static_cast<void>(started);
}

std::string hex_text(std::span<const unsigned char> bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace host
