// WSO_: workspace objects.

#include "ork/wso.h"

#include "handout.h"
#include "object_id.h"
#include "operation.h"

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

int WSO_find(const char* pattern, int* count, tag** objects) {
  host::clear(count);
  host::clear(objects);
  return operation("WSO_find", Needs::session, [&] {
    host::require_all(pattern, count, objects);
    host::hand_out(host::find_by_text(host::store(), pattern), count, objects);
  });
}
