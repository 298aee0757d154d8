/** @file Passwords, kept as salted scrypt hashes together with the parameters of the hash. */
#pragma once

#include <string>

#include "ork/ork.h"
#include "sqlite.h"

namespace host {

void store_password(Database& database, tag user, const std::string& password);

/** Whether a password is the user's; a user without one has none that matches. */
bool is_password(Database& database, tag user, const std::string& password);

}  // namespace host
