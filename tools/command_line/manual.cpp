#include "command_line/manual.h"

#include <sstream>

#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

/** "--host FILE", "-h, --help" */
std::string spelling(const Parameter& parameter) {
  if (parameter.is_positional()) {
    return parameter.value;
  }
  std::string text;
  for (const std::string& name : parameter.names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return parameter.is_flag() ? text : text + " " + parameter.value;
}

std::string comma_separated(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : ", ") + word;
  }
  return text;
}

/** The description and what else holds, as sentences. */
std::string explanation(const Parameter& parameter) {
  std::string text = parameter.description + ".";
  if (!parameter.choices.empty() && text.find(parameter.choices.front()) == std::string::npos) {
    text += " One of " + comma_separated(parameter.choices) + ".";
  }
  if (!parameter.range.empty()) {
    text += " From " + parameter.range + ".";
  }
  if (!parameter.preset.empty()) {
    text += " " + parameter.preset + " when left out.";
  }
  if (!parameter.excludes.empty()) {
    text += " Not beside " + comma_separated(parameter.excludes) + ".";
  }
  if (parameter.is_required && !parameter.is_positional()) {
    text += " Required.";
  }
  return text;
}

/** Text that `man` takes as it is, wherever it stands in a line. */
std::string roff(const std::string& text) {
  std::string escaped;
  bool is_at_start = true;
  for (const char character : text) {
    if (is_at_start && (character == '.' || character == '\'')) {
      escaped += "\\&";
    }
    is_at_start = character == '\n';
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else if (character == '\'') {
      escaped += "\\(aq";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

void add_parameters(std::ostream& page, const char* heading,
                    const std::vector<const Parameter*>& parameters) {
  if (parameters.empty()) {
    return;
  }
  page << ".SH " << heading << "\n";
  for (const Parameter* const parameter : parameters) {
    page << ".TP\n\\fB" << roff(spelling(*parameter)) << "\\fR"
         << (parameter->is_repeatable ? " ...\n" : "\n") << roff(explanation(*parameter)) << "\n";
  }
}

void add_sections(std::ostream& text, const Command& command) {
  text << "\n## " << command.full_name() << "\n\n"
       << command.summary << ".\n\n    " << command.usage() << "\n";
  if (command.commands.empty()) {
    text << "\n| argument or option | what it is |\n|---|---|\n";
    for (const Parameter& parameter : command.parameters) {
      std::string cell = explanation(parameter);
      for (size_t bar = cell.find('|'); bar != std::string::npos; bar = cell.find('|', bar + 2)) {
        cell.insert(bar, "\\");
      }
      text << "| `" << spelling(parameter) << (parameter.is_repeatable ? " ...` | " : "` | ")
           << cell << " |\n";
    }
  }
  if (const std::string notes = trimmed(command.notes); !notes.empty()) {
    std::istringstream lines(notes);
    text << "\n";
    for (std::string line; std::getline(lines, line);) {
      text << (line.empty() ? "" : "    ") << line << "\n";
    }
  }
  for (const Command& below : command.commands) {
    add_sections(text, below);
  }
}

}  // namespace

std::string man_page(const Command& command) {
  std::ostringstream page;
  page << ".TH " << roff(command.full_name("-"))
       << " 1 \"\" \"zolp " ZOLP_VERSION_TEXT "\" \"zolp\"\n.SH NAME\n"
       << roff(command.full_name("-")) << " \\- " << roff(command.summary)
       << "\n.SH SYNOPSIS\n.nf\n"
       << roff(command.usage()) << "\n.fi\n";
  add_parameters(page, "ARGUMENTS", command.positionals());
  add_parameters(page, "OPTIONS", command.options());
  if (!command.commands.empty()) {
    page << ".SH COMMANDS\n";
    for (const Command& below : command.commands) {
      page << ".TP\n\\fB" << roff(below.full_name("-")) << "\\fR(1)\n"
           << roff(below.summary) << ".\n";
    }
  }
  if (const std::string notes = trimmed(command.notes); !notes.empty()) {
    page << ".SH NOTES\n.nf\n" << roff(notes) << "\n.fi\n";
  }
  if (command.path.size() > 1) {
    std::string above = command.path.front();
    for (size_t i = 1; i + 1 < command.path.size(); ++i) {
      above += "-" + command.path[i];
    }
    page << ".SH SEE ALSO\n\\fB" << roff(above) << "\\fR(1)\n";
  }
  return page.str();
}

std::string markdown_manual(const Command& program) {
  std::ostringstream text;
  text << "# Manual of " << program.name() << "\n\n" << program.summary << "\n\n";
  std::istringstream lines(trimmed(program.notes));
  for (std::string line; std::getline(lines, line);) {
    text << (line.empty() ? "" : "    ") << line << "\n";
  }
  for (const Command& command : program.commands) {
    add_sections(text, command);
  }
  return text.str();
}

}  // namespace tool
