// Datasets: made, given files, looked up; text files in, images out; relations.

#include <cstdio>
#include <cstring>

#include "call_frame.h"
#include "files.h"
#include "host_memory.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::HostPtr;
using orktool::out;
using orktool::print_failure;
using orktool::text_or_empty;

// ------------------------------------------------------------------------ creation and references

namespace {

int store_error(int code, const char* detail) {
  [[maybe_unused]] int status = ORK_ok;
  TRACED(status, "ERR_store_error_s1(3, code, detail)",
         ERR_store_error_s1(ERR_severity_error, code, detail));
  return code;
}

using FormatName = char[DSET_name_size + 1];

/** The caller's format, which is not checked, or else the first one that the tool writes. */
int choose_format(const char* type_name, tag tool, const char* wanted, FormatName& format) {
  if (wanted != nullptr) {
    orktool::copy_text(format, wanted);
    return ORK_ok;
  }
  int status = ORK_ok;
  int count = 0;
  HostPtr<char*> formats;
  TRACED(status, "DSET_get_tool_output_formats(default_tool, &format_count, &formats)",
         DSET_get_tool_output_formats(tool, &count, out(formats)));
  if (status != ORK_ok) {
    return ZOLP_no_default_tool;
  }
  if (count < 1 || formats == nullptr) {
    return store_error(ZOLP_no_output_format, type_name);
  }
  orktool::copy_text(format, formats.get()[0]);
  return ORK_ok;
}

bool has_name(const HostPtr<char*>& names, int count, const char* wanted) {
  for (int i = 0; names != nullptr && i < count; ++i) {
    if (std::strcmp(text_or_empty(names.get()[i]), text_or_empty(wanted)) == 0) {
      return true;
    }
  }
  return false;
}

int create_described(tag type, const char* name, const char* description, tag* dataset) {
  int status = ORK_ok;
  if (description != nullptr) {
    TRACED(status,
           "DSET_create_dataset_with_id(datasettype_tag, dataset_name, description, 0, 0, "
           "dataset_tag)",
           DSET_create_dataset_with_id(type, name, description, nullptr, nullptr, dataset));
  } else {
    TRACED(status,
           "DSET_create_dataset_with_id(datasettype_tag, dataset_name, \"\", 0, 0, dataset_tag)",
           DSET_create_dataset_with_id(type, name, "", nullptr, nullptr, dataset));
  }
  return status != ORK_ok ? print_failure(status) : ORK_ok;
}

/** Gives a new dataset its tool, format and revision limit; saves and unlocks it. */
int complete_dataset(tag dataset, tag tool, const char* format) {
  GUARDED("DSET_set_dataset_tool(*dataset_tag, default_tool)",
          DSET_set_dataset_tool(dataset, tool));
  GUARDED("DSET_set_dataset_format(*dataset_tag, format)",
          DSET_set_dataset_format(dataset, format));
  int limit = 0;
  GUARDED("DSET_get_dataset_def_rev_limit(&rev_limit)", DSET_get_dataset_def_rev_limit(&limit));
  GUARDED("WSO_set_revision_limit(*dataset_tag, rev_limit)",
          WSO_set_revision_limit(dataset, limit));
  GUARDED("OBJ_save(*dataset_tag)", OBJ_save(dataset));
  GUARDED("OBJ_unlock(*dataset_tag)", OBJ_refresh(dataset, 0));
  return ORK_ok;
}

}  // namespace

