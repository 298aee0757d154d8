/** @file What the subcommands of `zolp list` share. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "streams.h"

namespace tool {

/** A list to read. */
struct ListOptions {
  std::string file;
  Encoding encoding = Encoding::utf8;
};

/** Adds the list, which may be standard input, as an argument, and its encoding. */
void add_list_file(CLI::App& command, ListOptions& options, const std::string& what);

void add_encoding(CLI::App& command, Encoding& encoding);

/** Adds the text between item id and revision. */
void add_separator(CLI::App& command, std::string& separator);
void require_separator(const std::string& separator);

// The subcommands; each adds itself.
void add_list_check(CLI::App& group);
void add_list_clean(CLI::App& group);
void add_list_dedupe(CLI::App& group);
void add_list_scan(CLI::App& group);
void add_list_items(CLI::App& group);
void add_list_tree(CLI::App& group);

}  // namespace tool
