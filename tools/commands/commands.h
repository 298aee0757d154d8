/** @file The groups of subcommands; each adds itself to the program's command line. */
#pragma once

#include <CLI/CLI.hpp>

namespace tool {

void add_host_commands(CLI::App& program);
void add_bom_commands(CLI::App& program);
void add_checkout_commands(CLI::App& program);
void add_clone_command(CLI::App& program);
void add_completion_commands(CLI::App& program);
void add_dataset_commands(CLI::App& program);
void add_date_command(CLI::App& program);
void add_filter_command(CLI::App& program);
void add_find_command(CLI::App& program);
void add_form_commands(CLI::App& program);
void add_handler_commands(CLI::App& program);
void add_item_commands(CLI::App& program);
void add_job_commands(CLI::App& program);
void add_list_commands(CLI::App& program);
void add_manual_command(CLI::App& program);
void add_show_command(CLI::App& program);
void add_trace_commands(CLI::App& program);

}  // namespace tool
