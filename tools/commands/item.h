/** @file What the subcommands of `zolp item` share. */
#pragma once

#include <CLI/CLI.hpp>

namespace tool {

// The subcommands; each adds itself.
void add_item_create(CLI::App& group);
void add_item_revise(CLI::App& group);

}  // namespace tool
