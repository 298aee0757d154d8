/**
 * @file
 * Passwords, kept as salted scrypt hashes together with the parameters of the hash, so that one
 * that was made with other parameters goes on.
 */
#pragma once

#include <string>

#include "ork/ork.h"
#include "sqlite.h"

namespace host {

/**
 * What a hash costs: scrypt's N is 2 to this power, with r = 8 and p = 1. The usual cost takes
 * 128 MiB and some 0.3 seconds, which is what interactive logins are recommended to take.
 */
inline constexpr int least_password_cost = 1;
inline constexpr int usual_password_cost = 17;
inline constexpr int highest_password_cost =
    20; /**< 1 GiB: more than that is no login's business */

/** The cost that the site has chosen for new hashes, or else the usual one. */
int password_cost(Database& database);
void set_password_cost(Database& database, int cost);

/** Keeps a user's password; a hash of it that has the site's cost stays as it is. */
void store_password(Database& database, tag user, const std::string& password);

/** The hash of a user's password, as it is kept; empty without one. */
std::string password_hash(Database& database, tag user);

/** Keeps a hash as `password_hash` has it; refused when it is none. */
void store_password_hash(Database& database, tag user, const std::string& hash);

/** Whether a password is the user's; a user without one has none that matches. */
bool is_password(Database& database, tag user, const std::string& password);

}  // namespace host
