/** @file The options of commands that work in a session on a site. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace tool {

struct LoginOptions {
  std::string site, user, password, group;
};

/**
 * Adds --host, -u, -p and -g to a command. What is given for the login is read by the platform from
 * the program's command line; the options are here so that they are known and explained.
 */
void add_login_options(CLI::App& command, LoginOptions& options);

/**
 * Refuses a login that is given in part, or in a way that the platform does not read: the platform
 * would log in as the site's user for automatic login instead.
 */
void check_login_options(const CLI::App& command);

}  // namespace tool
