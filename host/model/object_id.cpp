#include "object_id.h"

#include <utility>

#include "failure.h"
#include "ork/wso.h"

namespace host {

namespace {

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

}  // namespace

void require_workspace_object(Store& store, tag object) {
  if (!store.is_a(object, "WorkspaceObject")) {
    refuse(WSO_not_a_workspace_object, "object " + std::to_string(object));
  }
}

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

tag find_revision(Store& store, tag item, const std::string& revision_id) {
  return store.find_one("ItemRevision", {{"item_tag", item}, {"item_revision_id", revision_id}});
}

std::vector<tag> find_by_text(Store& store, const std::string& pattern) {
  const Reading one_state(store.database());
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

}  // namespace host
