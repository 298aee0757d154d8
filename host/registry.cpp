#include "registry.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ork/access.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/form.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
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
    {"Type", "Text", "Dataset", "Dataset"},
    {"Type", "Image", "Dataset", "Dataset"},
    {"Type", "FreigabeInfo", "FreigabeInfo", "Form"},
    {"Type", "ReleaseStatus", "ReleaseStatus"},
    {"RelationType", "VELO_reference", ""},
    {"RelationType", "VELO_master_form", ""},
    {"RelationType", "VELO_based_on", ""},
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
    {REL_not_a_relation_type, "The object is not a relation type"},
    {REL_exists, "The two objects are already related by this type"},
    {WSO_not_a_workspace_object, "The object is not a workspace object"},
    {FILE_cannot_open, "The file cannot be opened"},
    {FILE_cannot_write, "The file cannot be written"},
    {FILE_not_open, "The file is not open"},
    {FILE_cannot_read, "The file cannot be read"},
    {FILE_exists, "The file exists and is not overwritten"},
    {FILE_not_a_file, "The object is not a file"},
    {FILE_damaged, "The file in the vault is damaged"},
    {FILE_cancelled, "The copy was cancelled"},
    {DSET_no_named_reference, "The dataset has no such named reference"},
    {DSET_not_a_dataset, "The object is not a dataset"},
    {DSET_not_a_dataset_type, "The object is not a dataset type"},
    {DSET_not_a_tool, "The object is not a tool"},
    {DSET_unknown_reference_name, "The dataset type defines no such named reference"},
    {DSET_no_default_tool, "The dataset type has no default tool"},
    {DSET_no_such_reference, "The dataset does not have this reference"},
    {DSET_unknown_reference_type, "There is no such type of reference"},
    {FORM_not_a_form, "The object is not a form"},
    {FORM_wrong_type, "The form is of another type"},
    {OBJ_value_not_understood, "The text is not a value of this attribute"},
    {ACCESS_unknown_privilege, "There is no such privilege"},
    {ACCESS_denied, "Access is denied"},
    {RSV_not_modifiable, "The object may not be changed now"},
    {TYPE_unknown_type, "There is no such type"},
    {TYPE_not_a_type, "The object is not a type"},
    {ITEM_not_an_item, "The object is not an item"},
    {ITEM_not_a_revision, "The object is not an item revision"},
    {ITEM_unknown_attribute, "Items have no such key attribute"},

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
        one("parent_type", Kind::reference),
        // Of dataset types; the three lists go together (datasets.h).
        one("default_tool", Kind::reference), texts("reference_names", DSET_name_size),
        texts("reference_templates", name_length), texts("reference_formats", DSET_name_size)},
       {"type_name"},
       STORE_key_taken},
      {"RelationType", "Type", {}, {}, 0},
      {"Tool",
       "Object",
       {text("tool_name", DSET_name_size), texts("output_formats", DSET_name_size)},
       {"tool_name"},
       STORE_key_taken},
      // The size is a text, since an integer ends at 2 GiB.
      {"VeloFile",
       "Object",
       {text("original_file_name", FILE_original_name_size), one("file_type", Kind::integer),
        text("byte_size", 20), text("digest", FILE_digest_size), text("contents", 32)},
       {},
       0},
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
       {one("dataset_type", Kind::reference), text("format_used", DSET_name_size),
        one("tool_used", Kind::reference),
        // The named references; the three lists go together (datasets.h).
        texts("reference_names", DSET_name_size), list("reference_types", Kind::integer),
        list("reference_objects", Kind::reference)},
       {},
       0},
      {"Form", "WorkspaceObject", {}, {}, 0},
      {"FreigabeInfo",
       "Form",
       {text("UrRevision", 32), text("UGezPerson", 32), one("UGezDate", Kind::date),
        text("UGepPerson", 32), one("UGepDate", Kind::date), text("UGesPerson", 32),
        one("UGesDate", Kind::date), text("UBauPerson", 32), one("UBauDate", Kind::date),
        text("UEndPerson", 32), one("UEndDate", Kind::date), text("UFreiPerson", 32),
        one("UFreiDate", Kind::date)},
       {},
       0},
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

const std::vector<ToolDefinition>& built_in_tools() {
  static const std::vector<ToolDefinition> tools = {{"TextEditor", {"TEXT"}},
                                                    {"ImageViewer", {"BINARY"}}};
  return tools;
}

const std::vector<DatasetTypeDefinition>& built_in_dataset_types() {
  static const std::vector<DatasetTypeDefinition> dataset_types = {
      {"Text", "TextEditor", {{"Text", "*.txt", "TEXT"}}},
      {"Image", "ImageViewer", {{"Image", "*.png", "BINARY"}, {"Image", "*.jpg", "BINARY"}}},
  };
  return dataset_types;
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
