/** @file `zolp host remove`: removes a site with all that belongs to it. */
#include <memory>
#include <string>

#include "commands/host.h"
#include "failures.h"
#include "host/ork_host.h"

namespace tool {

void add_host_remove(CommandParser& group) {
  CommandParser& command = group.add_command("remove", "Remove a site and its vault");
  const auto file = std::make_shared<std::string>();
  command.add_option("FILE", *file, "The site's file").required().type_name("");
  command.footer(
      "\nRemoves the site's file, those that SQLite keeps beside it, its vault and the folder of\n"
      "its processes. Refused while somebody has the site open, and for what is no site.");
  command.callback([file] {
    require_success(ork_host_remove(file->c_str()), "site " + *file + " is not removed",
                    "check the path");
  });
}

}  // namespace tool
