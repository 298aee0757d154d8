/** @file `zolp host check`: says whether a site is whole. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/host.h"
#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "platform_block.h"

namespace tool {

namespace {

struct SiteCheckOptions {
  std::string file;
  bool repair = false;
  bool json = false;
};

void print_findings(const Json& found) {
  for (const Json& finding : found["findings"]) {
    std::printf("%-10s %s%s\n", printable(finding["kind"].get<std::string>()).c_str(),
                printable(finding["text"].get<std::string>()).c_str(),
                finding["repaired"].get<bool>() ? " (repaired)" : "");
  }
  if (found["whole"].get<bool>()) {
    std::printf("whole: %s objects, %s files\n", found["objects"].dump().c_str(),
                found["files"].dump().c_str());
  }
}

void check(const SiteCheckOptions& options) {
  int findings = 0;
  char* text = nullptr;
  require_success(ork_host_check(options.file.c_str(), options.repair ? 1 : 0, &findings, &text),
                  "site " + options.file + " is not checked", "check the path");
  const PlatformBlock<char> block(text);
  const Json found = Json::parse(text);
  if (options.json) {
    print_json(found);
  } else {
    print_findings(found);
  }
  if (findings > 0) {
    std::fflush(stdout);
    throw Error("site " + options.file + " is not whole (" + std::to_string(findings) +
                    (findings == 1 ? " finding" : " findings") + ")",
                options.repair ? "restore it from a snapshot"
                               : "try --repair, or restore it from a snapshot");
  }
}

}  // namespace

void add_host_check(CommandParser& group) {
  CommandParser& command = group.add_command("check", "Say whether a site is whole");
  const auto options = std::make_shared<SiteCheckOptions>();
  command.add_option("FILE", options->file, "The site's file").required().type_name("");
  command.add_flag("--repair", options->repair,
                   "Put right what can be without losing anything: what ended processes have\n"
                   "left, contents that nothing refers to, indexes");
  command.add_flag("--json", options->json, "Print JSON");
  command.footer(
      "\nLooks at the file, all references and values, circles in structures, locks of processes\n"
      "that have ended, the digests of all files, and files that nothing refers to. Exit code 1\n"
      "when something is found that is not repaired.");
  command.callback([options] { check(*options); });
}

}  // namespace tool
