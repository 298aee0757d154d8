/** @file What all users of libgcrypt share. */
#pragma once

#include <span>
#include <string>

namespace host {

/** Makes the library ready; to be called before its first use. */
void start_crypto_library();

std::string hex_text(std::span<const unsigned char> bytes);

}  // namespace host
