/** @file `zolp form`: the fields of forms. */
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "error.h"
#include "login.h"
#include "objects.h"
#include "ork/dset.h"
#include "ork/form.h"
#include "ork/obj.h"
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

struct FormOptions {
  std::string object;             /**< whose master form it is, or a dataset's name */
  std::string reference;          /**< of the dataset */
  std::string field;              /**< to read */
  std::vector<std::string> texts; /**< to set, "field=text" */
  bool json = false;
  LoginOptions login;
};

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
  const bool is_form = form != NULLTAG && FORM_list_fields(form, &count, &names) == ORK_ok;
  const PlatformBlock<char*> block(names);
  if (!is_form) {
    throw Error("dataset " + options.object + " has no form as " + options.reference,
                "see \"zolp dataset show\" for what it has");
  }
  return form;
}

tag find_form(const FormOptions& options) {
  if (!options.reference.empty()) {
    return find_form_of_dataset(options);
  }
  tag form = NULLTAG;
  const tag object = find_object(options.object);
  const LibraryCall call;
  const int status = ZOLP_GetMasterForm(object, &form);
  if (status == no_single_master_form) {
    throw Error(options.object + " does not have exactly one master form",
                "see \"zolp show " + options.object + "\" for its relations");
  }
  require(status, "the master form of " + options.object);
  return form;
}

std::string type_of(tag form) {
  std::array<char, WSO_name_size + 1> type{};
  require(WSO_get_object_type(form, type.data()), "the form's type");
  return type.data();
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

/** An array of texts that are blocks of their own. */
class TextBlocks {
 public:
  TextBlocks(int count, char** texts) : count_(count), texts_(texts) {}
  ~TextBlocks() {
    for (int i = 0; i < count_; ++i) {
      MEM_free(texts_.get()[i]);
    }
  }
  TextBlocks(const TextBlocks&) = delete;
  TextBlocks& operator=(const TextBlocks&) = delete;

  const char* at(int place) const { return texts_.get()[place]; }

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
  require(status, "the form");
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

void print_form(tag form, bool json) {
  const std::string type = type_of(form);
  const Fields fields = [&] {
    const LibraryCall call;
    return type == release_type ? describe_release(form) : read_fields(form);
  }();
  if (json) {
    Json values = Json::object();
    for (const auto& [name, value] : fields) {
      values[name] = value;
    }
    print_json({{"name", id_of(form)}, {"type", type}, {"fields", values}});
    return;
  }
  std::printf("%s (%s)\n", printable(id_of(form)).c_str(), printable(type).c_str());
  Table table({"  field", "value"});
  for (const auto& [name, value] : fields) {
    table.add_row({"  " + name, value});
  }
  table.print();
}

void show_form(const FormOptions& options) {
  print_form(find_form(options), options.json);
}

void get_value(const FormOptions& options) {
  const tag form = find_form(options);
  const std::string value = [&] {
    const LibraryCall call;
    return ask_value(form, options.field);
  }();
  if (options.json) {
    print_json({{"field", options.field}, {"value", value}});
  } else {
    std::puts(value.c_str());
  }
}

/** "field=text"; a text may hold a "=". */
Fields parse_texts(const std::vector<std::string>& texts) {
  Fields fields;
  for (const std::string& text : texts) {
    const std::size_t end = text.find('=');
    if (end == 0 || end == std::string::npos) {
      throw usage_error("\"" + text + "\" sets no field", "write FIELD=TEXT");
    }
    fields.emplace_back(text.substr(0, end), text.substr(end + 1));
  }
  return fields;
}

/** A form's lock; what is not saved under it is dropped. */
class Lock {
 public:
  explicit Lock(tag object) : object_(object) {
    const int status = ZOLP_verify_state_and_lock_of_object(object);
    if (status != ORK_ok) {
      throw Error("the form cannot be locked (" + platform_error_text(status) + ")",
                  "wait until it is free, or log in as somebody who may change it");
    }
  }
  ~Lock() { OBJ_refresh(object_, 0); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  tag object_;
};

void set_values(const FormOptions& options) {
  const Fields fields = parse_texts(options.texts);
  const tag form = find_form(options);
  {
    const LibraryCall call;
    const Lock lock(form);
    for (const auto& [name, text] : fields) {
      const int status = ZOLP_FORM_set_value(form, name.c_str(), text.c_str());
      if (status != ORK_ok) {
        throw Error("cannot set " + name + " (" + platform_error_text(status) + ")",
                    "nothing was changed, correct it and start again");
      }
    }
    if (const int status = OBJ_save(form); status != ORK_ok) {
      throw Error("cannot save the form (" + platform_error_text(status) + ")",
                  "nothing was changed, start again");
    }
  }
  print_form(form, options.json);
}

using Options = std::shared_ptr<FormOptions>;

CLI::App* add_command(CLI::App& parent, const char* name, const char* description,
                      const char* footer, const Options& options,
                      void (*work)(const FormOptions&)) {
  CLI::App* const command = parent.add_subcommand(name, description);
  command
      ->add_option("ID", options->object,
                   "Item id, or item id/revision id, whose master form it is; with --reference, "
                   "name of a dataset")
      ->required()
      ->type_name("");
  command
      ->add_option("--reference", options->reference,
                   "Reference under which the dataset holds the form")
      ->type_name("NAME");
  work_in_session(*command, options, work);
  command->footer(footer);
  return command;
}

}  // namespace

void add_form_commands(CLI::App& program) {
  CLI::App* const forms = program.add_subcommand("form", "Read and fill forms");
  forms->require_subcommand(1);
  add_command(*forms, "show", "Print the fields of a form",
              "\nExamples: zolp form show SH-200/A\n"
              "          zolp form show \"Front view\" --reference Release --json",
              std::make_shared<FormOptions>(), show_form);
  const auto get = std::make_shared<FormOptions>();
  add_command(*forms, "get", "Print one field of a form",
              "\nExample: zolp form get SH-200/A UGezPerson", get, get_value)
      ->add_option("FIELD", get->field, "Name of the field")
      ->required()
      ->type_name("");
  const auto set = std::make_shared<FormOptions>();
  add_command(*forms, "set", "Set fields of a form, all of them or none",
              "\nAn empty text takes the value away. Dates are written in the site's format.\n"
              "Example: zolp form set SH-200/A UGezPerson=dora UGezDate=21-Nov-2026",
              set, set_values)
      ->add_option("FIELD=TEXT", set->texts, "Fields and their texts")
      ->required()
      ->type_name("");
}

}  // namespace tool