int ZOLP_createDataset(const char* datasettype, const char* dataset_name,
                       const char* reference_name, const char* dataset_format,
                       const char* description, tag* dataset_tag) {
  FRAME(frame, "ZOLP_create_dataset");
  const auto leave = [&](int status, orktool::Place end = orktool::here()) {
    frame.leave_as("ZOLP_createDataset", end);
    return status;
  };
  ZOLP_TRACE("datasettype      = %s\n", datasettype);
  ZOLP_TRACE("dataset_name     = %s\n", dataset_name);
  ZOLP_TRACE("dataset_format   = %s\n", dataset_format);
  ZOLP_TRACE("description      = %s\n", description);
  int status = ORK_ok;
  tag type = NULLTAG;
  TRACED(status, "DSET_find_datasettype(datasettype, &datasettype_tag)",
         DSET_find_datasettype(datasettype, &type));
  if (status != ORK_ok) {
    return leave(store_error(ZOLP_dataset_type_not_found, datasettype));
  }
  if (type == NULLTAG) {
    return ORK_ok;  // quietly, without the exit line
  }
  tag tool = NULLTAG;
  TRACED(status, "DSET_get_datasettype_def_tool(datasettype_tag, &default_tool)",
         DSET_get_datasettype_def_tool(type, &tool));
  if (status != ORK_ok) {
    return leave(store_error(ZOLP_no_default_tool, datasettype));
  }
  FormatName format;
  status = choose_format(datasettype, tool, dataset_format, format);
  if (status != ORK_ok) {
    return leave(status);
  }
  int reference_count = 0;
  HostPtr<char*> reference_names;
  GUARDED("DSET_get_datasettype_refs(datasettype_tag, &ref_count, &ref_names)",
          DSET_get_datasettype_refs(type, &reference_count, out(reference_names)));
  if (!has_name(reference_names, reference_count, reference_name)) {
    return leave(store_error(ZOLP_no_such_reference, reference_name));
  }
  status = create_described(type, dataset_name, description, dataset_tag);
  if (status != ORK_ok) {
    return leave(status);
  }
  status = complete_dataset(*dataset_tag, tool, format);
  return status != ORK_ok ? status : leave(ORK_ok);
}

int ZOLP_attachNamedReference(tag dataset, tag file_tag, const char* reference) {
  FRAME(frame, "ZOLP_attachNamedReference");
  ZOLP_TRACE("reference = <%s>\n", reference);
  int status = ZOLP_verify_state_and_lock_of_object(dataset);
  if (status != ORK_ok) {
    return frame.leave(print_failure(status));
  }
  int reference_type = 0;
  tag replaced = NULLTAG;
  TRACED(status, "DSET_get_dataset_named_ref(dataset, reference, &reference_type, &old_ref)",
         DSET_get_dataset_named_ref(dataset, reference, &reference_type, &replaced));
  if (status == DSET_no_named_reference || replaced == NULLTAG) {
    TRACED(status, "DSET_add_dataset_named_ref(dataset, reference, DSET_PART_OF, file_tag)",
           DSET_add_dataset_named_ref(dataset, reference, DSET_PART_OF, file_tag));
  } else if (status == ORK_ok) {
    TRACED(status,
           "DSET_replace_dataset_named_ref(dataset, old_ref, reference, reference_type, file_tag)",
           DSET_replace_dataset_named_ref(dataset, replaced, reference, reference_type, file_tag));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(dataset)", OBJ_save(dataset));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_unlock(dataset)", OBJ_refresh(dataset, 0));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_unload(dataset)", OBJ_unload(dataset));
  }
  return frame.leave(status);
}

int ZOLP_findDatasetNamedRef(const char* dataset_name, const char* ref_name, tag* ref_tag) {
  FRAME(frame, "ZOLP_findDatasetNamedRef");
  *ref_tag = NULLTAG;
  int status = ORK_ok;
  tag dataset = NULLTAG;
  TRACED(status, "DSET_find_dataset(dataset_name, &dataset)",
         DSET_find_dataset(dataset_name, &dataset));
  if (status != ORK_ok) {
    return frame.leave(1);
  }
  int reference_type = 0;
  TRACED(status, "DSET_get_dataset_named_ref(dataset, ref_name, &reference_type, ref_tag)",
         DSET_get_dataset_named_ref(dataset, ref_name, &reference_type, ref_tag));
  return frame.leave(status != ORK_ok ? 1 : 0);
}

int ZOLP_createRelation(tag destObject, tag tDataset, const char* relation_type) {
  FRAME(frame, "ZOLP_createRelation");
  int status = ORK_ok;
  tag type = NULLTAG;
  TRACED(status, "REL_find_relation_type(relation_type, &tRelationType)",
         REL_find_relation_type(relation_type, &type));
  tag relation = NULLTAG;
  if (status == ORK_ok) {
    TRACED(status, "REL_create_relation(destObject, tDataset, tRelationType, NULLTAG, &tRelation)",
           REL_create_relation(destObject, tDataset, type, NULLTAG, &relation));
  }
  if (status == ORK_ok) {
    TRACED(status, "REL_save_relation(tRelation)", REL_save_relation(relation));
  }
  return frame.leave(status);
}

// ----------------------------------------------------------------- text files in, image files out

namespace {

constexpr char text_name[] = "Text";
constexpr char text_format[] = "TEXT";

/** Imports a text file as a file object of its own. */
int import_text_file(const char* path, tag* file) {
  int status = ORK_ok;
  FILE_handle descriptor = nullptr;
  TRACED(status, "FILE_import_file(szOsPath, NULL, SS_TEXT, &tFile, &fileDescriptor)",
         FILE_import_file(path, nullptr, SS_TEXT, file, &descriptor));
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(tFile)", OBJ_save(*file));
  }
  return status;
}

