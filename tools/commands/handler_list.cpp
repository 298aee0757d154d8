/** @file `zolp handler list`: the workflow handlers that a library registers. */
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/handler.h"
#include "error.h"
#include "handler_work.h"
#include "text.h"

namespace tool {

namespace {

struct HandlerListOptions {
  std::string library;
  bool json = false;
  HandlerSettings settings;
};

void list(const HandlerListOptions& options) {
  const std::vector<std::string> handlers = load_handlers(options.library);
  if (handlers.empty()) {
    throw Error(options.library + " registers no handler",
                "call FLOW_register_handler in its ORK_register_handlers");
  }
  if (options.json) {
    Json rows = Json::array();
    for (const std::string& handler : handlers) {
      rows.push_back({{"handler", handler}});
    }
    const OwnOutput output;
    return print_json(rows);
  }
  for (const std::string& handler : handlers) {
    std::puts(printable(handler).c_str());
  }
}

}  // namespace

void add_handler_list(CommandParser& group) {
  CommandParser& command = group.add_command("list", "List the handlers that a library registers");
  const auto options = std::make_shared<HandlerListOptions>();
  command.add_option("LIBRARY", options->library, "Shared library with ORK_register_handlers")
      .required()
      .type_name("");
  add_handler_settings(command, options->settings);
  command.add_flag("--json", options->json, "Print JSON");
  command.callback([options] {
    do_with_handlers({options->settings, options->json, {}}, [options] { list(*options); });
  });
  command.footer(
      "\nThe library is loaded and its ORK_register_handlers is called; no handler is, and no site "
      "is needed.\n\n"
      "Example: zolp handler list ./libcheck.so");
}

}  // namespace tool
