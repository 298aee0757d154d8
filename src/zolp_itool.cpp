// Preferences read with a default or tested; release statuses; tests of types and classes; lookup
// of items.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "call_frame.h"
#include "clock.h"
#include "files.h"
#include "host_memory.h"
#include "host_texts.h"
#include "ork/access.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/form.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/type.h"
#include "ork/wso.h"
#include "path_lock.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::HostPtr;
using orktool::HostTexts;
using orktool::out;
using orktool::text_or_empty;

int ZOLP_get_logical_pref(int /*option*/, const char* name, logical* value, logical default_value) {
  FRAME(frame, "ZOLP_get_logical_pref");
  int status = ORK_ok;
  TRACED(status, "PREF_initialize()", PREF_initialize());
  if (PREF_get_logical_value(name, 0, value) != ORK_ok && value != nullptr) {
    *value = default_value;
  }
  // The line tells that there is a value, not which one: it has always been read so.
  ZOLP_DEBUG("Preference [%s] = [%s]\n", name, value != nullptr ? "TRUE" : "FALSE");
  return frame.leave(status);
}

int ZOLP_get_string_pref(int /*option*/, const char* name, char** value,
                         const char* default_value) {
  if (default_value == nullptr) {
    ZOLP_ERROR("ZOLP_get_string_pref default=NULL\n");
    return ORK_ok;
  }
  FRAME(frame, "ZOLP_get_string_pref");
  int status = ORK_ok;
  *value = nullptr;
  TRACED(status, "PREF_initialize()", PREF_initialize());
  if (PREF_get_char_value(name, 0, value) != ORK_ok || *value == nullptr) {
    MEM_free(*value);
    *value = ZOLP_CopyString(default_value);
  }
  ZOLP_DEBUG("Preference [%s] = [%s]\n", name, *value);
  return frame.leave(status);
}

logical ZOLP_check_preference(int /*option*/, const char* name, const char* value) {
  int status = ORK_ok;
  int count = 0;
  TRACED(status, "PREF_get_value_count(cPref,&nvals)", PREF_get_value_count(name, &count));
  if (status != ORK_ok || count == 0) {
    ZOLP_WARNING("Preference %s not found\n", name);
    return 0;
  }
  for (int i = 0; i < count; ++i) {
    HostPtr<char> result;
    TRACED(status, "PREF_get_char_value(cPref, ii, &result)",
           PREF_get_char_value(name, i, out(result)));
    if (status == ORK_ok && result != nullptr && value != nullptr &&
        std::strcmp(result.get(), value) == 0) {
      return 1;
    }
  }
  return 0;
}

// --------------------------------------------------------------------------- release statuses

namespace {

constexpr char status_list_attribute[] = "release_status_list";

/** Loads an object and lists its statuses in the order in which they were attached. */
int list_statuses(tag object, int* count, HostPtr<tag>& statuses) {
  GUARDED("OBJ_load(object)", OBJ_load(object));
  GUARDED("OBJ_get_value_tags(object, \"release_status_list\", &count, &statuses)",
          OBJ_get_value_tags(object, status_list_attribute, count, out(statuses)));
  if (statuses == nullptr && *count > 0) {
    *count = 0;
  }
  return ORK_ok;
}

}  // namespace

int ZOLP_ask_status_names(tag object, int* count, char*** names) {
  FRAME(frame, "ZOLP_ask_status_names");
  int status_count = 0;
  HostPtr<tag> statuses;
  if (const int status = list_statuses(object, &status_count, statuses); status != ORK_ok) {
    return status;
  }
  if (status_count < 1) {
    *count = status_count;
    return frame.leave(ORK_ok);
  }
  HostTexts array(status_count);
  if (!array.is_allocated()) {
    ZOLP_CRERROR("ZOLP_ask_status_names alloc Memory");
    return frame.leave(ZOLP_failed);
  }
  for (int i = 0; i < status_count; ++i) {
    HostPtr<char> name;
    GUARDED("OBJ_get_value_string(statuses[i], \"name\", &name)",
            OBJ_get_value_string(statuses.get()[i], "name", out(name)));
    if (!array.append(name.get())) {
      return frame.leave(ZOLP_failed);
    }
  }
  *names = array.hand_over();
  *count = status_count;
  return frame.leave(ORK_ok);
}

