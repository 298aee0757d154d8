#include "registry.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/org.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/struct.h"
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
    {"Type", "PSBOMView", "PSBOMView"},
    {"Type", "PSBOMViewRevision", "PSBOMViewRevision"},
    {"RelationType", "VELO_reference", ""},
    {"RelationType", "VELO_master_form", ""},
    {"RelationType", "VELO_based_on", ""},
};

constexpr ObjectDefinition objects[] = {
    {"PSViewType", "view_type_name", "view"},
};

struct ErrorText {
  int status;
  const char* text;
};

constexpr ErrorText error_texts[] = {
    {ORK_ok, "Success"},
    {ORK_not_logged_in, "The operation needs a session: log in first"},
    {ORK_already_logged_in, "A session is already open in this process"},
    {ORK_unknown_user, "There is no such user"},
    {ORK_wrong_password, "The password does not match"},
    {ORK_unknown_group, "There is no such group"},
    {ORK_user_not_in_group, "The user is not a member of the group"},
    {ORK_no_automatic_login, "The site names no user for automatic login"},
    {ORK_bypass_not_allowed, "Only system administrators may bypass access checks"},
    {ORK_invalid_argument, "An argument is not valid"},
    {ORK_site_not_available, "The site's data is not available"},
    {ORK_internal_error, "The platform failed unexpectedly"},
    {ORK_out_of_memory, "Memory is exhausted"},
    {PREF_value_not_found, "The preference has no such value"},
    {PREF_value_not_logical, "The preference's value is not a logical"},
    {ORG_not_a_user, "The object is not a user"},
    {ORG_not_a_group, "The object is not a group"},
    {ORG_not_a_role, "The object is not a role"},
    {STORE_unknown_tag, "No object has this tag"},
    {STORE_deleted_tag, "The object was deleted"},
    {STORE_unknown_class, "There is no such class"},
    {STORE_unknown_attribute, "The class has no such attribute"},
    {STORE_wrong_value_type, "The attribute holds values of another type"},
    {STORE_value_too_long, "The text is longer than the attribute allows"},
    {STORE_not_locked, "The object must be locked before it is changed"},
    {STORE_locked_by_other, "Another session holds the object's lock"},
    {STORE_key_taken, "Another object has the same key"},
    {STORE_referenced, "Other objects refer to the object"},
    {STORE_refers_to_unsaved, "The object refers to one that was not saved"},
    {STORE_not_saved, "The object has changes that were not saved"},
    {STORE_not_stored, "The object lives in this process only"},
    {REL_not_a_relation_type, "The object is not a relation type"},
    {REL_exists, "The two objects are already related by this type"},
    {WSO_not_a_workspace_object, "The object is not a workspace object"},
    {FILE_cannot_open, "The file cannot be opened"},
    {FILE_cannot_write, "The file cannot be written"},
    {FILE_not_open, "The file is not open"},
    {ACCESS_unknown_privilege, "There is no such privilege"},
    {ACCESS_denied, "Access is denied"},
    {RSV_not_modifiable, "The object may not be changed now"},
    {TYPE_unknown_type, "There is no such type"},
    {TYPE_not_a_type, "The object is not a type"},
    {ITEM_not_an_item, "The object is not an item"},
    {ITEM_not_a_revision, "The object is not an item revision"},
    {ITEM_unknown_attribute, "Items have no such key attribute"},

    {STRUCT_unknown_view_type, "There is no such view type"},
    {STRUCT_not_a_view_type, "The object is not a view type"},
    {STRUCT_not_a_view, "The object is not a BOM view"},
    {STRUCT_not_a_view_revision, "The object is not a BOM view revision"},
    {STRUCT_not_an_occurrence, "The object is no occurrence of the view revision"},
    {STRUCT_not_a_child, "Only items and item revisions occur in structures"},
    {STRUCT_other_item, "The view and the revision belong to two items"},
    {STRUCT_view_exists, "The item already has a view of this type"},
    {STRUCT_view_revision_exists, "The item revision already has a revision of this view"},
    {STRUCT_contains_itself, "A structure must not contain itself"},
    {STRUCT_bad_quantity, "The quantity is not a number from 0 on"},
    {STRUCT_text_too_long, "The text is longer than structures keep"},
    {STRUCT_unknown_note_type, "There is no such note type"},
    {STRUCT_not_a_note_type, "The object is not a note type"},
    {STRUCT_no_such_note, "The occurrence has no note of this type"},
    {STRUCT_no_sequence_number, "The occurrence has no sequence number"},
    {BOMW_not_a_window, "The object is not an open BOM window"},
    {BOMW_not_a_line, "The object is not a line of an open BOM window"},
    {BOMW_no_top_line, "The BOM window has no top line yet"},
    {BOMW_unknown_attribute, "BOM lines have no such attribute"},
    {BOMW_wrong_attribute_type, "The attribute of BOM lines holds values of another type"},
    {BOMW_not_settable, "The attribute cannot be set on this BOM line"},
    {CONFIG_not_a_rule, "The object is not a revision rule"},

    // Codes that customisations raise. Their texts come from the platform's text files.
    {2002, "Memory is exhausted"},
    {2010, "The revision cannot be determined"},
    {33080, "There is no such condition task"},
    {710041, "There is no such revision rule"},
    {919246, "The dataset type cannot be found"},
    {919247, "The dataset type has no default tool"},
    {919248, "The dataset type's default tool has no output format"},
    {919249, "The dataset type has no such named reference"},
    {919340, "The object is checked out"},
    {919341, "The user may not write the object"},
    {919342, "The object cannot be modified"},
    {919999, "The object does not have exactly one master form"},
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
      {"PSViewType",
       "Object",
       {text("view_type_name", type_name_length)},
       {"view_type_name"},
       STORE_key_taken},
      {"PSNoteType",
       "Object",
       {text("note_type_name", type_name_length)},
       {"note_type_name"},
       STORE_key_taken},
      {"RevisionRule",
       "Object",
       {text("rule_name", name_length), texts("clauses", name_length)},
       {"rule_name"},
       STORE_key_taken},
      {"PSBOMView",
       "WorkspaceObject",
       {one("parent_item", Kind::reference), one("view_type", Kind::reference)},
       {"parent_item", "view_type"},
       STRUCT_view_exists},
      // The occurrences are lists side by side, an occurrence at one place of each: they are read,
      // saved and locked as one, and a structure may have a hundred thousand of them. The notes are
      // three more lists, with the numbers of the occurrences that they are of.
      {"PSBOMViewRevision",
       "WorkspaceObject",
       {one("bom_view", Kind::reference), one("structure_of", Kind::reference),
        list("occurrence_numbers", Kind::integer), list("occurrence_items", Kind::reference),
        list("occurrence_revisions", Kind::reference),
        texts("occurrence_quantities", STRUCT_quantity_size),
        texts("occurrence_sequences", STRUCT_sequence_size),
        list("note_occurrences", Kind::integer), list("note_types", Kind::reference),
        texts("note_texts", STRUCT_note_size)},
       {"bom_view", "structure_of"},
       STRUCT_view_revision_exists},
      {"AccessRule",
       "Object",
       {one("rule_number", Kind::integer), one("grants", Kind::logical),
        texts("privileges", type_name_length), text("accessor_kind", type_name_length),
        one("accessor", Kind::reference), text("target_class", name_length),
        one("target_type", Kind::reference), one("target_object", Kind::reference)},
       {},
       0},
      // What lives in one process only, and is in no file.
      {"TransientObject", "", {}, {}, 0, true},
      {"PSOccurrence", "TransientObject", {}, {}, 0},
      {"BOMWindow", "TransientObject", {}, {}, 0},
      {"BOMLine",
       "TransientObject",
       {text("bl_sequence_no", STRUCT_sequence_size), text("bl_quantity", STRUCT_quantity_size),
        text("bl_item_item_id", name_length), text("bl_rev_item_revision_id", type_name_length),
        one("bl_item", Kind::reference), one("bl_revision", Kind::reference),
        one("bl_occurrence", Kind::reference), one("bl_parent_bvr", Kind::reference)},
       {},
       0},
  };
  return classes;
}

std::span<const TypeDefinition> built_in_types() {
  return types;
}

std::span<const ObjectDefinition> built_in_objects() {
  return objects;
}

std::string error_text(int status) {
  const auto* found =
      std::find_if(std::begin(error_texts), std::end(error_texts),
                   [status](const ErrorText& entry) { return entry.status == status; });
  if (found != std::end(error_texts)) {
    return found->text;
  }
  return "Unknown error code " + std::to_string(status);
}

}  // namespace host
