/** @file The program's commands as data: what help, manual pages and completion are made from. */
#pragma once

#include <string>
#include <vector>

namespace tool {

class CommandParser;

/** An option, or an argument without a name of its own on the command line. */
struct Parameter {
  std::vector<std::string> names;   /**< "-u", "--host"; empty for a positional argument */
  std::string value;                /**< "FILE"; empty for a flag */
  std::string description;          /**< what it is, in a line */
  std::string preset;               /**< what holds when it is left out, if that is a plain value */
  std::string range;                /**< "0 - 1000"; empty for any value */
  std::vector<std::string> choices; /**< the only values; empty for any */
  std::vector<std::string> excludes; /**< options that cannot be given beside it */
  bool is_required = false;
  bool is_repeatable = false;

  bool is_positional() const { return names.empty(); }
  bool is_flag() const { return value.empty(); }
};

struct Command {
  std::vector<std::string> path; /**< "zolp", "bom", "tree" */
  std::string summary;
  std::string notes; /**< what stands below the options in its help */
  std::vector<Parameter> parameters;
  std::vector<Command> commands; /**< of a group, or of the program */

  const std::string& name() const { return path.back(); }
  /** The path with something between its parts. */
  std::string full_name(const std::string& between = " ") const;
  /** "zolp host init [OPTIONS] FILE" */
  std::string usage() const;
  /** The command of a name below this one; null for none. */
  const Command* find(const std::string& name) const;
  /** The option of a name; null for none. */
  const Parameter* option(const std::string& name) const;
  std::vector<const Parameter*> positionals() const;
  std::vector<const Parameter*> options() const;
};

/** Describes a command and all below it; hidden ones and hidden options are left out. */
Command describe(const CommandParser& parser);

}  // namespace tool
