/** @file What the subcommands of `zolp bom` share. */
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "login.h"
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
  LoginOptions login;
};

/** Opens the structure that the options name. */
inline Window open_window(const BomOptions& options) {
  return {options.revision, options.rule, options.view};
}

/** Adds a command that works on the structure of a revision. */
CLI::App* add_bom_command(CLI::App& group, const std::shared_ptr<BomOptions>& options,
                          const char* name, const char* description, const char* footer,
                          void (*run)(const BomOptions&));

void add_depth(CLI::App& command, BomOptions& options);
void add_recursive(CLI::App& command, BomOptions& options);
void add_numbering(CLI::App& command, BomOptions& options);

// The subcommands; each adds itself.
void add_bom_add(CLI::App& group);
void add_bom_remove(CLI::App& group);
void add_bom_tree(CLI::App& group);
void add_bom_size(CLI::App& group);
void add_bom_resequence(CLI::App& group);
void add_bom_pack(CLI::App& group);
void add_bom_numbers(CLI::App& group);
void add_bom_find(CLI::App& group);
void add_bom_export(CLI::App& group);

}  // namespace tool
