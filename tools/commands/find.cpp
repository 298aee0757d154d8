/** @file `zolp find`: which objects a site has. */
#include <memory>
#include <string>

#include "commands/commands.h"
#include "login.h"
#include "object_rows.h"
#include "objects.h"
#include "text.h"

namespace tool {

namespace {

struct FindOptions {
  std::string pattern;
  bool json = false;
  LoginOptions login;
};

void find(const FindOptions& options) {
  const View one_state;
  ObjectRows found(options.json);
  for (const tag object : find_by_pattern(options.pattern)) {
    found.add(object);
  }
  found.finish();
}

}  // namespace

void add_find_command(CommandParser& program) {
  CommandParser& command = program.add_command("find", "List objects by id or name");
  const auto options = std::make_shared<FindOptions>();
  command
      .add_option("PATTERN", options->pattern,
                  "Id or name; * stands for any text, ? for one character")
      .required()
      .type_name("");
  command.footer(
      "\nNothing found is no failure.\n"
      "Example: zolp find 'GB-1*' --host site.db");
  work_in_session(command, options, find);
}

}  // namespace tool
