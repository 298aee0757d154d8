// WSO_: workspace objects.

#include "ork/wso.h"

#include "access.h"
#include "handout.h"
#include "object_id.h"
#include "operation.h"
#include "ork/access.h"

namespace host {

namespace {

void require_workspace_object(Store& store, tag object) {
  if (!store.is_a(object, "WorkspaceObject")) {
    refuse(WSO_not_a_workspace_object, "object " + std::to_string(object));
  }
}

std::string item_text(const std::string& id, const std::string& name) {
  return id + "-" + name;
}

std::string revision_text(const std::string& item_id, const std::string& revision_id,
                          const std::string& name) {
  return item_id + "/" + revision_id + "-" + name;
}

std::string name_in(Store& store, tag object, const char* attribute) {
  return object != NULLTAG ? store.text(object, attribute) : std::string();
}

WSO_description_s describe_object(Store& store, tag object) {
  WSO_description_s described{};
  const auto take = [](const std::string& text, auto& buffer) {
    copy_out(text, buffer, sizeof(buffer));
  };
  take(store.text(object, "object_name"), described.object_name);
  take(store.text(object, "object_type"), described.object_type);
  take(store.text(object, "object_desc"), described.description);
  take(name_in(store, store.reference(object, "owning_user"), "user_id"), described.owners_name);
  take(name_in(store, store.reference(object, "owning_group"), "group_name"),
       described.owning_group_name);
  take(name_in(store, store.reference(object, "last_mod_user"), "user_id"),
       described.last_modifying_user);
  described.date_created = store.date(object, "creation_date");
  described.date_modified = store.date(object, "last_mod_date");
  described.date_released = store.date(object, "date_released");
  return described;
}

/** The names and ids of all workspace objects, as they are saved; loads none of them. */
class SavedTexts {
 public:
  explicit SavedTexts(Store& store)
      : names_(store.saved_values("WorkspaceObject", "object_name")),
        item_ids_(store.saved_values("Item", "item_id")),
        revision_ids_(store.saved_values("ItemRevision", "item_revision_id")),
        items_(store.saved_values("ItemRevision", "item_tag")) {}

  std::string name(tag object) const { return text(names_, object); }

  std::string id(tag object) const {
    if (item_ids_.contains(object)) {
      return item_text(text(item_ids_, object), name(object));
    }
    const auto item = items_.find(object);
    if (item == items_.end()) {
      return name(object);
    }
    return revision_text(text(item_ids_, std::get<tag>(item->second)), text(revision_ids_, object),
                         name(object));
  }

 private:
  using SavedValues = std::unordered_map<tag, Scalar>;

  static std::string text(const SavedValues& values, tag object) {
    const auto found = values.find(object);
    return found == values.end() ? std::string() : std::get<std::string>(found->second);
  }

  SavedValues names_;
  SavedValues item_ids_;
  SavedValues revision_ids_;
  SavedValues items_;
};

std::vector<tag> find_by_text(Store& store, const std::string& pattern) {
  const SavedTexts texts(store);
  const auto statuses = store.saved_values("ReleaseStatus", "name");
  const WildcardPattern wanted(pattern);
  std::vector<tag> found;
  for (const tag object : store.find("WorkspaceObject")) {
    if (statuses.contains(object)) {
      continue;
    }
    if (wanted.matches(texts.id(object)) || wanted.matches(texts.name(object))) {
      found.push_back(object);
    }
  }
  return found;
}

}  // namespace

std::string object_id_text(Store& store, tag object) {
  require_workspace_object(store, object);
  const std::string& name = store.text(object, "object_name");
  if (store.is_a(object, "Item")) {
    return item_text(store.text(object, "item_id"), name);
  }
  if (!store.is_a(object, "ItemRevision")) {
    return name;
  }
  const tag item = store.reference(object, "item_tag");
  return revision_text(store.text(item, "item_id"), store.text(object, "item_revision_id"), name);
}

std::string object_label(Store& store, tag object) {
  static constexpr std::pair<const char*, const char*> names[] = {
      {"User", "user_id"},
      {"Group", "group_name"},
      {"Role", "role_name"},
      {"Site", "site_name"},
      {"Type", "type_name"},
      {"ProcessTemplate", "template_name"},
      {"TaskDefinition", "object_name"},
      {"Tool", "tool_name"},
      {"VeloFile", "original_file_name"}};
  if (store.is_a(object, "WorkspaceObject")) {
    return object_id_text(store, object);
  }
  for (const auto& [class_name, attribute] : names) {
    if (store.is_a(object, class_name)) {
      return store.text(object, attribute);
    }
  }
  return store.class_of(object).name + " " + std::to_string(object);
}

}  // namespace host

using host::Needs;
using host::operation;

int WSO_get_object_id_string(tag object, char** id) {
  host::clear(id);
  return operation("WSO_get_object_id_string", Needs::session, [&] {
    host::require_all(id);
    *id = host::hand_out(host::object_id_text(host::store(), object));
  });
}

int WSO_get_name(tag object, char* name) {
  host::clear(name);
  return operation("WSO_get_name", Needs::session, [&] {
    host::require_all(name);
    host::require_workspace_object(host::store(), object);
    host::copy_out(host::store().text(object, "object_name"), name, WSO_name_size + 1);
  });
}

int WSO_get_object_type(tag object, char* type) {
  host::clear(type);
  return operation("WSO_get_object_type", Needs::session, [&] {
    host::require_all(type);
    host::require_workspace_object(host::store(), object);
    host::copy_out(host::store().text(object, "object_type"), type, WSO_name_size + 1);
  });
}

int WSO_describe(tag object, WSO_description_s* description) {
  host::clear(description);
  return operation("WSO_describe", Needs::session, [&] {
    host::require_all(description);
    host::require_workspace_object(host::store(), object);
    host::require_privilege(object, ACCESS_privilege_read);
    *description = host::describe_object(host::store(), object);
  });
}

int WSO_set_revision_limit(tag object, int limit) {
  return operation("WSO_set_revision_limit", Needs::session, [&] {
    host::require_workspace_object(host::store(), object);
    host::require(limit >= 1, "the limit");
    host::store().set(object, "revision_limit", limit);
  });
}

int WSO_find(const char* pattern, int* count, tag** objects) {
  host::clear(count);
  host::clear(objects);
  return operation("WSO_find", Needs::session, [&] {
    host::require_all(pattern, count, objects);
    host::hand_out(host::find_by_text(host::store(), pattern), count, objects);
  });
}
