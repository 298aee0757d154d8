/** @file The subcommands of `zolp list`; each adds itself. */
#pragma once

#include <CLI/CLI.hpp>

namespace tool {

void add_list_clean(CLI::App& group);
void add_list_dedupe(CLI::App& group);
void add_list_scan(CLI::App& group);
void add_list_items(CLI::App& group);
void add_list_tree(CLI::App& group);

}  // namespace tool
