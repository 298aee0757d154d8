#include "login.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "error.h"
#include "host/ork_host.h"
#include "ork/ork.h"
#include "os.h"
#include "streams.h"
#include "utf8_path.h"

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
void add_trial_options(CommandParser& command) {
  const char* const group = "Trials";
  const auto add = [&](const char* name, const char* type, const char* description,
                       int (*function)(const char* text)) {
    command
        .add_options(
            name,
            [function](const std::vector<std::string>& texts) {
              for (const std::string& text : texts) {
                order(function, text);
              }
            },
            description)
        .type_name(type)
        .group(group);
  };
  add("--fail", "OPERATION[:N]=STATUS",
      "Have the N-th call of a platform operation fail, the first without N; repeatable",
      ork_host_order_faults);
  add("--delay", "OPERATION=MS", "Have each call of an operation take a time; repeatable",
      ork_host_order_delays);
  add("--journal", "FILE", "Append each call of a platform operation and its status to a file",
      ork_host_write_journal);
}

constexpr const char* password_variable = "ORK_PASSWORD";

/**
 * The value of an option as the platform reads it: "-u=ada" as well as "-u ada". What only the
 * parser takes for one, as "-uada", is its value all the same.
 */
std::string value_of(const char* option, const std::string& parsed) {
  const char* const value = ORK_get_cli_argument(option);
  return value != nullptr ? value : parsed;
}

/** The first line of a file. */
std::string password_in(const std::string& path) {
  std::string line;
  if (path == standard_stream) {
    line = read_standard_input();
  } else {
    std::ifstream file(host::utf8_path(path), std::ios::binary);
    std::getline(file, line, '\0');
    if (!file && !file.eof()) {
      throw Error("password file " + path + " cannot be read", "check the path");
    }
  }
  return line.substr(0, line.find_first_of("\r\n"));
}

/** The password that the command line gives or names, or else the user. */
std::optional<std::string> find_password(const CommandParser& command,
                                         const LoginOptions& options) {
  if (command.count("-p") > 0) {
    return value_of("-p=", options.password);
  }
  if (!options.password_file.empty()) {
    return password_in(options.password_file);
  }
  if (const char* const password = std::getenv(password_variable); password != nullptr) {
    return password;
  }
  return os::is_input_on_terminal()
             ? os::ask_secretly("Password of " + value_of("-u=", options.user) + ": ")
             : std::nullopt;
}

}  // namespace

void add_login_options(CommandParser& command, LoginOptions& options) {
  command.add_option("--host", options.site, "The site's file; ORK_HOST_DB when left out")
      .type_name("FILE");
  command.add_option("-u", options.user, "User, with -g; automatic login without")
      .type_name("USER");
  const OptionParser password =
      command
          .add_option("-p", options.password,
                      "Password; ORK_PASSWORD when left out, or else it is asked for")
          .type_name("PASSWORD");
  command.add_option("--password-file", options.password_file, "File with the password")
      .type_name("FILE")
      .excludes(password);
  command.add_option("-g", options.group, "Group; with an empty one the user's own")
      .type_name("GROUP");
  add_trial_options(command);
}

void complete_login(const CommandParser& command, const LoginOptions& options) {
  const bool has_user = command.count("-u") > 0;
  const bool has_group = command.count("-g") > 0;
  const bool has_password = command.count("-p") > 0 || command.count("--password-file") > 0;
  if (!has_user && !has_group && !has_password) {
    return;
  }
  const std::optional<std::string> password =
      has_user && has_group ? find_password(command, options) : std::nullopt;
  if (!password) {
    throw usage_error("the login is not complete",
                      "give -u, -g and a password (-p, --password-file or ORK_PASSWORD), or none "
                      "of them for the automatic login");
  }
  const std::string arguments[] = {"-u=" + value_of("-u=", options.user), "-p=" + *password,
                                   "-g=" + value_of("-g=", options.group)};
  const char* const all[] = {"zolp", arguments[0].c_str(), arguments[1].c_str(),
                             arguments[2].c_str()};
  ork_host_set_arguments(static_cast<int>(std::size(all)), all);
}

}  // namespace tool
