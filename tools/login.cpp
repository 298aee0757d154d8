#include "login.h"

#include "error.h"
#include "ork/ork.h"

namespace tool {

void add_login_options(CLI::App& command, LoginOptions& options) {
  command.add_option("--host", options.site, "The site's file; ORK_HOST_DB when left out")
      ->type_name("FILE");
  command.add_option("-u", options.user, "User, with -p and -g; automatic login without")
      ->type_name("USER");
  command.add_option("-p", options.password, "Password")->type_name("PASSWORD");
  command.add_option("-g", options.group, "Group")->type_name("GROUP");
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
