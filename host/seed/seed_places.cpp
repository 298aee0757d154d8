// The objects that a seed names: by an id, a name or a key.

#include "datasets.h"
#include "known_sites.h"
#include "object_id.h"
#include "seed_writer.h"
#include "seeded_keys.h"

namespace host {

namespace {

/** Objects that are found by a name: the member of a place, the class and the attribute. */
struct NamedPlace {
  const char* member;
  const char* class_name;
  const char* attribute;
  const char* what;
};

constexpr NamedPlace named_places[] = {
    {"user", "User", "user_id", "user"},
    {"group", "Group", "group_name", "group"},
    {"role", "Role", "role_name", "role"},
    {"type", "Type", "type_name", "type"},
    {"tool", "Tool", "tool_name", "tool"},
    {"view_type", "PSViewType", "view_type_name", "view type"},
    {"note_type", "PSNoteType", "note_type_name", "note type"},
    {"revision_rule", "RevisionRule", "rule_name", "revision rule"},
    {"process_template", "ProcessTemplate", "template_name", "process template"},
};

}  // namespace

tag SeedWriter::find_keyed(const std::string& key) {
  const auto own = run_.keyed.find(key);
  return own != run_.keyed.end() ? own->second : object_of_seed(store_, key);
}

tag SeedWriter::find_object(const Node& node) {
  if (const auto key = node.find("object")) {
    node.allow_only({"object"});
    const tag found = find_keyed(key->name());
    if (found == NULLTAG) {
      refuse_unknown(*key, "there is no object with the key \"" + key->text() + "\"");
    }
    return found;
  }
  if (node.find("item")) {
    return find_in_item(node);
  }
  if (const auto membership = node.find("membership")) {
    node.allow_only({"membership"});
    return find_membership(*membership);
  }
  if (const auto pool = node.find("pool")) {
    node.allow_only({"pool"});
    return find_pool(*pool);
  }
  if (const auto number = node.find("site")) {
    node.allow_only({"site"});
    const tag site = find_site(store_, number->number_up_to(max_site_number));
    if (site == NULLTAG) {
      number->refuse("there is no site of this number");
    }
    return site;
  }
  for (const NamedPlace& place : named_places) {
    if (const auto name = node.find(place.member)) {
      node.allow_only({place.member});
      return find(*name, place.class_name, place.attribute, place.what);
    }
  }
  node.allow_only({"item"});
  return find_in_item(node);
}

/** An item, one of its revisions, a dataset of that, a form of these, or a view. */
tag SeedWriter::find_in_item(const Node& node) {
  node.allow_only({"item", "revision", "dataset", "view_type", "form"});
  const tag item = find(node.at("item"), "Item", "item_id", "item");
  const auto revision_id = node.find("revision");
  const tag revision = revision_id ? find_revision(store_, item, revision_id->name()) : NULLTAG;
  if (revision_id && revision == NULLTAG) {
    refuse_unknown(*revision_id, "the item has no revision \"" + revision_id->text() + "\"");
  }
  if (node.find("view_type")) {
    return find_view(node.at("view_type"), item, revision);
  }
  tag found = revision_id ? revision : item;
  if (const auto name = node.find("dataset")) {
    if (!revision_id) {
      name->refuse("needs a \"revision\"");
    }
    found = find_dataset(revision, name->name());
    if (found == NULLTAG) {
      refuse_unknown(*name, "the revision has no dataset \"" + name->text() + "\"");
    }
  }
  const auto form = node.find("form");
  return form ? find_form(node, *form, found) : found;
}

/** The master form of an item or a revision (true), or a dataset's form of a reference (its name).
 */
tag SeedWriter::find_form(const Node& node, const Node& form, tag owner) {
  tag found = NULLTAG;
  if (node.find("dataset")) {
    const std::string name = form.name();
    for (const NamedReference& reference : named_references(store_, owner)) {
      if (found == NULLTAG && reference.name == name && store_.is_a(reference.object, "Form")) {
        found = reference.object;
      }
    }
  } else if (form.logical_value()) {
    const tag relation = store_.find_one(
        "Relation",
        {{"primary_object", owner}, {"relation_type", store_.find_type("VELO_master_form")}});
    found = relation != NULLTAG ? store_.reference(relation, "secondary_object") : NULLTAG;
  }
  if (found == NULLTAG) {
    form.refuse("there is no such form");
  }
  return found;
}

tag SeedWriter::find_view(const Node& node, tag item, tag revision) {
  const tag view = store_.find_one(
      "PSBOMView", {{"parent_item", item},
                    {"view_type", find(node, "PSViewType", "view_type_name", "view type")}});
  const tag found =
      view == NULLTAG || revision == NULLTAG
          ? view
          : store_.find_one("PSBOMViewRevision", {{"bom_view", view}, {"structure_of", revision}});
  if (found == NULLTAG) {
    node.refuse("there is no such view");
  }
  return found;
}

/** {"user": id, "group": name, "role": name} */
tag SeedWriter::find_membership(const Node& node) {
  node.allow_only({"user", "group", "role"});
  const tag found = store_.find_one("GroupMember", {{"member_user", find_user(node.at("user"))},
                                                    {"member_group", find_group(node.at("group"))},
                                                    {"member_role", find_role(node.at("role"))}});
  if (found == NULLTAG) {
    node.refuse("the user has no such membership");
  }
  return found;
}

/** {"group": name, "role": name}; one of the two may be left out. It is made when it is missing. */
tag SeedWriter::find_pool(const Node& node) {
  node.allow_only({"group", "role"});
  const auto group_node = node.find("group");
  const auto role_node = node.find("role");
  if (!group_node && !role_node) {
    node.refuse("expected a \"group\", a \"role\" or both");
  }
  const tag group = group_node ? find_group(*group_node) : NULLTAG;
  const tag role = role_node ? find_role(*role_node) : NULLTAG;
  for (const tag known : store_.find("ResourcePool")) {
    if (store_.reference(known, "pool_group") == group &&
        store_.reference(known, "pool_role") == role) {
      return known;
    }
  }
  return make(node, "ResourcePool", {{"pool_group", group}, {"pool_role", role}});
}

}  // namespace host
