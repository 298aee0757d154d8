/** @file The options of commands that work in a session on a site. */
#pragma once

#include <memory>
#include <string>

#include "command_line/parser.h"
#include "failures.h"
#include "site.h"

namespace tool {

struct LoginOptions {
  std::string site, user, password, password_file, group;
};

/** Adds --host and what the login takes to a command, and --fail, --delay and --journal. */
void add_login_options(CommandParser& command, LoginOptions& options);

/**
 * Has the platform log in as the options say. A password that they lack comes from the environment
 * or the terminal. Refuses a login that is given in part: the platform would log in as the site's
 * user for automatic login instead.
 */
void complete_login(const CommandParser& command, const LoginOptions& options);

/** Does work in a session on the site. A failure that it has passed over is noticed in the end. */
template <typename Work>
void in_session(const CommandParser& command, const LoginOptions& options, const Work& work) {
  complete_login(command, options);
  const Site site(site_file(options.site));
  const Session session;
  work();
  require_success(ORK_ok, "not all has been done", "see the call trace, set ZOLP_TRACE_LEVEL=4");
}

/**
 * Adds the login options and --json to a command, and has it do its work in a session on the site.
 * @param options with the members `login` and `json`.
 */
template <typename Options, typename Work>
void work_in_session(CommandParser& command, const std::shared_ptr<Options>& options, Work work) {
  add_login_options(command, options->login);
  command.add_flag("--json", options->json, "Print JSON");
  command.callback(
      [&command, options, work] { in_session(command, options->login, [&] { work(*options); }); });
}

}  // namespace tool
