/** @file What the subcommands of `zolp bom` share. */
#pragma once

#include <memory>
#include <string>

#include "command_line/parser.h"
#include "login.h"
#include "picture.h"
#include "structure.h"

namespace tool {

struct BomOptions {
  std::string revision, rule, view, wanted;
  std::string class_name = "ItemRevision";
  int start = 10;
  int increment = 10;
  int depth = 100;
  bool recursive = false;
  bool save = false;
  bool dry_run = false;
  bool json = false;
  PictureOptions picture;
  LoginOptions login;
};

/** Opens the structure that the options name. */
inline Window open_window(const BomOptions& options) {
  return {options.revision, options.rule, options.view};
}

/** Adds a command that works on the structure of a revision. */
CommandParser& add_bom_command(CommandParser& group, const std::shared_ptr<BomOptions>& options,
                               const char* name, const char* description, const char* footer,
                               void (*run)(const BomOptions&));

void add_depth(CommandParser& command, BomOptions& options);
void add_recursive(CommandParser& command, BomOptions& options);
void add_numbering(CommandParser& command, BomOptions& options);

// The subcommands; each adds itself.
void add_bom_add(CommandParser& group);
void add_bom_remove(CommandParser& group);
void add_bom_tree(CommandParser& group);
void add_bom_size(CommandParser& group);
void add_bom_resequence(CommandParser& group);
void add_bom_pack(CommandParser& group);
void add_bom_numbers(CommandParser& group);
void add_bom_find(CommandParser& group);
void add_bom_export(CommandParser& group);

}  // namespace tool