int ZOLP_ask_status(tag object, int* count, ZOLP_status_record** records) {
  FRAME(frame, "ZOLP_ask_status");
  int status_count = 0;
  HostPtr<tag> statuses;
  if (const int status = list_statuses(object, &status_count, statuses); status != ORK_ok) {
    return status;
  }
  if (status_count < 1) {
    *count = status_count;
    return frame.leave(ORK_ok);
  }
  HostPtr<ZOLP_status_record> block(static_cast<ZOLP_status_record*>(
      MEM_alloc(static_cast<std::size_t>(status_count) * sizeof(ZOLP_status_record))));
  if (block == nullptr) {
    ZOLP_CRERROR("ZOLP_ask_status alloc Memory");
    return frame.leave(ZOLP_failed);
  }
  for (int i = 0; i < status_count; ++i) {
    ZOLP_status_record& record = block.get()[i];
    record = {};
    HostPtr<char> name;
    GUARDED("OBJ_get_value_string(statuses[i], \"name\", &name)",
            OBJ_get_value_string(statuses.get()[i], "name", out(name)));
    orktool::copy_text(record.name, name.get());
    GUARDED("OBJ_get_value_date(statuses[i], \"date_released\", &date)",
            OBJ_get_value_date(statuses.get()[i], "date_released", &record.date_released));
  }
  *records = block.release();
  *count = status_count;
  return frame.leave(ORK_ok);
}

int ZOLP_ask_latest_status(tag object, char* status_name) {
  FRAME(frame, "ZOLP_ask_latest_status");
  status_name[0] = '\0';
  int count = 0;
  HostPtr<tag> statuses;
  if (const int status = list_statuses(object, &count, statuses); status != ORK_ok) {
    return status;
  }
  if (count > 0) {
    HostPtr<char> name;
    GUARDED("OBJ_get_value_string(statuses[count - 1], \"name\", &name)",
            OBJ_get_value_string(statuses.get()[count - 1], "name", out(name)));
    orktool::copy_text(status_name, ZOLP_NAME_SIZE + 1, name.get());
    status_name[ZOLP_NAME_SIZE] = '\0';
  }
  return frame.leave(ORK_ok);
}

// ------------------------------------------------------------------- tests of types and classes

int ZOLP_TYPE_ask_name(tag type, char* name) {
  FRAME(frame, "ZOLP_TYPE_ask_name");
  int status = ORK_ok;
  HostPtr<char> type_name;
  TRACED(status, "TYPE_get_name2(type, &name)", TYPE_get_name2(type, out(type_name)));
  if (type_name != nullptr) {
    // Like strncpy, for callers that hand over a zeroed buffer of 33 characters.
    std::strncpy(name, type_name.get(), ZOLP_NAME_SIZE);
  }
  return frame.leave(status);
}

int ZOLP_isObjectOfClass(tag object, const char* class_name, logical* answer) {
  FRAME(frame, "ZOLP_isObjectOfClass");
  int status = ORK_ok;
  tag wanted_class = NULLTAG;
  tag object_class = NULLTAG;
  logical is_subclass = 0;
  TRACED(status, "STORE_class_id_of_class(class_name, &wanted_class)",
         STORE_class_id_of_class(class_name, &wanted_class));
  if (status == ORK_ok) {
    TRACED(status, "STORE_class_of_instance(object, &object_class)",
           STORE_class_of_instance(object, &object_class));
  }
  if (status == ORK_ok) {
    TRACED(status, "STORE_is_descendant(wanted_class, object_class, &is_subclass)",
           STORE_is_descendant(wanted_class, object_class, &is_subclass));
  }
  if (status == ORK_ok) {
    *answer = object_class == wanted_class || is_subclass != 0 ? 1 : 0;
  }
  return frame.leave(status);
}

int ZOLP_isObjectOfTypeExt(tag tObj, const char* szWantedType, logical* p_lAnswer,
                           logical include_subtypes) {
  FRAME(frame, "ZOLP_isObjectOfTypeExt");
  int status = ORK_ok;
  tag wanted_type = NULLTAG;
  tag object_type = NULLTAG;
  *p_lAnswer = 0;
  TRACED(status, "TYPE_find_type(szWantedType, NULL, &wanted_type)",
         TYPE_find_type(szWantedType, nullptr, &wanted_type));
  if (status == ORK_ok) {
    TRACED(status, "TYPE_get_object_type(tObj, &object_type)",
           TYPE_get_object_type(tObj, &object_type));
  }
  if (status == ORK_ok && wanted_type != NULLTAG && object_type == wanted_type) {
    *p_lAnswer = 1;
  } else if (wanted_type != NULLTAG && include_subtypes != 0 && status == ORK_ok) {
    TRACED(status, "TYPE_is_type_of(object_type, wanted_type, p_lAnswer)",
           TYPE_is_type_of(object_type, wanted_type, p_lAnswer));
  }
  ZOLP_TRACE("Object is %sof type %s\n", *p_lAnswer != 0 ? "" : "NOT ", szWantedType);
  return frame.leave(status);
}

