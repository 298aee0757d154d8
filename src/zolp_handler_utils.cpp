// What workflow handlers do with the targets of a job as a whole.

#include <cstdio>
#include <cstring>
#include <ctime>

#include "attachment_types.h"
#include "call_frame.h"
#include "clock.h"
#include "host_memory.h"
#include "ork/flow.h"
#include "ork/folder.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/type.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::HostPtr;
using orktool::out;
using orktool::text_or_empty;

namespace {

using ObjectName = char[WSO_name_size + 1];

int trace_class(tag target, int position) {
  int status = ORK_ok;
  tag type = NULLTAG;
  char class_name[TYPE_name_size + 1] = "";
  TRACED(status, "TYPE_get_object_type(target, &type)", TYPE_get_object_type(target, &type));
  if (status == ORK_ok) {
    TRACED(status, "TYPE_get_class_name(type, class_name)", TYPE_get_class_name(type, class_name));
  }
  if (status == ORK_ok) {
    ZOLP_TRACE("TARGET[%d]: CLASS = [%s]\n", position, class_name);
  }
  return status;
}

}  // namespace

int ZOLP_getRHTargetObjects(const FLOW_action_message_s* msg, tag* job, int* target_count,
                            tag** targets) {
  FRAME(frame, "ZOLP_getRHTargetObjects");
  *job = NULLTAG;
  *target_count = 0;
  *targets = nullptr;
  GUARDED("FLOW_get_job(msg->task, job)", FLOW_get_job(msg->task, job));
  GUARDED("ZOLP_ask_target_objects(*job, target_count, targets)",
          ZOLP_ask_target_objects(*job, target_count, targets));
  ZOLP_TRACE("NUMBER OF TARGETS = [%d]\n", *target_count);
  if (*target_count < 1) {
    *target_count = 0;
    const orktool::Place place = orktool::here();
    ZOLP_TRACE("Error FLOW_target_object_not_attached! File:%s [Line:%d]\n", place.file,
               place.line);
    frame.leave_as("ERROR: ZOLP_getRHTargetObjects");
    return ZOLP_no_targets;
  }
  int status = ORK_ok;
  for (int i = 0; i < *target_count && status == ORK_ok; ++i) {
    status = trace_class((*targets)[i], i + 1);
  }
  if (status != ORK_ok) {
    MEM_free(*targets);
    *targets = nullptr;
    const orktool::Place place = orktool::here();
    *target_count = 0;
    ZOLP_TRACE("Error by exit status! File;%s [Line:%d]\n", place.file, place.line);
    frame.leave_as("ERROR:ZOLP_getRHTargetObjects");
    return status;
  }
  return frame.leave(ORK_ok);
}

int ZOLP_deleteJob(tag job) {
  FRAME(frame, "ZOLP_deleteJob");
  logical exists = 0;
  ZOLP_TRACE("Job = %d\n", static_cast<int>(job));
  GUARDED("STORE_instance_exists(job, &exists)", STORE_instance_exists(job, &exists));
  if (exists == 0) {
    ZOLP_TRACE("Job does not exist, nothing to delete!");
    return frame.leave(ORK_ok);
  }
  int status = ORK_ok;
  TRACED(status, "STORE_refresh_instances(1, &job, NULLTAG, STORE_modify_lock)",
         STORE_refresh_instances(1, &job, NULLTAG, STORE_modify_lock));
  if (status != ORK_ok) {
    return frame.leave(status);
  }
  GUARDED("OBJ_delete(job)", OBJ_delete(job));
  return frame.leave(ORK_ok);
}

namespace {

const char* true_or_false(logical value) {
  return value != 0 ? "true" : "false";
}

int report_if_dataset(tag attachment, const char* target_id, std::FILE* report) {
  logical is_dataset = 0;
  if (ZOLP_isObjectOfClass(attachment, "Dataset", &is_dataset) != ORK_ok) {
    return ORK_ok;
  }
  ZOLP_TRACE("verdict:<%s>\n", true_or_false(is_dataset));
  if (is_dataset == 0) {
    return ORK_ok;
  }
  ObjectName name = "";
  ObjectName type = "";
  GUARDED("WSO_get_name(attachment, name)", WSO_get_name(attachment, name));
  GUARDED("WSO_get_object_type(attachment, type)", WSO_get_object_type(attachment, type));
  std::fprintf(report, "%-25s %-25s %-25s\n", target_id, type, name);
  return ORK_ok;
}

}  // namespace

int ZOLP_HasTargetADrawing(tag job, FILE** report) {
  FRAME(frame, "ZOLP_HasTargetADrawing");
  int count = 0;
  HostPtr<tag> targets;
  GUARDED("ZOLP_ask_target_objects(job, &count, &targets)",
          ZOLP_ask_target_objects(job, &count, out(targets)));
  for (int i = 0; i < count; ++i) {
    const tag target = targets.get()[i];
    logical is_revision = 0;
    if (const int status = ZOLP_isObjectOfClass(target, "ItemRevision", &is_revision);
        status != ORK_ok) {
      return orktool::print_failure(status);
    }
    ZOLP_TRACE("answer:<%s>\n", true_or_false(is_revision));
    if (is_revision == 0) {
      continue;
    }
    HostPtr<char> id;
    GUARDED("WSO_get_object_id_string(target, &id)", WSO_get_object_id_string(target, out(id)));
    int status = ORK_ok;
    int attachment_count = 0;
    HostPtr<ITEM_attached_object_s> attachments;
    TRACED(status, "ITEM_list_all_rev_attachments(target, &attach_count, &attachments)",
           ITEM_list_all_rev_attachments(target, &attachment_count, out(attachments)));
    if (status != ORK_ok) {
      return frame.leave(status);
    }
    for (int j = 0; j < attachment_count; ++j) {
      const tag attachment = attachments.get()[j].attachment;
      status = report_if_dataset(attachment, text_or_empty(id.get()), *report);
      if (status != ORK_ok) {
        return status;
      }
    }
  }
  return frame.leave(ORK_ok);
}

