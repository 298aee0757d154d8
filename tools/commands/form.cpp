/** @file `zolp form`: the fields of forms. */
#include "commands/form.h"

#include <array>
#include <cstdio>
#include <utility>

#include "commands/commands.h"
#include "error.h"
#include "object_json.h"
#include "objects.h"
#include "ork/dset.h"
#include "ork/form.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "platform_block.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

constexpr const char* release_type = "FreigabeInfo";
constexpr int no_single_master_form = 919999;

using Fields = std::vector<std::pair<std::string, std::string>>;

tag find_form_of_dataset(const FormOptions& options) {
  tag dataset = NULLTAG;
  require(DSET_find_dataset(options.object.c_str(), &dataset), "dataset " + options.object);
  if (dataset == NULLTAG) {
    throw Error("there is no dataset " + options.object, "see \"zolp find '*'\" for what there is");
  }
  tag form = NULLTAG;
  const LibraryCall call;
  require(ZOLP_GetNamedRefForm(dataset, options.reference.c_str(), &form, 0, nullptr),
          "the form of dataset " + options.object);
  int count = 0;
  char** names = nullptr;
  const int status = form != NULLTAG ? FORM_list_fields(form, &count, &names) : ORK_ok;
  const PlatformBlock<char*> block(names);
  require(status, "the form of dataset " + options.object, {FORM_not_a_form});
  if (form == NULLTAG || status != ORK_ok) {
    throw Error("dataset " + options.object + " has no form as " + options.reference,
                "see \"zolp dataset show\" for what it has");
  }
  return form;
}

/** An array of texts that are blocks of their own. */
class TextBlocks {
 public:
  TextBlocks(int count, char** texts) : count_(count), texts_(texts) {}
  ~TextBlocks() {
    for (int i = 0; texts_ != nullptr && i < count_; ++i) {
      MEM_free(texts_.get()[i]);
    }
  }
  TextBlocks(const TextBlocks&) = delete;
  TextBlocks& operator=(const TextBlocks&) = delete;

  const char* at(int place) const {
    if (texts_ == nullptr || texts_.get()[place] == nullptr) {
      throw std::bad_alloc();  // the library could not copy it
    }
    return texts_.get()[place];
  }

 private:
  int count_;
  PlatformBlock<char*> texts_;
};

/** Release information is read as a whole. */
Fields describe_release(tag form) {
  char* type = nullptr;
  int count = 0;
  char** names = nullptr;
  char** display_names = nullptr;
  int* lengths = nullptr;
  char** values = nullptr;
  const int status =
      ZOLP_FORM_describe(form, &type, &count, &names, &display_names, &lengths, &values);
  const PlatformBlock<char> type_block(type);
  const PlatformBlock<int> length_block(lengths);
  const TextBlocks all_names(count, names);
  const TextBlocks all_display_names(count, display_names);
  const TextBlocks all_values(count, values);
  require(status, "the form", {STORE_unknown_attribute});  // a field that it lacks is empty
  Fields fields;
  for (int i = 0; i < count; ++i) {
    fields.emplace_back(all_names.at(i), all_values.at(i));
  }
  return fields;
}

Fields read_fields(tag form) {
  int count = 0;
  char** names = nullptr;
  require(FORM_list_fields(form, &count, &names), "the form's fields");
  const PlatformBlock<char*> block(names);
  Fields fields;
  for (int i = 0; i < count; ++i) {
    fields.emplace_back(names[i], ask_value(form, names[i]));
  }
  return fields;
}

}  // namespace

tag find_form(const FormOptions& options) {
  if (!options.reference.empty()) {
    return find_form_of_dataset(options);
  }
  tag form = NULLTAG;
  const tag object = find_object(options.object);
  const LibraryCall call;
  const int status = ZOLP_GetMasterForm(object, &form);
  if (status == no_single_master_form && !has_failed()) {
    throw Error(options.object + " does not have exactly one master form",
                "see \"zolp show " + options.object + "\" for its relations");
  }
  require(status, "the master form of " + options.object);
  return form;
}

std::string ask_value(tag form, const std::string& field) {
  std::string value(STORE_max_string_length + 1, '\0');
  int length = 0;
  const int status =
      ZOLP_FORM_ask_value(form, field.c_str(), STORE_max_string_length, value.data(), &length);
  if (status == STORE_unknown_attribute) {
    throw Error("the form has no field " + field, "see \"zolp form show\" for its fields");
  }
  require(status, "field " + field);
  value.resize(static_cast<std::size_t>(length));
  return value;
}

Json form_card(tag form) {
  const std::string type = type_of(form);
  const Fields fields = [&] {
    const LibraryCall call;
    return type == release_type ? describe_release(form) : read_fields(form);
  }();
  Json values = Json::object();
  for (const auto& [name, value] : fields) {
    values[name] = value;
  }
  Json card = object_json(form);
  card["fields"] = std::move(values);
  return card;
}

void print_form(const Json& card, bool as_json) {
  if (as_json) {
    return print_json(card);
  }
  std::puts(printable(card["id"].get<std::string>() + " (" + card["type"].get<std::string>() + ")")
                .c_str());
  Table table({"  field", "value"});
  for (const auto& [name, value] : card["fields"].items()) {
    table.add_row({"  " + name, value});
  }
  table.print();
}

CommandParser& add_form_command(CommandParser& group, const char* name, const char* description,
                                const char* footer, const std::shared_ptr<FormOptions>& options,
                                void (*work)(const FormOptions&)) {
  CommandParser& command = group.add_command(name, description);
  command
      .add_option("ID", options->object,
                  "Item id, or item id/revision id, whose master form it is; with --reference, "
                  "name of a dataset")
      .required()
      .type_name("");
  command
      .add_option("--reference", options->reference,
                  "Reference under which the dataset holds the form")
      .type_name("NAME");
  work_in_session(command, options, work);
  command.footer(footer);
  return command;
}

void add_form_commands(CommandParser& program) {
  CommandParser& group = program.add_group("form", "List, read and fill forms");
  group.footer(R"(
Examples:
  zolp form show SH-200/A --host site.db          all fields
  zolp form get SH-200/A UGezPerson --host site.db
  zolp form set SH-200/A UGezPerson=dora UGezDate=21-Nov-2026 --host site.db

"zolp form COMMAND --help" says more about each command.)");
  add_form_list(group);
  add_form_show(group);
  add_form_get(group);
  add_form_set(group);
}

}  // namespace tool
