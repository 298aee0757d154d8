/** @file What the subcommands of `zolp form` share. */
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

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
CLI::App* add_form_command(CLI::App& group, const char* name, const char* description,
                           const char* footer, const std::shared_ptr<FormOptions>& options,
                           void (*work)(const FormOptions&));

// The subcommands; each adds itself.
void add_form_show(CLI::App& group);
void add_form_list(CLI::App& group);
void add_form_get(CLI::App& group);
void add_form_set(CLI::App& group);

}  // namespace tool
