/** @file `zolp form set`: sets fields of a form. */
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/form.h"
#include "error.h"
#include "ork/err.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "site.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

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
    ERR_clear_errors();
    ZOLP_verify_state_and_lock_of_object(object);
    int lock = STORE_no_lock;
    STORE_get_instance_lock(object, &lock);
    if (lock != STORE_modify_lock) {
      const int status = last_platform_error();
      throw Error("the form cannot be locked (" + platform_error_text(status) + ")",
                  advice_for(status, "start again"));
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
                    advice_for(status, "nothing was changed, correct it and start again"));
      }
    }
    if (const int status = OBJ_save(form); status != ORK_ok) {
      throw Error("cannot save the form (" + platform_error_text(status) + ")",
                  advice_for(status, "nothing was changed, start again"));
    }
  }
  print_form(form, options.json);
}

}  // namespace

void add_form_set(CLI::App& group) {
  const auto options = std::make_shared<FormOptions>();
  add_form_command(group, "set", "Set fields of a form, all of them or none",
                   "\nAn empty text takes the value away. Dates are written in the site's format.\n"
                   "Example: zolp form set SH-200/A UGezPerson=dora UGezDate=21-Nov-2026",
                   options, set_values)
      ->add_option("FIELD=TEXT", options->texts, "Fields and their texts")
      ->required()
      ->type_name("");
}

}  // namespace tool
