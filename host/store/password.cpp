#include "password.h"

#include <gcrypt.h>

#include <array>
#include <charconv>
#include <sstream>
#include <vector>

#include "crypto.h"
#include "failure.h"
#include "os.h"

namespace host {

namespace {

using Bytes = std::vector<unsigned char>;

/** The hash's parameters as the file keeps them: "scrypt$cost$parallelism$salt$hash". */
struct PasswordHash {
  int cost = 8192;  // takes 8 MB, and 10 to 20 ms on current machines
  unsigned long parallelism = 1;
  Bytes salt;
  Bytes hash;
};

Bytes derive(const std::string& password, const PasswordHash& parameters, std::size_t size) {
  Bytes hash(size);
  const gcry_error_t error = gcry_kdf_derive(
      password.data(), password.size(), GCRY_KDF_SCRYPT, parameters.cost, parameters.salt.data(),
      parameters.salt.size(), parameters.parallelism, hash.size(), hash.data());
  if (error != 0) {
    refuse(ORK_internal_error, std::string("password hash: ") + gcry_strerror(error));
  }
  return hash;
}

Bytes from_hex(const std::string& text) {
  Bytes bytes(text.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char* digits = text.data() + 2 * i;
    std::from_chars(digits, digits + 2, bytes[i], 16);
  }
  return bytes;
}

PasswordHash parse(const std::string& text) {
  std::istringstream fields(text);
  std::array<std::string, 5> parts;
  for (std::string& part : parts) {
    std::getline(fields, part, '$');
  }
  PasswordHash parsed;
  const auto number = [](const std::string& digits, auto& value) {
    const char* end = digits.data() + digits.size();
    return std::from_chars(digits.data(), end, value).ptr == end && value > 0;
  };
  parsed.salt = from_hex(parts[3]);
  parsed.hash = from_hex(parts[4]);
  if (parts[0] != "scrypt" || !number(parts[1], parsed.cost) ||
      !number(parts[2], parsed.parallelism) || parsed.hash.empty()) {
    refuse(ORK_site_not_available, "a password's hash is damaged");
  }
  return parsed;
}

/** Takes the same time wherever they differ. */
bool equal(const Bytes& left, const Bytes& right) {
  if (left.size() != right.size()) {
    return false;
  }
  unsigned difference = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    difference |= static_cast<unsigned>(left[i] ^ right[i]);
  }
  return difference == 0;
}

}  // namespace

void store_password(Database& database, tag user, const std::string& password) {
  start_crypto_library();
  PasswordHash made;
  made.salt.resize(16);
  os::make_random(made.salt);
  made.hash = derive(password, made, 32);
  const std::string text = "scrypt$" + std::to_string(made.cost) + "$" +
                           std::to_string(made.parallelism) + "$" + hex_text(made.salt) + "$" +
                           hex_text(made.hash);
  run(database, "INSERT OR REPLACE INTO password VALUES(?, ?)", user, text);
}

bool is_password(Database& database, tag user, const std::string& password) {
  Query query(database, "SELECT hash FROM password WHERE user = ?", user);
  if (!query.next()) {
    return false;
  }
  start_crypto_library();
  const PasswordHash stored = parse(query.text(0));
  return equal(derive(password, stored, stored.hash.size()), stored.hash);
}

}  // namespace host
