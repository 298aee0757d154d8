/** @file The groups of subcommands; each adds itself to the program's command line. */
#pragma once

#include "command_line/parser.h"

namespace tool {

void add_host_commands(CommandParser& program);
void add_bom_commands(CommandParser& program);
void add_checkout_commands(CommandParser& program);
void add_clone_command(CommandParser& program);
void add_completion_commands(CommandParser& program);
void add_dataset_commands(CommandParser& program);
void add_date_command(CommandParser& program);
void add_filter_command(CommandParser& program);
void add_find_command(CommandParser& program);
void add_form_commands(CommandParser& program);
void add_handler_commands(CommandParser& program);
void add_item_commands(CommandParser& program);
void add_job_commands(CommandParser& program);
void add_list_commands(CommandParser& program);
void add_manual_command(CommandParser& program);
void add_schema_command(CommandParser& program);
void add_show_command(CommandParser& program);
void add_trace_commands(CommandParser& program);

}  // namespace tool
