/** @file `zolp form show` and `zolp form get`: all fields of a form, or one. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/form.h"
#include "site.h"
#include "text.h"

namespace tool {

namespace {

void show_form(const FormOptions& options) {
  const View one_state;
  print_form(form_card(find_form(options)), options.json);
}

void get_value(const FormOptions& options) {
  const View one_state;
  const tag form = find_form(options);
  const std::string value = [&] {
    const LibraryCall call;
    return ask_value(form, options.field);
  }();
  if (options.json) {
    print_json({{"field", options.field}, {"value", value}});
  } else {
    std::puts(printable(value).c_str());
  }
}

}  // namespace

void add_form_show(CommandParser& group) {
  add_form_command(group, "show", "Print the fields of a form",
                   "\nExamples: zolp form show SH-200/A\n"
                   "          zolp form show \"Front view\" --reference Release --json",
                   std::make_shared<FormOptions>(), show_form);
}

void add_form_get(CommandParser& group) {
  const auto options = std::make_shared<FormOptions>();
  add_form_command(group, "get", "Print one field of a form",
                   "\nExample: zolp form get SH-200/A UGezPerson", options, get_value)
      .add_option("FIELD", options->field, "Name of the field")
      .required()
      .type_name("");
}

}  // namespace tool