int ZOLP_isObjectOfType(tag tObj, const char* szWantedType, logical* p_lAnswer) {
  return ZOLP_isObjectOfTypeExt(tObj, szWantedType, p_lAnswer, 0);
}

int ZOLP_Test_STORE_instance_isNew(tag tObj, logical* isNew) {
  FRAME(frame, "ZOLP_Test_STORE_instance_isNew");
  int status = ORK_ok;
  tag item = NULLTAG;
  int state = 0;
  if (isNew != nullptr) {
    *isNew = 0;
  }
  TRACED(status, "ITEM_get_item_of_rev(tObj, &item)", ITEM_get_item_of_rev(tObj, &item));
  TRACED(status, "STORE_get_instance_state(item, &state)", STORE_get_instance_state(item, &state));
  ZOLP_TRACE("STORE_get_instance_state returned %d \n", state);
  if (state != STORE_instance_new) {
    ZOLP_TRACE("Skip Revise case. \n");
    return frame.leave(status);
  }
  tag relation_type = NULLTAG;
  TRACED(status, "REL_find_relation_type( VK_based_on_rtype, &relTypeTag )",
         REL_find_relation_type("VELO_based_on", &relation_type));
  int list_status = ORK_ok;
  int count = 0;
  HostPtr<tag> origins;
  TRACED(list_status, "REL_list_relations(item, NULLTAG, relTypeTag, NULLTAG, &count, &relations)",
         REL_list_relations(item, NULLTAG, relation_type, NULLTAG, &count, out(origins)));
  if (list_status != ORK_ok) {
    return frame.leave(list_status);
  }
  if (count > 0) {
    ZOLP_TRACE("Found VELO_based_on relation. Skip SaveAs case. \n");
  } else if (isNew != nullptr) {
    *isNew = 1;
  }
  return frame.leave(status);
}

namespace {

/**
 * 0 when the object may be changed; otherwise why it may not, a code that never stands on the error
 * stack, or the platform's status.
 */
int test_modifiable_and_not_checkout(tag object) {
  int status = ORK_ok;
  logical granted = 0;
  if (RSV_assert_object_modifiable(object) != ORK_ok) {
    return ZOLP_object_is_not_modifiable;
  }
  TRACED(status, "ACCESS_check_privilege(object, \"WRITE\", &granted)",
         ACCESS_check_privilege(object, ACCESS_privilege_write, &granted));
  if (status != ORK_ok) {
    return status;
  }
  if (granted != 1) {
    return ZOLP_object_is_not_writable;
  }
  logical checked_out = 0;
  RSV_is_checked_out(object, &checked_out);
  return checked_out != 0 ? ZOLP_object_is_checked_out : 0;
}

}  // namespace

logical ZOLP_TestModifiableAndNotCheckout(tag tagRes) {
  FRAME(frame, "ZOLP_TestModifiableAndNotCheckout");
  const int code = test_modifiable_and_not_checkout(tagRes);
  if (code == 0) {
    return frame.leave(logical{1});
  }
  int status = ORK_ok;
  HostPtr<char> id;
  TRACED(status, "WSO_get_object_id_string(tagRes, &id)",
         WSO_get_object_id_string(tagRes, out(id)));
  if (status == ORK_ok) {
    ZOLP_ERROR("TestModifiableAndNotCheckout=%d on Object:%s\n", code, id.get());
  } else {
    ZOLP_ERROR("TestModifiableAndNotCheckout=%d\n", code);
  }
  return frame.leave(logical{0});
}

