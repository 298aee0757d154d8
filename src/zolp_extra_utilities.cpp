// Filters on objects, dates as text, view types and occurrences.

#include <cstring>

#include "call_frame.h"
#include "host_memory.h"
#include "ork/config.h"
#include "ork/err.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/struct.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::Frame;
using orktool::HostPtr;
using orktool::out;

// ---------------------------------------------------------------- view types and occurrences

int ZOLP_IsViewOfType(tag bv_or_bvr, tag view_type, bool* verdict) {
  const Frame frame("ZOLP_IsViewOfType");
  int status = ORK_ok;
  logical is_bom_view = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tBVOrBVR, CLASS_PSBOMVIEW, &lIsBomView)",
         ZOLP_isObjectOfClass(bv_or_bvr, "PSBOMView", &is_bom_view));
  *verdict = false;
  if (view_type == NULLTAG || bv_or_bvr == NULLTAG) {
    return status;
  }
  tag view = NULLTAG;
  if (is_bom_view != 0) {
    view = bv_or_bvr;
  } else {
    TRACED(status, "STRUCT_get_bom_view_of_bvr(tBVOrBVR, &tBV)",
           STRUCT_get_bom_view_of_bvr(bv_or_bvr, &view));
  }
  if (view == NULLTAG) {
    return frame.leave(status);
  }
  if (status == ORK_ok) {
    tag current = NULLTAG;
    TRACED(status, "STRUCT_get_bom_view_type( tBV, &tCurViewType)",
           STRUCT_get_bom_view_type(view, &current));
    *verdict = status == ORK_ok && current == view_type;
  }
  return frame.leave(status);
}

int ZOLP_IsViewOfType(tag bv_or_bvr, const char* view_type_name, bool* verdict) {
  const Frame frame("ZOLP_IsViewOfType");
  int status = ORK_ok;
  tag view_type = NULLTAG;
  *verdict = false;
  if (view_type_name != nullptr) {
    ZOLP_TRACE("Searching for view type %s\n", view_type_name);
    TRACED(status, "STRUCT_find_view_type(szViewType, &tViewType)",
           STRUCT_find_view_type(view_type_name, &view_type));
  } else {
    TRACED(status, "STRUCT_get_default_view_type(&tViewType)",
           STRUCT_get_default_view_type(&view_type));
    if (view_type == NULLTAG) {
      TRACED(status, "STRUCT_find_view_type(\"view\", &tViewType )",
             STRUCT_find_view_type("view", &view_type));
    }
  }
  if (status != ORK_ok) {
    return status;
  }
  TRACED(status, "ZOLP_IsViewOfType(tBVOrBVR, tViewType, p_lVerdict)",
         ZOLP_IsViewOfType(bv_or_bvr, view_type, verdict));
  return frame.leave(status);
}

namespace {

constexpr int revision_not_determined = 2010;
constexpr int unknown_revision_rule = 710041;

/** What the child of an occurrence is. Tests that fail leave it undecided. */
struct Child {
  bool is_item = false;
  bool is_revision = false;
};

/**
 * Tells items and revisions apart and copies the name of the object's type.
 * @return the status of the last operation.
 */
int identify_child(tag object, Child* child, char** type_name) {
  int status = ORK_ok;
  logical answer = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tOccObj, CLASS_ITEMREVISION, &lIsItemRev)",
         ZOLP_isObjectOfClass(object, "ItemRevision", &answer));
  child->is_revision = answer != 0;
  answer = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tOccObj, CLASS_ITEM, &lIsItem)",
         ZOLP_isObjectOfClass(object, "Item", &answer));
  child->is_item = answer != 0;
  char type[WSO_name_size + 1] = "";
  TRACED(status, "WSO_get_object_type(tOccObj, szType)", WSO_get_object_type(object, type));
  ZOLP_TRACE("Type is %s\n", type);
  *type_name = ZOLP_CopyString(type);
  return status;
}

}  // namespace