/**
 * Makes a text dataset that holds a file, and saves it. Unlike ZOLP_createDataset it sets no
 * revision limit and takes the type's references on trust; both ways have callers of their own.
 */
int create_text_dataset(const char* name, const char* description, tag file, tag* dataset) {
  int status = ORK_ok;
  tag type = NULLTAG;
  tag tool = NULLTAG;
  TRACED(status, "DSET_find_datasettype(\"Text\", &tDatasettype)",
         DSET_find_datasettype(text_name, &type));
  if (status == ORK_ok) {
    TRACED(status, "DSET_get_datasettype_def_tool(tDatasettype, &tDefaultTool)",
           DSET_get_datasettype_def_tool(type, &tool));
  }
  if (status == ORK_ok) {
    TRACED(status,
           "DSET_create_dataset_with_id(tDatasettype, szDatasetName, szDatasetDesc, NULL, NULL, "
           "&tDataset)",
           DSET_create_dataset_with_id(type, name, description, nullptr, nullptr, dataset));
  }
  if (status == ORK_ok) {
    TRACED(status, "DSET_set_dataset_tool(tDataset, tDefaultTool)",
           DSET_set_dataset_tool(*dataset, tool));
  }
  if (status == ORK_ok) {
    TRACED(status, "DSET_set_dataset_format(tDataset, \"TEXT\")",
           DSET_set_dataset_format(*dataset, text_format));
  }
  if (status == ORK_ok) {
    TRACED(status, "DSET_add_dataset_named_ref(tDataset, \"Text\", DSET_PART_OF, tFile)",
           DSET_add_dataset_named_ref(*dataset, text_name, DSET_PART_OF, file));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(tDataset)", OBJ_save(*dataset));
  }
  return status;
}

/** The directory in a caller's path buffer, which comes back when the path is done with. */
class ExtendedPath {
 public:
  explicit ExtendedPath(char* path) : path_(path), length_(std::strlen(path)) {}
  ExtendedPath(const ExtendedPath&) = delete;
  ExtendedPath& operator=(const ExtendedPath&) = delete;
  ~ExtendedPath() { path_[length_] = '\0'; }

  /** Appends a name that takes, with its end, no more room than was promised. */
  const char* with(const char* name) {
    orktool::copy_text(path_ + length_, ZOLP_IMAGE_NAME_SIZE, name);
    return path_;
  }

 private:
  char* path_;
  std::size_t length_;
};

/** Item id and revision id, by which exported images are named. */
struct RevisionName {
  char item_id[ITEM_id_size + 1];
  char revision_id[ITEM_id_size + 1];
};

int ask_revision_name(tag revision, RevisionName& name) {
  tag item = NULLTAG;
  GUARDED("ITEM_get_item_of_rev(itemrev, &item)", ITEM_get_item_of_rev(revision, &item));
  GUARDED("ITEM_get_id(item, item_id)", ITEM_get_id(item, name.item_id));
  GUARDED("ITEM_get_rev_id(itemrev, rev_id)", ITEM_get_rev_id(revision, name.revision_id));
  return ORK_ok;
}

/** Exports what a dataset refers to under a name made of the revision's and its own. */
int export_image(tag dataset, tag reference, const RevisionName& revision, char* path) {
  char object_name[WSO_name_size + 1];
  GUARDED("WSO_get_name(list[j], object_name)", WSO_get_name(dataset, object_name));
  char file_name[ZOLP_IMAGE_NAME_SIZE];
  std::snprintf(file_name, sizeof(file_name), "%s_%s_%s", revision.item_id, revision.revision_id,
                object_name);
  if (const int status = ZOLP_RepSpecialChar(file_name); status != 0) {
    return print_failure(status);
  }
  ExtendedPath extended(path);
  const char* const target = extended.with(file_name);
  if (!orktool::path_exists(target)) {
    [[maybe_unused]] int status = ORK_ok;
    TRACED(status, "FILE_export_file(reference, export_file_path)",
           FILE_export_file(reference, target));
  }
  return ORK_ok;
}

}  // namespace

