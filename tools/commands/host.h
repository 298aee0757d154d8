/** @file What the subcommands of `zolp host` share. */
#pragma once

#include <string>
#include <vector>

#include "command_line/parser.h"
#include "text.h"

namespace tool {

/** Positional arguments, of which the first may stand for the second: the file can be left out. */
std::vector<std::string> given(const std::string& first, const std::string& second);

/**
 * Takes the site's file off the front of positional arguments, where it may be left out. A first
 * argument that looks like a path is never taken for anything else: a mistyped path must not become
 * the name of a preference.
 */
std::string take_site_file(std::vector<std::string>& arguments);

/** One line of text for a value: its name or id when it has one, otherwise its parts. */
std::string value_text(const Json& value);

/** Tags are handles of one process, and all attributes of an object are too long for a table. */
bool is_shown(const std::string& key, const Json& value);

// The subcommands; each adds itself.
void add_host_init(CommandParser& group);
void add_host_seed(CommandParser& group);
void add_host_show(CommandParser& group);
void add_host_pref(CommandParser& group);
void add_host_unlock(CommandParser& group);
void add_host_snapshot(CommandParser& group);
void add_host_restore(CommandParser& group);
void add_host_reset(CommandParser& group);
void add_host_remove(CommandParser& group);
void add_host_check(CommandParser& group);
void add_host_export(CommandParser& group);

}  // namespace tool
