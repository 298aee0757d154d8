#include "flow_handlers.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "change.h"
#include "failure.h"
#include "flow_engine.h"
#include "handler_watch.h"
#include "ork/wso.h"
#include "os.h"
#include "site.h"
#include "types.h"

namespace host::flow {

namespace {

/** The value of an argument "name=value"; none when it is not there. */
std::optional<std::string> find_argument(const FLOW_action_message_s& message,
                                         const std::string& name) {
  const std::string text = "\n" + std::string(message.arguments);
  const std::size_t found = text.find("\n" + name + "=");
  if (found == std::string::npos) {
    return std::nullopt;
  }
  const std::size_t begin = found + name.size() + 2;
  return text.substr(begin, text.find('\n', begin) - begin);
}

tag root_of(tag task) {
  return store().reference(store().reference(task, "job"), "root_task");
}

void require_release_statuses(tag target) {
  if (!store().is_a(target, "WorkspaceObject")) {
    refuse(WSO_not_a_workspace_object, "target " + std::to_string(target));
  }
}

Values with(Values values, tag added) {
  values.emplace_back(added);
  return values;
}

void set_release_status(const FLOW_action_message_s& message) {
  const auto name = find_argument(message, "status");
  if (!name || name->empty()) {
    refuse(FLOW_argument_missing, "set-release-status needs status=NAME");
  }
  const tag root = root_of(message.task);
  const date_s now = os::local_time();
  Change change(store());
  const tag status =
      change.adopt(make_workspace_object(type_of_class("ReleaseStatus", "ReleaseStatus"), *name,
                                         {{"name", *name}, {"date_released", now}}));
  for (const tag target : references(root, "target_attachments")) {
    require_release_statuses(target);
    change.set_values(target, "release_status_list",
                      with(store().values(target, "release_status_list"), status));
    change.set(target, "date_released", now);
  }
  change.set_values(root, "release_status_attachments",
                    with(store().values(root, "release_status_attachments"), status));
  change.commit();
}

/** Removes the statuses of a name from a list, or all without one; notes them. */
Values without(const Values& statuses, const std::optional<std::string>& name,
               std::vector<tag>& removed) {
  Values kept;
  for (const Scalar& value : statuses) {
    const tag status = std::get<tag>(value);
    if (name && store().text(status, "name") != *name) {
      kept.push_back(value);
    } else {
      removed.push_back(status);
    }
  }
  return kept;
}

void clear_release_status(const FLOW_action_message_s& message) {
  const auto name = find_argument(message, "status");
  const tag root = root_of(message.task);
  std::vector<tag> removed;
  {
    Change change(store());
    for (const tag target : references(root, "target_attachments")) {
      require_release_statuses(target);
      Values kept = without(store().values(target, "release_status_list"), name, removed);
      if (kept.empty()) {
        change.set(target, "date_released", date_s{});
      }
      change.set_values(target, "release_status_list", std::move(kept));
    }
    change.set_values(root, "release_status_attachments",
                      without(store().values(root, "release_status_attachments"), name, removed));
    change.commit();
  }
  std::sort(removed.begin(), removed.end());
  removed.erase(std::unique(removed.begin(), removed.end()), removed.end());
  for (const tag status : removed) {
    if (store().referrer(status) == NULLTAG) {
      store().lock(status);
      store().remove(status);
    }
  }
}

struct OwnHandler {
  const char* name;
  void (*handler)(const FLOW_action_message_s& message);
};

constexpr OwnHandler own_handlers[] = {{"clear-release-status", clear_release_status},
                                       {"set-release-status", set_release_status}};

struct Registered {
  FLOW_handler handler = nullptr;
  std::string library; /**< empty for one of the program itself */
};

std::map<std::string, Registered>& registered() {
  // Never destroyed: programs may call the platform while they end.
  static auto& handlers = *new std::map<std::string, Registered>;
  return handlers;
}

/** The library that is being loaded; empty for none. */
std::string& loading() {
  static std::string& path = *new std::string;
  return path;
}

/** Calls a handler of a program, which may throw anything. */
int call_foreign(FLOW_handler handler, const std::string& name,
                 const FLOW_action_message_s& message) {
  std::string thrown;
  try {
    return handler(&message);
  } catch (const std::exception& exception) {
    thrown = std::string(": ") + exception.what();
  } catch (...) {
  }
  refuse(FLOW_handler_threw, name + thrown);
}

}  // namespace

void register_handler(const std::string& name, FLOW_handler handler) {
  if (handler == nullptr) {
    registered().erase(name);
  } else {
    registered()[name] = {handler, loading()};
  }
}

std::vector<std::string> handler_names() {
  std::vector<std::string> names;
  for (const auto& [name, entry] : registered()) {
    names.push_back(name);
  }
  for (const OwnHandler& own : own_handlers) {
    if (!registered().contains(own.name)) {
      names.emplace_back(own.name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

namespace {

void call_by_name(const std::string& name, const FLOW_action_message_s& message) {
  const auto found = registered().find(name);
  if (found != registered().end()) {
    const std::string task_name = store().text(message.task, "object_name");
    const int status = call_foreign(found->second.handler, name, message);
    if (status != ORK_ok) {
      refuse(status, "handler " + name + " on task " + task_name);
    }
    return;
  }
  for (const OwnHandler& own : own_handlers) {
    if (name == own.name) {
      own.handler(message);
      return;
    }
  }
  refuse(FLOW_unknown_handler, name);
}

}  // namespace

void call_handler(const std::string& name, const FLOW_action_message_s& message) {
  WatchedCall call(name, message);
  try {
    call_by_name(name, message);
  } catch (const Failure& failure) {
    call.end(failure.status());
    throw;
  }
  call.end(ORK_ok);
}

namespace {

using Register = int (*)();

/** It may throw anything. */
int call_registration(Register register_all, const std::string& path) {
  std::string thrown;
  try {
    return register_all();
  } catch (const std::exception& exception) {
    thrown = std::string(": ") + exception.what();
  } catch (...) {
  }
  loading().clear();
  refuse(FLOW_cannot_load_handlers, path + ": ORK_register_handlers threw an exception" + thrown);
}

}  // namespace

void load_handlers(const std::string& path) {
  std::string error;
  if (path.empty()) {
    refuse(FLOW_cannot_load_handlers, "the path is empty");
  }
  const auto register_all =
      reinterpret_cast<Register>(os::symbol_of_library(path, "ORK_register_handlers", &error));
  if (register_all == nullptr) {
    refuse(FLOW_cannot_load_handlers, error);
  }
  const std::string outer = std::exchange(loading(), path);
  const int status = call_registration(register_all, path);
  loading() = outer;
  if (status != ORK_ok) {
    refuse(FLOW_cannot_load_handlers,
           path + ": ORK_register_handlers returned " + std::to_string(status));
  }
}

std::vector<std::string> handlers_of_library(const std::string& path) {
  std::vector<std::string> names;
  for (const auto& [name, entry] : registered()) {
    if (entry.library == path) {
      names.push_back(name);
    }
  }
  return names;
}

}  // namespace host::flow
