#include "login.h"

#include <string>
#include <vector>

#include "error.h"
#include "host/ork_host.h"
#include "ork/ork.h"

namespace tool {

namespace {

/** Has the host do something before the command begins; what it does not understand is a usage. */
void order(int (*function)(const char* text), const std::string& text) {
  if (function(text.c_str()) != ORK_ok) {
    const std::string problem = failure_text(ORK_invalid_argument);
    forget_failures();
    throw usage_error(problem, "see \"zolp COMMAND --help\"");
  }
}

/** What lets a command be tried when the platform fails or is slow. */
void add_trial_options(CLI::App& command) {
  const std::string group = "Trials";
  const auto add = [&](const char* name, const char* type, const char* description,
                       int (*function)(const char* text)) {
    command
        .add_option_function<std::vector<std::string>>(
            name,
            [function](const std::vector<std::string>& texts) {
              for (const std::string& text : texts) {
                order(function, text);
              }
            },
            description)
        ->type_name(type)
        ->allow_extra_args(false)
        ->group(group);
  };
  add("--fail", "OPERATION[:N]=STATUS",
      "Have the N-th call of a platform operation fail, the first without N; repeatable",
      ork_host_order_faults);
  add("--delay", "OPERATION=MS", "Have each call of an operation take a time; repeatable",
      ork_host_order_delays);
  add("--journal", "FILE", "Append each call of a platform operation and its status to a file",
      ork_host_write_journal);
}

}  // namespace

void add_login_options(CLI::App& command, LoginOptions& options) {
  command.add_option("--host", options.site, "The site's file; ORK_HOST_DB when left out")
      ->type_name("FILE");
  command.add_option("-u", options.user, "User, with -p and -g; automatic login without")
      ->type_name("USER");
  command.add_option("-p", options.password, "Password")->type_name("PASSWORD");
  command.add_option("-g", options.group, "Group")->type_name("GROUP");
  add_trial_options(command);
}

void check_login_options(const CLI::App& command) {
  const char* const options[][2] = {{"-u", "-u="}, {"-p", "-p="}, {"-g", "-g="}};
  int given = 0;
  int read = 0;
  for (const auto& [name, name_with_value] : options) {
    given += command.count(name) > 0 ? 1 : 0;
    read += ORK_get_cli_argument(name_with_value) != nullptr ? 1 : 0;
  }
  if (given == 0 || (given == 3 && read == 3)) {
    return;
  }
  throw usage_error("the login is not complete",
                    given < 3 ? "give -u, -p and -g, or none of them for the automatic login"
                              : "write it as -u=USER -p=PASSWORD -g=GROUP");
}

}  // namespace tool