int ZOLP_importTextDataset(const char* /*reserved*/, const char* dataset_name, const char* path,
                           tag* dataset) {
  FRAME(frame, "ZOLP_importTextDataset");
  *dataset = NULLTAG;  // a site without text datasets makes none, and says so by this alone
  ZOLP_TRACE("Path <%s>\n", path);
  // Not by import_text_file: here a file that cannot be imported, saved or locked does not end the
  // work, and the trace has always had its own text for the import.
  int status = ORK_ok;
  tag file = NULLTAG;
  FILE_handle descriptor = nullptr;
  TRACED(status, "FILE_import_file(path, NULL, SS_TEXT, &tFile, &fileDescriptor)",
         FILE_import_file(path, nullptr, SS_TEXT, &file, &descriptor));
  TRACED(status, "OBJ_save(tFile)", OBJ_save(file));
  TRACED(status, "OBJ_lock(tFile)", OBJ_lock(file));
  status = ZOLP_createDataset(text_name, dataset_name, text_name, text_format, nullptr, dataset);
  if (status != ORK_ok) {
    return frame.leave(print_failure(status));
  }
  status = ZOLP_attachNamedReference(*dataset, file, text_name);
  if (status != ORK_ok) {
    return frame.leave(print_failure(status));
  }
  TRACED(status, "OBJ_unlock(tFile)", OBJ_refresh(file, 0));
  TRACED(status, "OBJ_refresh(*dataset, FALSE)", OBJ_refresh(*dataset, 0));
  if (status != ORK_ok) {
    frame.leave_as("ZOLP_importTextDataset with ERROR");
    return 1;
  }
  return frame.leave(ORK_ok);
}

int ZOLP_fct_import_text_dataset_desc(tag destObject, const char* szDatasetName,
                                      const char* szDatasetDesc, const char* szOsPath,
                                      const char* szFileName) {
  FRAME(frame, "ZOLP_fct_import_text_dataset_desc");
  ZOLP_TRACE("Path <%s> File <%s>\n", szOsPath, szFileName);
  tag file = NULLTAG;
  tag dataset = NULLTAG;
  int status = import_text_file(szOsPath, &file);
  if (status == ORK_ok) {
    status = create_text_dataset(szDatasetName, szDatasetDesc, file, &dataset);
  }
  if (dataset != NULLTAG) {
    OBJ_refresh(dataset, 0);
  }
  HostPtr<char> uid;
  if (status == ORK_ok) {
    TRACED(status, "STORE_tag_to_uid(tDataset, &szUid)", STORE_tag_to_uid(dataset, out(uid)));
    ZOLP_TRACE("created dataset tag=%s\n", uid != nullptr ? uid.get() : "AAAAAAAAAAAAAA");
  }
  if (status == ORK_ok) {
    TRACED(status, "ZOLP_createRelation(destObject, tDataset, \"VELO_reference\")",
           ZOLP_createRelation(destObject, dataset, "VELO_reference"));
  }
  if (status != ORK_ok) {
    frame.leave_as("ZOLP_fct_import_text_dataset_desc with ERROR");
    return status;
  }
  return frame.leave(ORK_ok);
}

int ZOLP_fct_import_text_dataset(tag destObject, const char* szDatasetName, const char* szOsPath,
                                 const char* szFileName) {
  return ZOLP_fct_import_text_dataset_desc(destObject, szDatasetName, nullptr, szOsPath,
                                           szFileName);
}

int ZOLP_exportImage(tag* list, int count, char* export_file_path, const char* ref_name,
                     const char* mode, tag itemrev) {
  FRAME(frame, "ZOLP_export_image");
  if (std::strcmp(text_or_empty(mode), "no") != 0 || itemrev == NULLTAG) {
    frame.leave_as("ZOLP_exportImage");
    return 1;
  }
  RevisionName revision;
  if (const int status = ask_revision_name(itemrev, revision); status != ORK_ok) {
    return status;
  }
  ZOLP_TRACE("\nExported images:\n");
  for (int j = 0; j < count; ++j) {
    int status = ORK_ok;
    char reference_name[DSET_name_size + 1];
    int reference_type = 0;
    tag reference = NULLTAG;
    // Each dataset yields the reference at the dataset's own place in the list.
    TRACED(status, "DSET_find_dataset_named_ref(list[j], j, reference_name, &reference_type, &ref)",
           DSET_find_dataset_named_ref(list[j], j, reference_name, &reference_type, &reference));
    if (status != ORK_ok || std::strcmp(reference_name, text_or_empty(ref_name)) != 0) {
      continue;
    }
    status = export_image(list[j], reference, revision, export_file_path);
    if (status != ORK_ok) {
      return status;
    }
  }
  frame.leave_as("ZOLP_exportImage");
  return ORK_ok;
}