int ZOLP_isItemReplica(tag item, logical* isReplica) {
  FRAME(frame, "ZOLP_isItemReplica");
  int status = ORK_ok;
  int local_site_id = 0;
  tag local_site = NULLTAG;
  tag owning_site = NULLTAG;
  *isReplica = 0;
  TRACED(status, "STORE_site_id(&site_id)", STORE_site_id(&local_site_id));
  if (status == ORK_ok && item != NULLTAG && local_site_id != 0) {
    TRACED(status, "STORE_lookup_imc(site_id, &local_site)",
           STORE_lookup_imc(local_site_id, &local_site));
    if (status == ORK_ok && local_site != NULLTAG) {
      TRACED(status, "STORE_location_of_instance(item, &owning_site)",
             STORE_location_of_instance(item, &owning_site));
    }
  }
  if (status == ORK_ok && owning_site != NULLTAG && owning_site != local_site) {
    *isReplica = 1;
  }
  return frame.leave(status);
}

// ----------------------------------------------------------------------------- lookup of items

namespace {

constexpr int one_key = 1;

tag first_of(const HostPtr<tag>& objects, int count) {
  return count > 0 && objects != nullptr ? objects.get()[0] : NULLTAG;
}

}  // namespace

int ZOLP_ITEM_find_item(const char* item_id, tag* item) {
  FRAME(frame, "ZOLP_ITEM_find_item");
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> items;
  const char* names[] = {"item_id"};
  *item = NULLTAG;
  TRACED(status, "ITEM_find_items_by_key_attributes(1, names, values, &count, &items)",
         ITEM_find_items_by_key_attributes(one_key, names, &item_id, &count, out(items)));
  *item = first_of(items, count);
  return frame.leave(status);
}

int ZOLP_ITEM_find_rev(const char* item_id, const char* pcRev_id, tag* rev) {
  FRAME(frame, "ZOLP_ITEM_find_rev");
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> revisions;
  const char* names[] = {"item_id"};
  *rev = NULLTAG;
  TRACED(status,
         "ITEM_find_item_revs_by_key_attributes(1, names, values, pcRev_id, &count, &revisions)",
         ITEM_find_item_revs_by_key_attributes(one_key, names, &item_id, pcRev_id, &count,
                                               out(revisions)));
  *rev = first_of(revisions, count);
  return frame.leave(status);
}

int ZOLP_ask_attachment_type(tag primary, tag secondary, tag* tagAttType, char* cType) {
  FRAME(frame, "ZOLP_ask_attachment_type");
  int status = ORK_ok;
  int count = 0;
  HostPtr<REL_record_s> relations;
  TRACED(status, "REL_list_all_related_objects(primary, &count, &relations)",
         REL_list_all_related_objects(primary, &count, out(relations)));
  if (status != ORK_ok) {
    return frame.leave(ORK_ok);
  }
  const REL_record_s* end = relations.get() + (relations != nullptr ? std::max(count, 0) : 0);
  const REL_record_s* relation =
      std::find_if(static_cast<const REL_record_s*>(relations.get()), end,
                   [primary, secondary](const REL_record_s& record) {
                     return record.primary == primary && record.secondary == secondary;
                   });
  if (relation != end) {
    *tagAttType = relation->relation_type;
  }
  if (*tagAttType != NULLTAG) {
    TRACED(status, "ZOLP_TYPE_ask_name(*tagAttType, cType)",
           ZOLP_TYPE_ask_name(*tagAttType, cType));
  }
  return frame.leave(ORK_ok);
}

void ZOLP_GetTime(date_s* date) {
  FRAME(frame, "ZOLP_GetTime");
  *date = orktool::local_date();
  (void)frame.leave(0);
}

// ------------------------------------------------------------------------------- dataset copies

namespace {

constexpr std::size_t longest_temporary_path = 260;
constexpr std::size_t longest_original_name = 100;
constexpr char file_class[] = "VeloFile";

/** Replaces what is no ASCII letter, digit or dot. */
void clean_file_name(char* name) {
  for (; *name != '\0'; ++name) {
    const char lower = static_cast<char>(*name | 0x20);
    const bool stays =
        (lower >= 'a' && lower <= 'z') || (*name >= '0' && *name <= '9') || *name == '.';
    if (!stays) {
      *name = '_';
    }
  }
}

/**
 * A path in the folder for temporary files, with nothing there before and after. Files of the same
 * name have the same path, so that one process at a time has it.
 */
class TemporaryFile {
 public:
  explicit TemporaryFile(const char* name) : TemporaryFile(path_of(name)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!lock_.is_taken_by_other()) {
      orktool::remove_file(path_.text);
    }
  }

