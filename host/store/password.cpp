#include "password.h"

#include <gcrypt.h>

#include <array>
#include <bit>
#include <charconv>
#include <optional>
#include <sstream>
#include <vector>

#include "crypto.h"
#include "failure.h"
#include "os.h"

namespace host {

namespace {

using Bytes = std::vector<unsigned char>;

/** Name of the setting that the site keeps its cost in. */
constexpr const char* cost_setting = "password_cost";

constexpr unsigned long highest_parallelism = 16;
constexpr std::size_t longest_hash = 64;

/**
 * The hash's parameters as the file keeps them: "scrypt$cost$parallelism$salt$hash". The cost is
 * scrypt's N.
 */
struct PasswordHash {
  int cost = 0;
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

/** What a file says is checked: a hash may cost no more than a site can choose. */
PasswordHash parse(const std::string& text, tag user) {
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
      !number(parts[2], parsed.parallelism) || !std::has_single_bit(unsigned(parsed.cost)) ||
      parsed.cost > 1 << highest_password_cost || parsed.parallelism > highest_parallelism ||
      parsed.hash.empty() || parsed.hash.size() > longest_hash ||
      parsed.salt.size() > longest_hash) {
    refuse(ORK_site_not_available,
           "the password's hash of user object " + std::to_string(user) + " is damaged");
  }
  return parsed;
}

/** The hash that is kept of a user's password, if there is one. */
std::optional<PasswordHash> kept_hash(Database& database, tag user) {
  Query query(database, "SELECT hash FROM password WHERE user = ?", user);
  return query.next() ? std::optional(parse(query.text(0), user)) : std::nullopt;
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

bool is_hash_of(const PasswordHash& kept, const std::string& password) {
  return equal(derive(password, kept, kept.hash.size()), kept.hash);
}

}  // namespace

int password_cost(Database& database) {
  Query query(database, "SELECT value FROM meta WHERE name = ?", cost_setting);
  if (!query.next()) {
    return usual_password_cost;
  }
  const std::int64_t cost = query.integer(0);
  if (cost < least_password_cost || cost > highest_password_cost) {
    refuse(ORK_site_not_available, std::string("the site's ") + cost_setting + " is damaged");
  }
  return static_cast<int>(cost);
}

void set_password_cost(Database& database, int cost) {
  run(database, "INSERT OR REPLACE INTO meta VALUES(?, ?)", cost_setting, cost);
}

void store_password(Database& database, tag user, const std::string& password) {
  start_crypto_library();
  PasswordHash made;
  made.cost = 1 << password_cost(database);
  if (const auto kept = kept_hash(database, user);
      kept && kept->cost == made.cost && is_hash_of(*kept, password)) {
    return;
  }
  made.salt.resize(16);
  os::make_random(made.salt);
  made.hash = derive(password, made, 32);
  const std::string text = "scrypt$" + std::to_string(made.cost) + "$" +
                           std::to_string(made.parallelism) + "$" + hex_text(made.salt) + "$" +
                           hex_text(made.hash);
  run(database, "INSERT OR REPLACE INTO password VALUES(?, ?)", user, text);
}

std::string password_hash(Database& database, tag user) {
  Query query(database, "SELECT hash FROM password WHERE user = ?", user);
  return query.next() ? query.text(0) : std::string();
}

void store_password_hash(Database& database, tag user, const std::string& hash) {
  try {
    parse(hash, user);
  } catch (const Failure&) {
    refuse(ORK_invalid_argument, "it is no hash of a password");
  }
  run(database, "INSERT OR REPLACE INTO password VALUES(?, ?)", user, hash);
}

bool is_password(Database& database, tag user, const std::string& password) {
  start_crypto_library();
  const auto kept = kept_hash(database, user);
  return kept && is_hash_of(*kept, password);
}

}  // namespace host
