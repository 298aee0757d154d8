#include "registry.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/date.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/folder.h"
#include "ork/form.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "ork/text.h"
#include "ork/type.h"
#include "ork/wso.h"

namespace host {

namespace {

constexpr int name_length = 128;
constexpr int type_name_length = 32;
constexpr int description_length = 240;
constexpr int handler_arguments_length = 4000;
constexpr int stop_text_length = 1000;

AttributeDefinition text(const char* name, int max_length) {
  return {name, Kind::text, false, max_length};
}
AttributeDefinition file_name(const char* name, int max_length) {
  return {name, Kind::text, false, max_length, true};
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
    {"Type", "Job", "Job"},
    {"Type", "Text", "Dataset", "Dataset"},
    {"Type", "Image", "Dataset", "Dataset"},
    {"Type", "FreigabeInfo", "FreigabeInfo", "Form"},
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
    ORK_site_busy,
    ORK_wrong_thread,
    ORK_site_damaged,
    ORK_interrupted,
    ORK_site_in_use,
    PREF_value_not_found,
    PREF_value_not_logical,
    ORG_not_a_user,
    ORG_not_a_group,
    ORG_not_a_role,
    ORG_not_a_groupmember,
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
    STORE_unknown_lock,
    STORE_not_stored,
    REL_not_a_relation_type,
    REL_exists,
    WSO_not_a_workspace_object,
    FILE_cannot_open,
    FILE_cannot_write,
    FILE_not_open,
    FILE_cannot_read,
    FILE_exists,
    FILE_not_a_file,
    FILE_damaged,
    FILE_cancelled,
    DSET_no_named_reference,
    DSET_not_a_dataset,
    DSET_not_a_dataset_type,
    DSET_not_a_tool,
    DSET_unknown_reference_name,
    DSET_no_default_tool,
    DSET_no_such_reference,
    DSET_unknown_reference_type,
    FORM_not_a_form,
    FORM_wrong_type,
    OBJ_value_not_understood,
    ACCESS_unknown_privilege,
    ACCESS_denied,
    RSV_not_modifiable,
    TYPE_unknown_type,
    TYPE_not_a_type,
    ITEM_not_an_item,
    ITEM_not_a_revision,
    ITEM_unknown_attribute,
    FLOW_not_a_job,
    FLOW_not_a_task,
    FLOW_not_a_process_template,
    FLOW_unknown_process_template,
    FLOW_not_a_condition_task,
    FLOW_unknown_attachment_type,
    FLOW_already_attached,
    FLOW_not_attached,
    FLOW_unknown_state,
    FLOW_unknown_handler,
    FLOW_handler_threw,
    FLOW_nested_too_deeply,
    FLOW_task_is_over,
    FLOW_not_a_resource_pool,
    FLOW_unknown_task_type,
    FLOW_cannot_load_handlers,
    FLOW_argument_missing,
    FLOW_handler_died,
    FLOW_handler_hung,
    FLOW_target_object_not_attached,
    SIGNOFF_not_a_signoff,
    SIGNOFF_not_the_member,
    SIGNOFF_not_in_progress,
    SIGNOFF_unknown_decision,
    FOLDER_not_a_folder,
    FOLDER_no_such_position,
    DATE_invalid_date,
    DATE_invalid_format,
    DATE_wrong_text,
    TEXT_unknown_key,
    STRUCT_unknown_view_type,
    STRUCT_not_a_view_type,
    STRUCT_not_a_view,
    STRUCT_not_a_view_revision,
    STRUCT_not_an_occurrence,
    STRUCT_not_a_child,
    STRUCT_other_item,
    STRUCT_view_exists,
    STRUCT_view_revision_exists,
    STRUCT_contains_itself,
    STRUCT_bad_quantity,
    STRUCT_text_too_long,
    STRUCT_unknown_note_type,
    STRUCT_not_a_note_type,
    STRUCT_no_such_note,
    STRUCT_no_sequence_number,
    BOMW_not_a_window,
    BOMW_not_a_line,
    BOMW_no_top_line,
    BOMW_unknown_attribute,
    BOMW_wrong_attribute_type,
    BOMW_not_settable,
    CONFIG_not_a_rule,

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
        one("parent_type", Kind::reference),
        // Of dataset types; the three lists go together (file_references.h).
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
       {file_name("original_file_name", FILE_original_name_size), one("file_type", Kind::integer),
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
      {"ProcessTemplate",
       "Object",
       {text("template_name", name_length), text("template_desc", description_length),
        one("root_template", Kind::reference)},
       {"template_name"},
       STORE_key_taken},
      {"TaskDefinition",
       "Object",
       {text("object_name", name_length), one("task_type", Kind::integer),
        one("quorum", Kind::integer), one("branch", Kind::integer),
        texts("handler_names", name_length), list("handler_actions", Kind::integer),
        texts("handler_arguments", handler_arguments_length), list("sub_tasks", Kind::reference)},
       {},
       0,
       true},
      {"TaskTemplate", "TaskDefinition", {list("signoff_members", Kind::reference)}, {}, 0},
      {"Task",
       "TaskDefinition",
       {one("job", Kind::reference), one("parent_task", Kind::reference),
        one("state", Kind::integer), one("condition_result", Kind::integer),
        list("target_attachments", Kind::reference), list("reference_attachments", Kind::reference),
        list("signoff_attachments", Kind::reference),
        list("release_status_attachments", Kind::reference)},
       {},
       0},
      {"Job",
       "WorkspaceObject",
       {one("process_template", Kind::reference), one("root_task", Kind::reference),
        // What has stopped it (flow_stops.h).
        one("stop_task", Kind::reference), text("stop_handler", name_length),
        one("stop_action", Kind::integer), one("stop_code", Kind::integer),
        text("stop_text", stop_text_length), one("stop_date", Kind::date)},
       {},
       0},
      {"Signoff",
       "Object",
       {one("signoff_member", Kind::reference), one("review_task", Kind::reference),
        one("decision", Kind::integer), one("decision_user", Kind::reference),
        one("decision_date", Kind::date), text("comments", SIGNOFF_comment_size)},
       {},
       0},
      {"ResourcePool",
       "Object",
       {one("pool_group", Kind::reference), one("pool_role", Kind::reference),
        one("allow_subgroup", Kind::logical)},
       {},
       0},
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

const AttributeDefinition* find_built_in_attribute(const std::string& class_name,
                                                   const std::string& attribute_name) {
  for (const ClassDefinition& definition : built_in_classes()) {
    for (const AttributeDefinition& attribute : definition.attributes) {
      if (definition.name == class_name && attribute.name == attribute_name) {
        return &attribute;
      }
    }
  }
  return nullptr;
}

const std::vector<ListsSideBySide>& lists_side_by_side() {
  static const std::vector<ListsSideBySide> all = {
      {"Type", {"reference_names", "reference_templates", "reference_formats"}},
      {"Dataset", {"reference_names", "reference_types", "reference_objects"}},
      {"TaskDefinition", {"handler_names", "handler_actions", "handler_arguments"}},
      {"PSBOMViewRevision",
       {"occurrence_numbers", "occurrence_items", "occurrence_revisions", "occurrence_quantities",
        "occurrence_sequences"}},
      {"PSBOMViewRevision", {"note_occurrences", "note_types", "note_texts"}},
  };
  return all;
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

std::span<const ObjectDefinition> built_in_objects() {
  return objects;
}

std::span<const int> known_errors() {
  return errors;
}

}  // namespace host
