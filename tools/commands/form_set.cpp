/** @file `zolp form set`: sets fields of a form. */
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/form.h"
#include "error.h"
#include "failures.h"
#include "ork/obj.h"
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
    require_success(ZOLP_verify_state_and_lock_of_object(object), "the form cannot be locked",
                    "wait until it is free, or log in as somebody who may change it");
  }
  ~Lock() { forget_failure(OBJ_refresh(object_, 0)); }  // the session's end unlocks it, too
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  tag object_;
};

/** Sets fields. @return the form as it is then. */
Json change(tag form, const Fields& fields) {
  const LibraryCall call;
  const Lock lock(form);
  for (const auto& [name, text] : fields) {
    require_success(ZOLP_FORM_set_value(form, name.c_str(), text.c_str()), "cannot set " + name,
                    "nothing was changed, correct it and start again");
  }
  Json card = form_card(form);
  // The last that can fail: what is saved stays.
  require_success(OBJ_save(form), "cannot save the form", "nothing was changed, start again");
  return card;
}

void set_values(const FormOptions& options) {
  const Fields fields = parse_texts(options.texts);
  print_form(change(find_form(options), fields), options.json);
}

}  // namespace

void add_form_set(CommandParser& group) {
  const auto options = std::make_shared<FormOptions>();
  add_form_command(group, "set", "Set fields of a form, all of them or none",
                   "\nAn empty text takes the value away. Dates are written in the site's format.\n"
                   "Example: zolp form set SH-200/A UGezPerson=dora UGezDate=21-Nov-2026",
                   options, set_values)
      .add_option("FIELD=TEXT", options->texts, "Fields and their texts")
      .required()
      .type_name("");
}

}  // namespace tool
