// ITEM_: items and their revisions.

#include "ork/item.h"

#include <algorithm>

#include "handout.h"
#include "object_id.h"
#include "operation.h"
#include "relations.h"
#include "types.h"

namespace host {

namespace {

void require_item(tag object) {
  if (!store().is_a(object, "Item")) {
    refuse(ITEM_not_an_item, "object " + std::to_string(object));
  }
}

void require_revision(tag object) {
  if (!store().is_a(object, "ItemRevision")) {
    refuse(ITEM_not_a_revision, "object " + std::to_string(object));
  }
}

std::vector<tag> find_items(int count, const char* const* names, const char* const* values) {
  require(count > 0 && names != nullptr && values != nullptr, "there are no key attributes");
  const std::vector<std::string>& key = store().class_named("Item").key;
  Store::Criteria criteria;
  for (int i = 0; i < count; ++i) {
    require_all(names[i], values[i]);
    if (std::find(key.begin(), key.end(), names[i]) == key.end()) {
      refuse(ITEM_unknown_attribute, names[i]);
    }
    criteria.emplace_back(names[i], std::string(values[i]));
  }
  return store().find("Item", criteria);
}

tag make_revision(tag item, const char* revision_id) {
  require(*revision_id != '\0', "the revision has no id");
  return make_workspace_object(
      type_of_class("ItemRevision", "ItemRevision"), store().text(item, "object_name"),
      {{"item_tag", item}, {"item_revision_id", std::string(revision_id)}});
}

void make_item(const char* item_id, const char* name, const char* type_name,
               const char* revision_id, tag* item, tag* revision) {
  require(*item_id != '\0', "the item has no id");
  const bool has_type = type_name != nullptr && *type_name != '\0';
  const tag type = type_of_class(has_type ? type_name : "Item", "Item");
  const tag made = make_workspace_object(type, name, {{"item_id", std::string(item_id)}});
  try {
    *revision = make_revision(made, revision_id);
  } catch (...) {
    store().remove(made);
    throw;
  }
  *item = made;
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int ITEM_find_items_by_key_attributes(int attribute_count, const char** names, const char** values,
                                      int* count, tag** items) {
  host::clear(count);
  host::clear(items);
  return operation("ITEM_find_items_by_key_attributes", Needs::session, [&] {
    host::require_all(count, items);
    host::hand_out(host::find_items(attribute_count, names, values), count, items);
  });
}

int ITEM_find_item_revs_by_key_attributes(int attribute_count, const char** names,
                                          const char** values, const char* revision_id, int* count,
                                          tag** revisions) {
  host::clear(count);
  host::clear(revisions);
  return operation("ITEM_find_item_revs_by_key_attributes", Needs::session, [&] {
    host::require_all(count, revisions, revision_id);
    std::vector<tag> found;
    for (const tag item : host::find_items(attribute_count, names, values)) {
      const tag revision = host::find_revision(host::store(), item, revision_id);
      if (revision != NULLTAG) {
        found.push_back(revision);
      }
    }
    host::hand_out(found, count, revisions);
  });
}

int ITEM_get_item_of_rev(tag revision, tag* item) {
  host::clear(item);
  return operation("ITEM_get_item_of_rev", Needs::session, [&] {
    host::require_all(item);
    host::require_revision(revision);
    *item = host::store().reference(revision, "item_tag");
  });
}

int ITEM_get_id(tag item, char* id) {
  host::clear(id);
  return operation("ITEM_get_id", Needs::session, [&] {
    host::require_all(id);
    host::require_item(item);
    host::copy_out(host::store().text(item, "item_id"), id, ITEM_id_size + 1);
  });
}

int ITEM_get_rev_id(tag revision, char* id) {
  host::clear(id);
  return operation("ITEM_get_rev_id", Needs::session, [&] {
    host::require_all(id);
    host::require_revision(revision);
    host::copy_out(host::store().text(revision, "item_revision_id"), id, ITEM_id_size + 1);
  });
}

int ITEM_create_item(const char* item_id, const char* name, const char* type_name,
                     const char* revision_id, tag* item, tag* revision) {
  host::clear(item);
  host::clear(revision);
  return operation("ITEM_create_item", Needs::session, [&] {
    host::require_all(item_id, name, revision_id, item, revision);
    host::make_item(item_id, name, type_name, revision_id, item, revision);
  });
}

int ITEM_create_rev(tag item, const char* revision_id, tag* revision) {
  host::clear(revision);
  return operation("ITEM_create_rev", Needs::session, [&] {
    host::require_all(revision_id, revision);
    host::require_item(item);
    *revision = host::make_revision(item, revision_id);
  });
}

int ITEM_list_all_rev_attachments(tag revision, int* count, ITEM_attached_object_s** attachments) {
  host::clear(count);
  host::clear(attachments);
  return operation("ITEM_list_all_rev_attachments", Needs::session, [&] {
    host::require_all(count, attachments);
    const host::Reading one_state(host::store().database());
    host::require_revision(revision);
    std::vector<ITEM_attached_object_s> attached;
    for (const tag relation : host::find_relations(revision, NULLTAG, NULLTAG, NULLTAG)) {
      attached.push_back({host::store().reference(relation, "secondary_object"),
                          host::store().reference(relation, "relation_type")});
    }
    host::hand_out(attached, count, attachments);
  });
}
