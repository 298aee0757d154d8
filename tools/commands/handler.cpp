/** @file `zolp handler`: what a library of workflow handlers has, and what its handlers do. */
#include "commands/handler.h"

#include "commands/commands.h"

namespace tool {

void add_handler_commands(CommandParser& program) {
  CommandParser& group = program.add_group("handler", "List and run workflow handlers");
  group.footer(R"(
Examples:
  zolp handler list ./libcheck.so
  zolp handler run ./libcheck.so --job R-17 --host site.db
  zolp handler run ./libcheck.so --job R-17 --handler check --argument limit=20 --timeout 60

"zolp handler COMMAND --help" says more about each command.)");
  add_handler_list(group);
  add_handler_run(group);
}

}  // namespace tool