  const char* path() const { return path_.text; }

 private:
#if defined(_WIN32)
  static constexpr char separator[] = "\\";
#else
  static constexpr char separator[] = "/";
#endif

  struct Path {
    char text[longest_temporary_path + 1];
  };

  explicit TemporaryFile(const Path& path) : path_(path), lock_(path.text) {
    if (lock_.is_taken_by_other()) {
      ZOLP_ERROR("temporary file %s is in use by another process\n", path_.text);
    } else {
      orktool::remove_file(path_.text);
    }
  }

  static Path path_of(const char* name) {
    Path path;
    if (const char* const folder = std::getenv("VK_TMP_DIR"); folder != nullptr) {
      orktool::copy_text(path.text, folder);
    } else {
      orktool::copy_temporary_folder(path.text, sizeof(path.text));
    }
    if (std::strlen(path.text) >= longest_temporary_path) {
      path.text[0] = '\0';  // a cut folder is another place; no file has the empty path
      return path;
    }
    orktool::append_text(path.text, separator);
    orktool::append_text(path.text, name);
    return path;
  }

  Path path_;
  orktool::PathLock lock_;
};

/** A named reference of a dataset. */
struct NamedReference {
  char name[DSET_name_size + 1];
  int type = 0;
  tag object = NULLTAG;
};

/** How the dataset type wants the files of a reference imported; `is_known` says whether it does.
 */
int ask_import_type(tag dataset_type, const char* type_name, const char* reference_name,
                    int* import_type, bool* is_known) {
  int count = 0;
  HostPtr<char*> templates;
  HostPtr<char*> formats;
  GUARDED("DSET_get_datasettype_file_refs(tagDSType, refname, &count, &templates, &formats)",
          DSET_get_datasettype_file_refs(dataset_type, reference_name, &count, out(templates),
                                         out(formats)));
  *is_known = count > 0 && formats != nullptr;
  if (!*is_known) {
    ZOLP_ERROR("no FileRefs Found DSType=%s namedref=%s\n", type_name, reference_name);
    return ORK_ok;
  }
  const char* const format = text_or_empty(formats.get()[0]);
  *import_type = std::strcmp(format, "TEXT") == 0     ? static_cast<int>(SS_TEXT)
                 : std::strcmp(format, "BINARY") == 0 ? static_cast<int>(SS_BINARY)
                                                      : 0;
  return ORK_ok;
}

/** Exports a file and imports it again as one of its own. */
int duplicate_file(tag file, const char* cleaned_name, int import_type, tag* duplicate) {
  const TemporaryFile temporary(cleaned_name);
  GUARDED("FILE_export_file(reference, tmpfile)", FILE_export_file(file, temporary.path()));
  FILE_handle descriptor = nullptr;
  GUARDED("FILE_import_file(tmpfile, NULL, filetype, &tagNewFile, &fileDescriptor)",
          FILE_import_file(temporary.path(), nullptr, import_type, duplicate, &descriptor));
  GUARDED("OBJ_save(tagNewFile)", OBJ_save(*duplicate));
  return ORK_ok;
}

/** Names a file after its new dataset, with the extension that it had. */
int rename_file(tag file, const char* dataset_name, const char* cleaned_name) {
  const char* const extension = std::strrchr(cleaned_name, '.');
  char name[longest_original_name + 1];
  orktool::copy_text(name, dataset_name);
  orktool::append_text(name, extension);
  clean_file_name(name);
  GUARDED("OBJ_lock(tagNewFile)", OBJ_lock(file));
  GUARDED("FILE_set_original_file_name(tagNewFile, newname)",
          FILE_set_original_file_name(file, name));
  GUARDED("OBJ_save(tagNewFile)", OBJ_save(file));
  GUARDED("OBJ_unlock(tagNewFile)", OBJ_refresh(file, 0));
  return ORK_ok;
}

/** Gives the copy of a dataset a file of its own in place of one that it shares. */
int replace_shared_file(tag copy, const NamedReference& reference, int import_type,
                        const char* dataset_name) {
  char original_name[FILE_original_name_size + 1];
  GUARDED("FILE_get_original_file_name(reference, orgname)",
          FILE_get_original_file_name(reference.object, original_name));
  clean_file_name(original_name);
  tag duplicate = NULLTAG;
  if (const int status = duplicate_file(reference.object, original_name, import_type, &duplicate);
      status != ORK_ok) {
    return status;
  }
  GUARDED("DSET_replace_dataset_named_ref(*ptagNewDS, reference, refname, reftype, tagNewFile)",
          DSET_replace_dataset_named_ref(copy, reference.object, reference.name, reference.type,
                                         duplicate));
  return rename_file(duplicate, dataset_name, original_name);
}

