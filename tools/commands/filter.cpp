/** @file `zolp filter`: the objects of a site that pass the library's filters. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "error.h"
#include "login.h"
#include "objects.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct FilterOptions {
  std::string candidates = "*";
  std::string name, type, status;
  bool whole = false;
  bool expressions = false;
  bool json = false;
  LoginOptions login;
};

struct Answer {
  bool passes;
  int status; /**< of reading the object; one that cannot be read passes */
};

/** Filters by name and type, then by status; the library has no function for all of them. */
Answer filter(tag object, const FilterOptions& options) {
  const char* name = options.name.c_str();
  const char* type = options.type.c_str();
  Answer answer{};
  if (options.whole) {
    answer.status = ZOLP_ApplyFilter(object, name, type, &answer.passes, false);
  } else {
    const char* type_text = options.expressions ? "" : type;
    answer.status = ZOLP_ApplyRegExpFilter(object, name, type_text, &answer.passes);
  }
  if (!answer.passes || answer.status != ORK_ok) {
    return answer;
  }
  const char* type_expression = options.expressions ? type : "";
  answer.status = ZOLP_ApplyRegExpFilterExt(object, "", type_expression, options.status.c_str(),
                                            &answer.passes, !options.expressions);
  return answer;
}

void list_objects(const FilterOptions& options) {
  Json found = Json::array();
  size_t unreadable = 0;
  for (const tag object : find_by_pattern(options.candidates)) {
    const Answer answer = filter(object, options);
    if (answer.passes) {
      Json& row = found.emplace_back(summary_of(object));
      row["error"] = answer.status == ORK_ok ? Json() : Json(platform_error_text(answer.status));
      unreadable += answer.status == ORK_ok ? 0 : 1;
    }
  }
  if (options.json) {
    return print_json(found);
  }
  print_summaries(found);
  if (unreadable > 0) {
    std::printf("(%s among them that cannot be read and so cannot be filtered)\n",
                counted(unreadable, "object").c_str());
  }
}

}  // namespace

void add_filter_command(CLI::App& program) {
  CLI::App* const command =
      program.add_subcommand("filter", "List objects that pass filters on name, type and status");
  const auto options = std::make_shared<FilterOptions>();
  command
      ->add_option("PATTERN", options->candidates,
                   "Id or name of the objects to filter, as for \"zolp find\"; all when left out")
      ->type_name("");
  command->add_option("--name", options->name, "Text that occurs in the name")->type_name("TEXT");
  command->add_option("--type", options->type, "Text that occurs in the type")->type_name("TEXT");
  command
      ->add_option("--status", options->status, "Text that occurs in one of the release statuses")
      ->type_name("TEXT");
  CLI::Option* const whole =
      command->add_flag("--whole", options->whole, "Compare name and type as a whole");
  command->add_flag("--regex", options->expressions, "Take type and status for regular expressions")
      ->excludes(whole);
  work_in_session(*command, options, list_objects);
  command->footer(
      "\nCase counts. In texts that may occur anywhere, \"a|b\" means either, \"(ab)?\" none or "
      "one.\n"
      "Examples: zolp filter --name Gear --status Released --host site.db\n"
      "          zolp filter 'GB-1*' --type '^(Item|Dataset)$' --regex --host site.db\n"
      "          zolp filter --type Item --status '^$' --regex --host site.db   without a status");
}

}  // namespace tool
