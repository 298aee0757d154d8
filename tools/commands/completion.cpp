/** @file `zolp completion`: scripts for shells; `zolp complete`: what these scripts ask. */
#include <cstdio>
#include <memory>
#include <string>

#include "command_line/completion.h"
#include "commands/commands.h"
#include "text.h"

namespace tool {

namespace {

void print_completion(const CommandParser& program, const std::vector<std::string>& words) {
  const Completion completion = complete(describe(program), words);
  for (const Candidate& candidate : completion.candidates) {
    std::printf("%s\t%s\n", printable(candidate.text).c_str(),
                printable(candidate.description).c_str());
  }
  const bool has_folders = completion.others == Completion::Others::folders;
  const bool has_files = completion.others == Completion::Others::files;
  std::puts(has_folders ? ":folders" : has_files ? ":files" : ":none");
}

}  // namespace

void add_completion_commands(CommandParser& program) {
  CommandParser& scripts =
      program.add_command("completion", "Print what completes zolp's words in a shell");
  const auto shell = std::make_shared<std::string>();
  scripts.add_option("SHELL", *shell, "The shell")
      .required()
      .type_name("")
      .one_of({"bash", "zsh", "fish"});
  scripts.footer(
      "\nThe packages install these scripts where shells find them. Without a package:\n"
      "  source <(zolp completion bash)          in ~/.bashrc\n"
      "  source <(zolp completion zsh)           in ~/.zshrc, after compinit\n"
      "  zolp completion fish | source           in ~/.config/fish/config.fish\n"
      "Names of objects, jobs and the like are offered where --host or ORK_HOST_DB names the\n"
      "site; objects need a site with an automatic login.");
  scripts.callback([shell] { std::fputs(completion_script(*shell).c_str(), stdout); });

  CommandParser& asked = program.add_command("complete", "");
  asked.hide();
  const auto words = std::make_shared<std::vector<std::string>>();
  asked.add_option("WORDS", *words, "");
  asked.callback([&program, words] { print_completion(program, *words); });
}

}  // namespace tool