/** Replaces the object of a copy's reference, if it is a file. */
int copy_reference(tag copy, int index, tag dataset_type, const char* type_name,
                   const char* dataset_name) {
  NamedReference reference;
  GUARDED(
      "DSET_find_dataset_named_ref(*ptagNewDS, jj, refname, &reftype, &reference)",
      DSET_find_dataset_named_ref(copy, index, reference.name, &reference.type, &reference.object));
  tag class_id = NULLTAG;
  HostPtr<char> class_name;
  GUARDED("STORE_class_of_instance(reference, &class_id)",
          STORE_class_of_instance(reference.object, &class_id));
  GUARDED("STORE_name_of_class(class_id, &class_name)",
          STORE_name_of_class(class_id, out(class_name)));
  if (std::strcmp(text_or_empty(class_name.get()), file_class) != 0) {
    return ORK_ok;
  }
  int import_type = 0;
  bool is_known = false;
  const int status =
      ask_import_type(dataset_type, type_name, reference.name, &import_type, &is_known);
  if (status != ORK_ok || !is_known) {
    return status;
  }
  return replace_shared_file(copy, reference, import_type, dataset_name);
}

}  // namespace

int ZOLP_RealCopyDataset(tag tagOldDS, const char* pcNewDatsetName, tag* ptagNewDS) {
  FRAME(frame, "ZOLP_RealCopyDataset");
  *ptagNewDS = NULLTAG;
  GUARDED("DSET_copy_dataset_with_id(tagOldDS, pcNewDatsetName, NULL, NULL, ptagNewDS)",
          DSET_copy_dataset_with_id(tagOldDS, pcNewDatsetName, nullptr, nullptr, ptagNewDS));
  GUARDED("OBJ_save(*ptagNewDS)", OBJ_save(*ptagNewDS));
  GUARDED("OBJ_refresh(*ptagNewDS, TRUE)", OBJ_refresh(*ptagNewDS, 1));
  char type_name[WSO_name_size + 1];
  tag dataset_type = NULLTAG;
  GUARDED("WSO_get_object_type(tagOldDS, type_name)", WSO_get_object_type(tagOldDS, type_name));
  GUARDED("DSET_find_datasettype(type_name, &tagDSType)",
          DSET_find_datasettype(type_name, &dataset_type));
  int count = 0;
  GUARDED("DSET_get_dataset_ref_count(*ptagNewDS, &count)",
          DSET_get_dataset_ref_count(*ptagNewDS, &count));
  for (int jj = 0; jj < count; ++jj) {
    if (const int status = copy_reference(*ptagNewDS, jj, dataset_type, type_name, pcNewDatsetName);
        status != ORK_ok) {
      return status;
    }
  }
  GUARDED("OBJ_save(*ptagNewDS)", OBJ_save(*ptagNewDS));
  GUARDED("OBJ_unlock (*ptagNewDS)", OBJ_refresh(*ptagNewDS, 0));
  return frame.leave(ORK_ok);
}

// ---------------------------------------------------------------------------------------- forms

namespace {

/** Looked up once; a process works on one site. */
tag master_form_relation = NULLTAG;

}  // namespace

int ZOLP_GetMasterForm(tag tagObj, tag* form) {
  FRAME(frame, "ZOLP_GetMasterForm");
  *form = NULLTAG;
  int status = ORK_ok;
  if (master_form_relation == NULLTAG) {
    tag found = NULLTAG;
    TRACED(status, "TYPE_find_type(\"VELO_master_form\", NULL, &VK_master_form_rtype)",
           TYPE_find_type("VELO_master_form", nullptr, &found));
    if (status != ORK_ok) {
      return frame.leave(status);
    }
    master_form_relation = found;
    if (master_form_relation == NULLTAG) {
      ZOLP_ERROR("ZOLP_GetMasterForm VK_master_form_rtype not found\n");
      return frame.leave(ZOLP_no_single_master_form);
    }
  }
  int count = 0;
  HostPtr<tag> objects;
  TRACED(status, "REL_list_secondary_objects_only(tagObj, VK_master_form_rtype, &count, &objects)",
         REL_list_secondary_objects_only(tagObj, master_form_relation, &count, out(objects)));
  if (status != ORK_ok) {
    return frame.leave(status);
  }
  if (count != 1 || objects == nullptr) {
    ZOLP_ERROR("ZOLP_GetMasterForm REL_list_secondary_objects_only return %d Objects\n", count);
    return frame.leave(ZOLP_no_single_master_form);
  }
  *form = objects.get()[0];
  return frame.leave(ORK_ok);
}

