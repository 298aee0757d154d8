// OBJ_: application objects.

#include "ork/obj.h"

#include "access.h"
#include "datasets.h"
#include "display.h"
#include "flow_engine.h"
#include "handout.h"
#include "operation.h"
#include "ork/access.h"
#include "ork/store.h"
#include "texts.h"

namespace host {

namespace {

enum class Holds { one_value, any_number };

/** Values of an attribute of a kind, which the session's user may read. */
const Values& readable_values(tag object, const std::string& attribute, Kind kind, Holds wanted) {
  require_privilege(object, ACCESS_privilege_read);
  const Values& values = store().values(object, attribute);
  const Attribute& definition = *store().class_of(object).find_attribute(attribute);
  if (definition.kind != kind || (definition.list && wanted == Holds::one_value)) {
    refuse(STORE_wrong_value_type,
           attribute + " holds " +
               (definition.list ? "a list of values of kind " : "a value of kind ") +
               name_of(definition.kind));
  }
  return values;
}

/** The value of an attribute that holds one; `Value{}` where there is none. */
template <typename Value>
Value readable_value(tag object, const char* attribute, Kind kind) {
  require_all(attribute);
  const Values& values = readable_values(object, attribute, kind, Holds::one_value);
  return values.empty() ? Value{} : std::get<Value>(values.front());
}

/** Deletes an object, the parts that go with it, and what the vault has of them. */
void delete_object(tag object) {
  Store& objects = store();
  Vault& vault = site().vault();
  const std::vector<tag> parts = parts_to_delete(objects, object);
  std::vector<std::string> contents;
  const auto announce_contents = [&](tag deleted) {
    if (objects.is_a(deleted, "VeloFile")) {
      contents.push_back(objects.text(deleted, "contents"));
      vault.announce(contents.back());
    }
  };
  announce_contents(object);
  for (const tag part : parts) {
    require_privilege(part, ACCESS_privilege_delete);
    announce_contents(part);
  }
  objects.remove(object, parts);
  if (!objects.database().holds_changes()) {
    vault.remove_unclaimed(objects, contents);  // or else when the session ends
  }
}

/** What refuses the lock is remembered, for customisations that go on without it. */
void lock_for_change(tag object) {
  try {
    require_privilege(object, ACCESS_privilege_write);
    store().lock(object);
  } catch (const Failure& failure) {
    store().note_refused_lock(object, error_text(failure.status()) + ": " + failure.detail());
    throw;
  }
}

}  // namespace

}  // namespace host

using host::Kind;
using host::Needs;
using host::operation;

int OBJ_init_module(void) {
  return operation("OBJ_init_module", Needs::session, [] {});
}

int OBJ_load(tag object) {
  return operation("OBJ_load", Needs::session, [&] {
    host::require_privilege(object, ACCESS_privilege_read);
    host::store().load(object);
  });
}

int OBJ_lock(tag object) {
  return operation("OBJ_lock", Needs::session, [&] { host::lock_for_change(object); });
}

int OBJ_refresh(tag object, logical for_change) {
  return operation("OBJ_refresh", Needs::session, [&] {
    if (for_change != 0) {
      host::lock_for_change(object);
    } else {
      host::store().refresh(object, false);
    }
  });
}

int OBJ_save(tag object) {
  return operation("OBJ_save", Needs::session, [&] {
    host::require_privilege(object, ACCESS_privilege_write);
    host::store().save(object);
    host::flow::continue_after_save(object);
  });
}

int OBJ_unload(tag object) {
  return operation("OBJ_unload", Needs::session, [&] { host::store().unload(object); });
}

int OBJ_delete(tag object) {
  return operation("OBJ_delete", Needs::session, [&] {
    host::require_privilege(object, ACCESS_privilege_delete);
    if (host::store().is_a(object, "Job")) {
      host::flow::delete_job(object);
    } else {
      host::delete_object(object);
    }
  });
}

int OBJ_get_owner(tag object, tag* owner) {
  host::clear(owner);
  return operation("OBJ_get_owner", Needs::session, [&] {
    host::require_all(owner);
    *owner = host::store().reference(object, "owning_user");
  });
}

int OBJ_get_group(tag object, tag* group) {
  host::clear(group);
  return operation("OBJ_get_group", Needs::session, [&] {
    host::require_all(group);
    *group = host::store().reference(object, "owning_group");
  });
}

int OBJ_get_value_tags(tag object, const char* attribute, int* count, tag** values) {
  host::clear(count);
  host::clear(values);
  return operation("OBJ_get_value_tags", Needs::session, [&] {
    host::require_all(attribute, count, values);
    std::vector<tag> objects;
    for (const host::Scalar& value :
         host::readable_values(object, attribute, Kind::reference, host::Holds::any_number)) {
      objects.push_back(std::get<tag>(value));
    }
    host::hand_out(objects, count, values);
  });
}

int OBJ_get_value_string(tag object, const char* attribute, char** value) {
  host::clear(value);
  return operation("OBJ_get_value_string", Needs::session, [&] {
    host::require_all(value);
    *value = host::hand_out(host::readable_value<std::string>(object, attribute, Kind::text));
  });
}

int OBJ_get_value_date(tag object, const char* attribute, date_s* value) {
  host::clear(value);
  return operation("OBJ_get_value_date", Needs::session, [&] {
    host::require_all(value);
    *value = host::readable_value<date_s>(object, attribute, Kind::date);
  });
}

int OBJ_set_value_string(tag object, const char* attribute, const char* value) {
  return operation("OBJ_set_value_string", Needs::session, [&] {
    host::require_all(attribute, value);
    host::store().set(object, attribute, std::string(value));
  });
}

int OBJ_UIF_get_value(tag object, const char* attribute, char** value) {
  host::clear(value);
  return operation("OBJ_UIF_get_value", Needs::session, [&] {
    host::require_all(attribute, value);
    host::require_privilege(object, ACCESS_privilege_read);
    *value = host::hand_out(host::display_value(host::store(), object, attribute));
  });
}

int OBJ_UIF_set_value(tag object, const char* attribute, const char* value) {
  return operation("OBJ_UIF_set_value", Needs::session, [&] {
    host::require_all(attribute, value);
    host::set_display_value(host::store(), object, attribute, value);
  });
}