int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, tag rev_rule, tag* item, tag* item_rev,
                                 char** type_name) {
  const Frame frame("ZOLP_GetItemAndRevFromOccObj");
  Child child;
  int status = identify_child(occ_obj, &child, type_name);
  if (child.is_item && rev_rule != NULLTAG) {
    *item = occ_obj;
    HostPtr<char> explanation;
    TRACED(status, "CONFIG_item_get_configured(tRevRule, *tItem, tItemRev, &szExplanation)",
           CONFIG_item_get_configured(rev_rule, *item, item_rev, out(explanation)));
  } else if (!child.is_revision) {
    [[maybe_unused]] int ignored = ORK_ok;
    TRACED(ignored,
           "ERR_store_error_s1(3, 2010, \"Revision rule either not specified or not "
           "found\")",
           ERR_store_error_s1(ERR_severity_error, revision_not_determined,
                              "Revision rule either not specified or not found"));
    status = revision_not_determined;
  } else {
    *item_rev = occ_obj;
    TRACED(status, "ITEM_get_item_of_rev(*tItemRev, tItem)", ITEM_get_item_of_rev(occ_obj, item));
  }
  return frame.leave(status);
}

int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, const char* rev_rule_name, tag* item, tag* item_rev,
                                 char** type_name) {
  const Frame frame("ZOLP_GetItemAndRevFromOccObj");
  int status = ORK_ok;
  tag rev_rule = NULLTAG;
  TRACED(status, "CONFIG_find(szRevRule, &tRevRule)", CONFIG_find(rev_rule_name, &rev_rule));
  if (status == ORK_ok && rev_rule == NULLTAG) {
    ZOLP_ERROR("unknown revision rule %s\n", rev_rule_name);
    TRACED(status, "ERR_store_error_s1(3, 710041, szRevRule)",
           ERR_store_error_s1(ERR_severity_error, unknown_revision_rule, rev_rule_name));
  }
  return frame.leave(ZOLP_GetItemAndRevFromOccObj(occ_obj, rev_rule, item, item_rev, type_name));
}

int ZOLP_GetItemFromOccObj(tag occ_obj, tag* item, char** type_name) {
  const Frame frame("ZOLP_GetItemFromOccObj");
  Child child;
  int status = identify_child(occ_obj, &child, type_name);
  if (child.is_item) {
    *item = occ_obj;
  } else if (child.is_revision) {
    TRACED(status, "ITEM_get_item_of_rev(tOccObj, tItem)", ITEM_get_item_of_rev(occ_obj, item));
  }
  return frame.leave(status);
}

int GetSeqNo(tag bvr, tag occ, char** seq_no) {
  const Frame frame("GetSeqNo");
  int status = ORK_ok;
  [[maybe_unused]] int ignored = ORK_ok;
  *seq_no = nullptr;
  TRACED(ignored, "ERR_set_protect_mark()", ERR_set_protect_mark());
  TRACED(status, "STRUCT_get_seq_no(tBVR, tOcc, szSeqNo)", STRUCT_get_seq_no(bvr, occ, seq_no));
  ZOLP_TRACE("Seq No. is [%s] \n", *seq_no);
  if (status == STRUCT_no_sequence_number) {
    status = ORK_ok;
    TRACED(ignored, "ERR_clear_errors()", ERR_clear_errors());
  }
  TRACED(ignored, "ERR_clear_protect_mark()", ERR_clear_protect_mark());
  return frame.leave(status);
}

int ZOLP_GetOccNoteText(tag bvr, tag occ, const char* note_type, tag** notes, int* note_count,
                        char** value) {
  const Frame frame("ZOLP_GetOccNoteText");
  int status = ORK_ok;
  *value = nullptr;
  if (*notes == nullptr) {
    *note_count = 0;
    TRACED(status, "STRUCT_list_occurrence_notes(tBVR, tOcc, iNotes, tNotes)",
           STRUCT_list_occurrence_notes(bvr, occ, note_count, notes));
  }
  bool found = false;
  for (int i = 0; i < *note_count && status == ORK_ok && !found; ++i) {
    HostPtr<char> name;
    TRACED(status, "STRUCT_get_note_type_name((*tNotes)[i], &szName)",
           STRUCT_get_note_type_name((*notes)[i], out(name)));
    if (status != ORK_ok || note_type == nullptr || name == nullptr ||
        std::strcmp(name.get(), note_type) != 0) {
      continue;
    }
    found = true;
    TRACED(status, "STRUCT_get_occurrence_note_text(tBVR, tOcc, (*tNotes)[i], szValue)",
           STRUCT_get_occurrence_note_text(bvr, occ, (*notes)[i], value));
    ZOLP_TRACE("\tFound Value=%s\n", *value);
  }
  return frame.leave(status);
}