namespace {

/** Makes a form and adds it to a dataset under a named reference; saves both. */
int create_named_form(tag dataset, const char* reference_name, const char* form_type, tag* form) {
  int status = ORK_ok;
  TRACED(status, "FORM_create(cNamedRef, \"\", cFormType, ptagForm)",
         FORM_create(reference_name, "", form_type, form));
  if (status == ORK_ok) {
    TRACED(status, "OBJ_lock(tagObj)", OBJ_lock(dataset));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(*ptagForm)", OBJ_save(*form));
  }
  if (status == ORK_ok) {
    TRACED(status, "DSET_add_dataset_named_ref(tagObj, cNamedRef, DSET_PART_OF, *ptagForm)",
           DSET_add_dataset_named_ref(dataset, reference_name, DSET_PART_OF, *form));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(tagObj)", OBJ_save(dataset));
  }
  return status;
}

}  // namespace

int ZOLP_GetNamedRefForm(tag tagObj, const char* cNamedRef, tag* ptagForm, logical create,
                         const char* cFormType) {
  FRAME(frame, "ZOLP_GetNamedRefForm");
  int status = ORK_ok;
  TRACED(status, "OBJ_refresh(tagObj, STORE_no_lock)", OBJ_refresh(tagObj, 0));
  *ptagForm = NULLTAG;
  int reference_type = 0;
  TRACED(status, "DSET_get_dataset_named_ref(tagObj, cNamedRef, &reference_type, ptagForm)",
         DSET_get_dataset_named_ref(tagObj, cNamedRef, &reference_type, ptagForm));
  if (status == DSET_no_named_reference) {
    TRACED(status, "ERR_clear_last_error(DSET_no_named_reference)",
           ERR_clear_last_error(DSET_no_named_reference));
    *ptagForm = NULLTAG;
    status = ORK_ok;
  }
  if (create == 0 || *ptagForm != NULLTAG) {
    return frame.leave(status);
  }
  ZOLP_TRACE("Create NamedRefForm-Form:%s\n", cNamedRef);
  if (status == ORK_ok) {
    const bool has_type = cFormType != nullptr && *cFormType != '\0';
    status = create_named_form(tagObj, cNamedRef, has_type ? cFormType : cNamedRef, ptagForm);
  }
  OBJ_refresh(tagObj, 0);
  if (*ptagForm != NULLTAG) {
    OBJ_refresh(*ptagForm, 0);
  }
  return frame.leave(status);
}

int ZOLP_FORM_ask_value(tag form, const char* field_name, int len, char* value, int* actual_chars) {
  FRAME(frame, "ZOLP_FORM_ask_value");
  *actual_chars = 0;
  value[0] = '\0';
  HostPtr<char> display_value;
  GUARDED("OBJ_UIF_get_value(form, field_name, &display_value)",
          OBJ_UIF_get_value(form, field_name, out(display_value)));
  if (display_value != nullptr && len > 0) {
    orktool::copy_text(value, static_cast<std::size_t>(len) + 1, display_value.get());
    value[len] = '\0';
  }
  *actual_chars = static_cast<int>(std::strlen(value));
  ZOLP_TRACE("get form field \"%s\" to value \"%s\"\n", field_name, value);
  return frame.leave(ORK_ok);
}

int ZOLP_FORM_set_value(tag form, const char* field_name, const char* field_value) {
  FRAME(frame, "ZOLP_FORM_set_value");
  int status = ORK_ok;
  TRACED(status, "OBJ_UIF_set_value(form, field_name, field_value)",
         OBJ_UIF_set_value(form, field_name, field_value));
  if (status == ORK_ok) {
    ZOLP_TRACE("set form field \"%s\" to value \"%s\"\n", field_name, field_value);
  }
  return frame.leave(status);
}
