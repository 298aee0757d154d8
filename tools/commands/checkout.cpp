/** @file `zolp checkout` and `zolp checkin`: reserve an object for a user, and give it back. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "failures.h"
#include "host/ork_host.h"
#include "login.h"
#include "object_json.h"
#include "objects.h"
#include "site.h"

namespace tool {

namespace {

struct CheckoutOptions {
  std::string object;
  bool json = false;
  LoginOptions login;
};

template <typename Operation>
void reserve(const CheckoutOptions& options, const char* done, Operation operation) {
  const tag object = find_object(options.object);
  const Json reserved = object_json(object);
  const std::string id = reserved["id"];
  const std::string problem = id + " is not " + done;
  Change change;
  require_success(operation(object), problem,
                  "see \"zolp show " + options.object + "\" for who has it");
  const Json card = {{"object", reserved},
                     {"checked_out_by", display_value(object, "checked_out_user")}};
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json(card);
  }
  std::printf("%s %s\n", done, printable(id).c_str());
}

void add_command(CommandParser& program, const char* name, const char* description,
                 const char* footer, void (*work)(const CheckoutOptions&)) {
  CommandParser& command = program.add_command(name, description);
  const auto options = std::make_shared<CheckoutOptions>();
  command.add_option("ID", options->object, "Item id, or item id/revision id")
      .required()
      .type_name("");
  work_in_session(command, options, work);
  command.footer(footer);
}

}  // namespace

void add_checkout_commands(CommandParser& program) {
  add_command(
      program, "checkout", "Check an item or a revision out",
      "\nRefused for what somebody else has checked out, what is released, and replicas.\n"
      "Example: zolp checkout SH-200/A",
      [](const CheckoutOptions& options) { reserve(options, "checked out", ork_host_check_out); });
  add_command(
      program, "checkin", "Check an item or a revision in again",
      "\nRefused for what somebody else has checked out; administrators may.\n"
      "Example: zolp checkin SH-200/A",
      [](const CheckoutOptions& options) { reserve(options, "checked in", ork_host_check_in); });
}

}  // namespace tool
