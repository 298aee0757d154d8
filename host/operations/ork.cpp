// ORK_: text services, the command line, login and the session.

#include "ork/ork.h"

#include <filesystem>

#include "arguments.h"
#include "error_stack.h"
#include "operation.h"
#include "ork/access.h"
#include "os.h"
#include "password.h"
#include "texts.h"
#include "utf8_path.h"

namespace host {

namespace {

void open_site_of_environment() {
  if (open_site() != nullptr) {
    return;
  }
  const std::string path = os::environment("ORK_HOST_DB");
  if (path.empty()) {
    refuse(ORK_site_not_available, "no site is open; set ORK_HOST_DB to the path of a site's file");
  }
  // A login does not make a site: a slip in the path would yield one without users.
  std::error_code ignored;
  if (!std::filesystem::exists(utf8_path(path), ignored)) {
    refuse(ORK_site_not_available, "the file that ORK_HOST_DB names does not exist: " + path);
  }
  open_site(path);
  site().belongs_to_session = true;
}

void close_site_of_environment() {
  if (open_site() != nullptr && open_site()->belongs_to_session) {
    close_site();
  }
}

tag find_user(const std::string& user_id) {
  const tag user = store().find_one("User", {{"user_id", user_id}});
  if (user == NULLTAG) {
    refuse(ORK_unknown_user, user_id);
  }
  return user;
}

tag find_group(tag user, const char* name) {
  if (name == nullptr || *name == '\0') {
    const tag group = store().reference(user, "default_group");
    if (group == NULLTAG) {
      refuse(ORK_unknown_group, store().text(user, "user_id") + " has no default group");
    }
    return group;
  }
  const tag group = store().find_one("Group", {{"group_name", std::string(name)}});
  if (group == NULLTAG) {
    refuse(ORK_unknown_group, name);
  }
  return group;
}

tag find_role(tag user, tag group) {
  const tag member =
      store().find_one("GroupMember", {{"member_user", user}, {"member_group", group}});
  if (member == NULLTAG) {
    refuse(ORK_user_not_in_group, "user " + store().text(user, "user_id") + ", group " +
                                      store().text(group, "group_name"));
  }
  return store().reference(member, "member_role");
}

void begin_session(tag user, const char* group_name) {
  Store& objects = store();
  Session opened;
  opened.user = user;
  opened.group = find_group(user, group_name);
  opened.role = find_role(user, opened.group);
  opened.user_id = objects.text(user, "user_id");
  opened.user_name = objects.text(user, "user_name");
  opened.group_name = objects.text(opened.group, "group_name");
  opened.is_administrator = objects.logical_value(user, "is_administrator");
  site().begin_session(std::move(opened));
  clear_errors();
}

/** Logs in the user that `find` yields; a login that fails leaves no site open that it opened. */
template <typename FindUser>
void log_in(const char* group_name, const FindUser& find) {
  if (open_site() != nullptr && open_site()->session) {
    refuse(ORK_already_logged_in, "user " + session().user_id);
  }
  choose_language();
  open_site_of_environment();
  try {
    // Others may have changed users and texts since.
    site().reload_store();
    site().reload_texts();
    begin_session(find(), group_name);
  } catch (...) {
    close_site_of_environment();
    throw;
  }
}

/** Saves what is new or changed in one transaction, with what any save is asked. */
void save_all() {
  const std::vector<tag> changed = store().changed_instances();
  for (const tag object : changed) {
    require_privilege(object, ACCESS_privilege_write);
  }
  store().save(changed);
}

void end_session(bool keep_changes) {
  const int status = guarded([&] {
    if (keep_changes) {
      save_all();
    }
  });
  site().end_session();
  close_site_of_environment();
  if (status != ORK_ok) {
    refuse(status, "unsaved changes were lost at the session's end");
  }
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int ORK_initialize_text_services(int) {
  return operation("ORK_initialize_text_services", Needs::nothing, [] {});
}

const char* ORK_get_cli_argument(const char* option) {
  const char* value = nullptr;
  operation("ORK_get_cli_argument", Needs::nothing, [&] {
    host::require_all(option);
    value = host::find_argument(option);
  });
  return value;
}

int ORK_auto_login(void) {
  return operation("ORK_auto_login", Needs::nothing, [] {
    host::log_in(nullptr, [] {
      const auto user_id = host::store().setting("automatic_login");
      if (!user_id || user_id->empty()) {
        host::refuse(ORK_no_automatic_login);
      }
      return host::find_user(*user_id);
    });
  });
}

int ORK_init_module(const char* user, const char* password, const char* group) {
  return operation("ORK_init_module", Needs::nothing, [&] {
    host::require_all(user, password);
    host::log_in(group, [&] {
      const tag found = host::find_user(user);
      if (!host::is_password(host::site().database(), found, password)) {
        host::refuse(ORK_wrong_password, std::string("user ") + user);
      }
      return found;
    });
  });
}

int ORK_exit_module(logical keep_changes) {
  return operation("ORK_exit_module", Needs::session,
                   [&] { host::end_session(keep_changes != 0); });
}

int ORK_set_journalling(logical on) {
  return operation("ORK_set_journalling", Needs::session,
                   [&] { host::session().is_journalling = on != 0; });
}

int ORK_get_bypass(logical* has_bypass) {
  host::clear(has_bypass);
  return operation("ORK_get_bypass", Needs::session, [&] {
    host::require_all(has_bypass);
    *has_bypass = host::session().has_bypass;
  });
}

int ORK_set_bypass(logical on) {
  return operation("ORK_set_bypass", Needs::session, [&] {
    host::Session& session = host::session();
    if (on != 0 && !session.is_administrator) {
      host::refuse(ORK_bypass_not_allowed, "user " + session.user_id);
    }
    session.has_bypass = on != 0;
  });
}
