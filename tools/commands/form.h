/** @file What the subcommands of `zolp form` share. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command_line/parser.h"
#include "login.h"
#include "ork/ork.h"
#include "text.h"

namespace tool {

struct FormOptions {
  std::string object;             /**< whose master form it is, or a dataset's name */
  std::string reference;          /**< of the dataset */
  std::string field;              /**< to read */
  std::vector<std::string> texts; /**< to set, "field=text" */
  bool json = false;
  LoginOptions login;
};

/** The master form of an object, or the form of a dataset. */
tag find_form(const FormOptions& options);

/** A field as users see it. */
std::string ask_value(tag form, const std::string& field);

/** The fields of a form. */
Json form_card(tag form);

void print_form(const Json& card, bool as_json);

/** Adds a subcommand that works on a form in a session. */
CommandParser& add_form_command(CommandParser& group, const char* name, const char* description,
                                const char* footer, const std::shared_ptr<FormOptions>& options,
                                void (*work)(const FormOptions&));

// The subcommands; each adds itself.
void add_form_show(CommandParser& group);
void add_form_list(CommandParser& group);
void add_form_get(CommandParser& group);
void add_form_set(CommandParser& group);

}  // namespace tool
