/** @file `zolp filter`: the objects of a site that pass the library's filters. */
#include <regex.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "error.h"
#include "failures.h"
#include "login.h"
#include "object_rows.h"
#include "objects.h"
#include "text.h"
#include "zolp_basetool.h"
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

/** What the library warns of as long as it lives; the trace gets none of it. */
class Warnings {
 public:
  Warnings() : level_(ZOLP_trace_state.level) {
    ZOLP_SetTraceLevel(ZOLP_LEVEL_WARNING);
    ZOLP_SetTraceWriter(
        [](int level, const char* line, std::size_t, void* context) {
          if (level == ZOLP_LEVEL_WARNING) {
            static_cast<Warnings*>(context)->text_.append(line);
          }
        },
        this);
  }
  ~Warnings() {
    ZOLP_SetTraceWriter(nullptr, nullptr);
    ZOLP_SetTraceLevel(level_);
  }
  Warnings(const Warnings&) = delete;
  Warnings& operator=(const Warnings&) = delete;

  std::string text() const { return trimmed(text_); }

 private:
  int level_;
  std::string text_;
};

/** The expression that the library makes of a text that is none. */
std::string escaped(const std::string& text) {
  std::string expression;
  for (const char letter : text) {
    expression += std::strchr("*.+[]{}^$\\", letter) != nullptr ? "\\" : "";
    expression += letter;
  }
  return expression;
}

/** Refuses an expression that does not compile: it would let nothing pass. */
void require_compiles(const char* option, const std::string& expression) {
  regex_t compiled;
  const int failure = regcomp(&compiled, expression.c_str(), REG_EXTENDED);
  if (failure != 0) {
    std::array<char, 256> reason{};
    regerror(failure, &compiled, reason.data(), reason.size());
    throw usage_error(std::string(option) + " is no expression (" + reason.data() + ")",
                      "put a \"\\\" before what is to stand for itself, with --regex");
  }
  regfree(&compiled);
}

/** Refuses expressions that the library refuses, in order to protect itself, or cannot compile. */
void check_expressions(const FilterOptions& options, const std::vector<tag>& objects) {
  const char* const type = options.whole ? "" : options.type.c_str();
  const char* const name = options.whole ? "" : options.name.c_str();
  for (const tag object : objects) {
    const Warnings warnings;
    bool ignored = false;
    const bool is_read = ZOLP_ApplyRegExpFilter(object, name, "", &ignored) == ORK_ok &&
                         ZOLP_ApplyRegExpFilterExt(object, "", type, options.status.c_str(),
                                                   &ignored, !options.expressions) == ORK_ok;
    if (!warnings.text().empty()) {
      throw usage_error("an expression is refused (" + warnings.text() + ")", "give a simpler one");
    }
    if (is_read) {
      break;
    }
  }
  forget_failures();  // they are told when the object is filtered
  const auto expression = [&options](const std::string& text) {
    return options.expressions ? text : escaped(text);
  };
  require_compiles("--name", escaped(name));
  require_compiles("--type", expression(type));
  require_compiles("--status", expression(options.status));
}

/** Filters by name and type, then by status; the library has no function for all of them. */
bool passes(tag object, const FilterOptions& options) {
  const char* name = options.name.c_str();
  const char* type = options.type.c_str();
  bool answer = false;
  if (options.whole) {
    require(ZOLP_ApplyFilter(object, name, type, &answer, false), "an object");
  } else {
    const char* type_text = options.expressions ? "" : type;
    require(ZOLP_ApplyRegExpFilter(object, name, type_text, &answer), "an object");
  }
  if (!answer) {
    return false;
  }
  const char* type_expression = options.expressions ? type : "";
  require(ZOLP_ApplyRegExpFilterExt(object, "", type_expression, options.status.c_str(), &answer,
                                    !options.expressions),
          "an object");
  return answer;
}

void list_objects(const FilterOptions& options) {
  const View one_state;
  const std::vector<tag> objects = find_by_pattern(options.candidates);
  check_expressions(options, objects);
  ObjectRows found(options.json);
  for (const tag object : objects) {
    try {
      if (passes(object, options)) {
        found.add(object);
      }
    } catch (const Error&) {
      found.add_unreadable(object, failure_text(ORK_ok));
    }
  }
  found.finish();
}

}  // namespace

void add_filter_command(CommandParser& program) {
  CommandParser& command =
      program.add_command("filter", "List objects that pass filters on name, type and status");
  const auto options = std::make_shared<FilterOptions>();
  command
      .add_option("PATTERN", options->candidates,
                  "Id or name of the objects to filter, as for \"zolp find\"; all when left out")
      .type_name("");
  command.add_option("--name", options->name, "Text that occurs in the name").type_name("TEXT");
  command.add_option("--type", options->type, "Text that occurs in the type").type_name("TEXT");
  command.add_option("--status", options->status, "Text that occurs in one of the release statuses")
      .type_name("TEXT");
  const OptionParser whole =
      command.add_flag("--whole", options->whole, "Compare name and type as a whole");
  command.add_flag("--regex", options->expressions, "Take type and status for regular expressions")
      .excludes(whole);
  work_in_session(command, options, list_objects);
  command.footer(
      "\nCase counts. In texts that may occur anywhere, \"a|b\" means either, \"(ab)?\" none or "
      "one.\n"
      "Examples: zolp filter --name Gear --status Released --host site.db\n"
      "          zolp filter 'GB-1*' --type '^(Item|Dataset)$' --regex --host site.db\n"
      "          zolp filter --type Item --status '^$' --regex --host site.db   without a status");
}

}  // namespace tool
