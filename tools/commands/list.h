/** @file What the subcommands of `zolp list` share. */
#pragma once

#include <string>

#include "command_line/parser.h"
#include "streams.h"

namespace tool {

/** A list to read. */
struct ListOptions {
  std::string file;
  Encoding encoding = Encoding::utf8;
};

/** Adds the list, which may be standard input, as an argument, and its encoding. */
void add_list_file(CommandParser& command, ListOptions& options, const std::string& what);

void add_encoding(CommandParser& command, Encoding& encoding);

/** Adds the text between item id and revision. */
void add_separator(CommandParser& command, std::string& separator);
void require_separator(const std::string& separator);

// The subcommands; each adds itself.
void add_list_check(CommandParser& group);
void add_list_clean(CommandParser& group);
void add_list_dedupe(CommandParser& group);
void add_list_scan(CommandParser& group);
void add_list_items(CommandParser& group);
void add_list_tree(CommandParser& group);

}  // namespace tool
