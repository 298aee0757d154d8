/** @file What the subcommands of `zolp dataset` share. */
#pragma once

#include <memory>
#include <string>

#include "command_line/parser.h"
#include "datasets.h"
#include "login.h"

namespace tool {

struct DatasetOptions {
  std::string dataset;
  std::string item, revision; /**< what the dataset belongs to; may be empty */
  std::string file, name, description, type = text_type, reference, folder = ".", target;
  bool json = false;
  LoginOptions login;
};

/** The item or revision that the options name; NULLTAG when they name none. */
inline tag find_owner(const DatasetOptions& options) {
  return find_owner(options.item, options.revision);
}

inline tag find_dataset(const DatasetOptions& options) {
  return find_dataset(find_owner(options), options.dataset);
}

/** Refuses what would be refused when the files are copied already. */
void check_length(const char* what, const std::string& text, std::size_t limit);

/** Adds a subcommand with the options that all of them have; what it does it does in a session. */
CommandParser& add_dataset_command(CommandParser& group, const char* name, const char* description,
                                   const char* footer,
                                   const std::shared_ptr<DatasetOptions>& options,
                                   void (*work)(const DatasetOptions&));

void add_owner_options(CommandParser& command, DatasetOptions& options, bool is_required);
void add_dataset_argument(CommandParser& command, DatasetOptions& options);

// The subcommands; each adds itself.
void add_dataset_import(CommandParser& group);
void add_dataset_export(CommandParser& group);
void add_dataset_export_images(CommandParser& group);
void add_dataset_copy(CommandParser& group);
void add_dataset_show(CommandParser& group);
void add_dataset_list(CommandParser& group);
void add_dataset_delete(CommandParser& group);

}  // namespace tool
