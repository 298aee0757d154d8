#include "object_id.h"

#include <utility>

#include "failure.h"
#include "ork/wso.h"
#include "stored_values.h"

namespace host {

namespace {

std::string item_text(const std::string& id, const std::string& name) {
  return id + "-" + name;
}

std::string revision_text(const std::string& item_id, const std::string& revision_id,
                          const std::string& name) {
  return item_id + "/" + revision_id + "-" + name;
}

/** Attributes by which users know workspace objects. */
constexpr std::pair<const char*, const char*> text_attributes[] = {
    {"WorkspaceObject", "object_name"},
    {"Item", "item_id"},
    {"ItemRevision", "item_revision_id"},
    {"ItemRevision", "item_tag"},
    {"ReleaseStatus", "name"}};

/** The names and ids of all instances as they are saved, one after the other; loads none of them.
 */
constexpr const char* texts_query =
    "SELECT i.tag, i.class, n.content, d.content, r.content, t.content, s.content, o.content "
    "FROM instance i "
    "LEFT JOIN value n ON n.instance = i.tag AND n.attribute = ?1 "
    "LEFT JOIN value d ON d.instance = i.tag AND d.attribute = ?2 "
    "LEFT JOIN value r ON r.instance = i.tag AND r.attribute = ?3 "
    "LEFT JOIN value t ON t.instance = i.tag AND t.attribute = ?4 "
    "LEFT JOIN value s ON s.instance = i.tag AND s.attribute = ?5 "
    "LEFT JOIN value o ON o.instance = t.content AND o.attribute = ?2 "
    "WHERE i.deleted = 0 ORDER BY i.tag";

/** An instance of that query. */
class SavedTexts {
 public:
  SavedTexts(Store& store, const Query& query) : store_(store), query_(query) {}

  tag object() const { return static_cast<tag>(query_.integer(0)); }
  bool is_status() const { return !query_.is_null(6); }
  std::string name() const { return text(2, 0); }

  std::string id() const {
    if (!query_.is_null(3)) {
      return item_text(text(3, 1), name());
    }
    return query_.is_null(5) ? name() : revision_text(text(7, 1), text(4, 2), name());
  }

 private:
  std::string text(int column, std::size_t attribute) const {
    const auto& [class_name, name] = text_attributes[attribute];
    const Attribute& definition = *store_.class_named(class_name).find_attribute(name);
    return query_.is_null(column)
               ? std::string()
               : std::get<std::string>(stored_value(query_, column, definition, object()));
  }

  Store& store_;
  const Query& query_;
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
  const Class& workspace_object = store.class_named("WorkspaceObject");
  const bool is_any = pattern.find_first_not_of('*') == std::string::npos && !pattern.empty();
  const WildcardPattern wanted(pattern);
  Query query(store.database(), texts_query);
  for (const auto& [class_name, name] : text_attributes) {
    query.bind(store.class_named(class_name).find_attribute(name)->id);
  }
  const SavedTexts texts(store, query);
  std::vector<tag> found;
  while (query.next()) {
    const bool may_be_found =
        !texts.is_status() &&
        store.class_with_id(static_cast<std::uint32_t>(query.integer(1))).is_a(workspace_object);
    if (may_be_found && (is_any || wanted.matches(texts.id()) || wanted.matches(texts.name()))) {
      found.push_back(texts.object());
    }
  }
  return found;
}

}  // namespace host
