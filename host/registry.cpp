#include "registry.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ork/access.h"
#include "ork/date.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/org.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/text.h"
#include "ork/type.h"
#include "ork/wso.h"

namespace host {

namespace {

constexpr int name_length = 128;
constexpr int type_name_length = 32;
constexpr int description_length = 240;

AttributeDefinition text(const char* name, int max_length) {
  return {name, Kind::text, false, max_length};
}
AttributeDefinition texts(const char* name, int max_length) {
  return {name, Kind::text, true, max_length};
}
AttributeDefinition one(const char* name, Kind kind) {
  return {name, kind};
}
AttributeDefinition list(const char* name, Kind kind) {
  return {name, kind, true};
}

constexpr std::array<const char*, 6> kind_names = {"text",    "integer", "real",
                                                   "logical", "date",    "reference"};

constexpr TypeDefinition types[] = {
    {"Type", "Item", "Item"},
    {"Type", "ItemRevision", "ItemRevision"},
    {"Type", "Dataset", "Dataset"},
    {"Type", "Form", "Form"},
    {"Type", "Folder", "Folder"},
    {"Type", "ReleaseStatus", "ReleaseStatus"},
    {"RelationType", "VELO_reference", ""},
    {"RelationType", "VELO_master_form", ""},
    {"RelationType", "VELO_based_on", ""},
};

/** A code per line, so that families add theirs without touching those of others. */
constexpr int errors[] = {
    ORK_not_logged_in,
    ORK_already_logged_in,
    ORK_unknown_user,
    ORK_wrong_password,
    ORK_unknown_group,
    ORK_user_not_in_group,
    ORK_no_automatic_login,
    ORK_bypass_not_allowed,
    ORK_invalid_argument,
    ORK_site_not_available,
    ORK_internal_error,
    ORK_out_of_memory,
    PREF_value_not_found,
    PREF_value_not_logical,
    ORG_not_a_user,
    ORG_not_a_group,
    ORG_not_a_role,
    STORE_unknown_tag,
    STORE_deleted_tag,
    STORE_unknown_class,
    STORE_unknown_attribute,
    STORE_wrong_value_type,
    STORE_value_too_long,
    STORE_not_locked,
    STORE_locked_by_other,
    STORE_key_taken,
    STORE_referenced,
    STORE_refers_to_unsaved,
    STORE_not_saved,
    REL_not_a_relation_type,
    REL_exists,
    WSO_not_a_workspace_object,
    FILE_cannot_open,
    FILE_cannot_write,
    FILE_not_open,
    ACCESS_unknown_privilege,
    ACCESS_denied,
    RSV_not_modifiable,
    TYPE_unknown_type,
    TYPE_not_a_type,
    ITEM_not_an_item,
    ITEM_not_a_revision,
    ITEM_unknown_attribute,
    DATE_invalid_date,
    DATE_invalid_format,
    DATE_wrong_text,
    TEXT_unknown_key,

    // Codes that customisations raise.
    2002,
    2010,
    33080,
    710041,
    919246,
    919247,
    919248,
    919249,
    919340,
    919341,
    919342,
    919999,
};

}  // namespace

const char* name_of(Kind kind) {
  return kind_names[static_cast<std::size_t>(kind)];
}

bool find_kind(const std::string& name, Kind* kind) {
  const auto found = std::find(kind_names.begin(), kind_names.end(), name);
  if (found == kind_names.end()) {
    return false;
  }
  *kind = static_cast<Kind>(found - kind_names.begin());
  return true;
}

const std::vector<ClassDefinition>& built_in_classes() {
  static const std::vector<ClassDefinition> classes = {
      {"Object",
       "",
       {one("creation_date", Kind::date), one("last_mod_date", Kind::date),
        one("last_mod_user", Kind::reference), one("owning_user", Kind::reference),
        one("owning_group", Kind::reference), one("owning_site", Kind::reference)},
       {},
       0,
       true},
      {"Site",
       "Object",
       {one("site_id", Kind::integer), text("site_name", name_length)},
       {"site_id"},
       STORE_key_taken},
      {"User",
       "Object",
       {text("user_id", ORG_name_size), text("user_name", name_length),
        one("is_administrator", Kind::logical), one("default_group", Kind::reference)},
       {"user_id"},
       STORE_key_taken},
      {"Group",
       "Object",
       {text("group_name", ORG_name_size), text("group_desc", description_length)},
       {"group_name"},
       STORE_key_taken},
      {"Role",
       "Object",
       {text("role_name", ORG_name_size), text("role_desc", description_length)},
       {"role_name"},
       STORE_key_taken},
      {"GroupMember",
       "Object",
       {one("member_user", Kind::reference), one("member_group", Kind::reference),
        one("member_role", Kind::reference)},
       {"member_user", "member_group", "member_role"},
       STORE_key_taken},
      {"Type",
       "Object",
       {text("type_name", type_name_length), text("type_class", type_name_length),
        one("parent_type", Kind::reference)},
       {"type_name"},
       STORE_key_taken},
      {"RelationType", "Type", {}, {}, 0},
      {"Relation",
       "Object",
       {one("primary_object", Kind::reference), one("secondary_object", Kind::reference),
        one("relation_type", Kind::reference), one("user_data", Kind::reference)},
       {"primary_object", "secondary_object", "relation_type"},
       REL_exists},
      {"WorkspaceObject",
       "Object",
       {text("object_name", name_length), text("object_type", type_name_length),
        text("object_desc", description_length), list("release_status_list", Kind::reference),
        one("date_released", Kind::date), one("revision_number", Kind::integer),
        one("revision_limit", Kind::integer), one("checked_out_user", Kind::reference),
        one("checked_out_date", Kind::date)},
       {},
       0,
       true},
      {"ReleaseStatus", "WorkspaceObject", {text("name", name_length)}, {}, 0},
      {"Item",
       "WorkspaceObject",
       {text("item_id", name_length), text("uom", type_name_length)},
       {"item_id"},
       STORE_key_taken},
      {"ItemRevision",
       "WorkspaceObject",
       {one("item_tag", Kind::reference), text("item_revision_id", type_name_length)},
       {"item_tag", "item_revision_id"},
       STORE_key_taken},
      {"Dataset",
       "WorkspaceObject",
       {one("dataset_type", Kind::reference), text("format_used", type_name_length)},
       {},
       0},
      {"Form", "WorkspaceObject", {}, {}, 0},
      {"Folder", "WorkspaceObject", {list("contents", Kind::reference)}, {}, 0},
      {"AccessRule",
       "Object",
       {one("rule_number", Kind::integer), one("grants", Kind::logical),
        texts("privileges", type_name_length), text("accessor_kind", type_name_length),
        one("accessor", Kind::reference), text("target_class", name_length),
        one("target_type", Kind::reference), one("target_object", Kind::reference)},
       {},
       0},
  };
  return classes;
}

std::span<const TypeDefinition> built_in_types() {
  return types;
}

std::span<const int> known_errors() {
  return errors;
}

}  // namespace host