namespace {

/** The first object that bears the name and is of the type "Folder", or NULLTAG. */
int find_folder(const char* folder_name, tag* folder) {
  int count = 0;
  HostPtr<tag> found;
  GUARDED("WSO_find(folder_name, &count, &found)", WSO_find(folder_name, &count, out(found)));
  for (int i = 0; i < count; ++i) {
    const tag object = found.get()[i];
    ObjectName name = "";
    ObjectName type = "";
    GUARDED("WSO_get_name(found[i], name)", WSO_get_name(object, name));
    if (std::strcmp(name, folder_name) != 0) {
      continue;
    }
    GUARDED("WSO_get_object_type(found[i], type)", WSO_get_object_type(object, type));
    if (std::strcmp(type, "Folder") == 0) {
      *folder = object;
      return ORK_ok;
    }
  }
  return ORK_ok;
}

int insert_at_beginning(tag folder, int count, const tag* objects) {
  GUARDED("FOLDER_insert_instances(folder_tag, target_count, targets, 0)",
          FOLDER_insert_instances(folder, count, objects, 0));
  return ORK_ok;
}

}  // namespace

int ZOLP_moveTargetToFolder(tag job, const char* folder_name, const char* description) {
  FRAME(frame, "ZOLP_moveTargetToFolder");
  ZOLP_TRACE("folder:<%s> description:<%s>\n", folder_name, description);
  if (*folder_name == '\0') {
    return frame.leave(ZOLP_failed);
  }
  tag folder = NULLTAG;
  if (const int status = find_folder(folder_name, &folder); status != ORK_ok) {
    return status;
  }
  if (folder == NULLTAG) {
    // The next call files the targets.
    GUARDED("FOLDER_create(folder_name, description, &folder_tag)",
            FOLDER_create(folder_name, description, &folder));
    GUARDED("OBJ_save(folder_tag)", OBJ_save(folder));
    return frame.leave(ORK_ok);
  }
  int count = 0;
  HostPtr<tag> targets;
  GUARDED("ZOLP_ask_target_objects(job, &target_count, &targets)",
          ZOLP_ask_target_objects(job, &count, out(targets)));
  GUARDED("OBJ_refresh(folder_tag, true)", OBJ_refresh(folder, 1));
  if (insert_at_beginning(folder, count, targets.get()) != ORK_ok) {
    return frame.leave(ZOLP_failed);
  }
  GUARDED("OBJ_save(folder_tag)", OBJ_save(folder));
  GUARDED("OBJ_unlock(folder_tag)", OBJ_refresh(folder, 0));
  GUARDED("OBJ_unload(folder_tag)", OBJ_unload(folder));
  return frame.leave(ORK_ok);
}

namespace {

/** Appends the current time in seconds, as far as a job's name has room. */
void append_seconds(char* job_name) {
  char seconds[16];
  std::snprintf(seconds, sizeof seconds, "%d", static_cast<int>(orktool::current_seconds()));
  const std::size_t length = std::strlen(job_name);
  if (length < ZOLP_JOB_NAME_SIZE) {
    orktool::copy_text(job_name + length, ZOLP_JOB_NAME_SIZE + 1 - length, seconds);
  }
}

/** Runs a job from its start to its deletion. */
int run_temporary_job(const char* job_name, tag process_template, int count, const tag* objects) {
  const char description[WSO_description_size + 1] = "";
  tag job = NULLTAG;
  const HostPtr<int> types = orktool::attachment_types(count, FLOW_target_attachment);
  if (types == nullptr) {
    ZOLP_CRERROR("ZOLP_addReleaseStatusWithTmpJob alloc Memory");
    return ZOLP_failed;
  }
  GUARDED(
      "FLOW_create_process(job_name, description, template, object_count, objects, attach_types, "
      "&tmp_job)",
      FLOW_create_process(job_name, description, process_template, count, objects, types.get(),
                          &job));
  return ZOLP_deleteJob(job);
}

}  // namespace

int ZOLP_addReleaseStatusWithTmpJob(int object_count, tag* objects, char* job_name,
                                    const char* procedure_name) {
  FRAME(frame, "ZOLP_addReleaseStatusWithTmpJob");
  ZOLP_TRACE("ObjCount        = %d\n", object_count);
  ZOLP_TRACE("ObjectList      = %p\n", static_cast<void*>(objects));
  ZOLP_TRACE("szJobName       = %s\n", job_name);
  ZOLP_TRACE("szProcedureName = %s\n", procedure_name);
  append_seconds(job_name);
  ZOLP_TRACE("job name <%s>\n", job_name);
  tag process_template = NULLTAG;
  GUARDED("FLOW_find_process_template(procedure_name, &template)",
          FLOW_find_process_template(procedure_name, &process_template));
  const int status = run_temporary_job(job_name, process_template, object_count, objects);
  return frame.leave(status == ORK_ok ? ORK_ok : ZOLP_failed);
}
