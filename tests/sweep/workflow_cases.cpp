// Workflow: attachments, condition tasks, release levels and reviewers, targets of handlers.

#include <cstdio>
#include <cstring>

#include "ork/flow.h"
#include "ork/folder.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

/** A new job of a process template, with a target or none. */
tag start_job(const char* name, const char* target = nullptr) {
  tag process = NULLTAG;
  tag job = NULLTAG;
  const tag targets[] = {target != nullptr ? object(target) : NULLTAG};
  const int types[] = {FLOW_target_attachment};
  prepared(FLOW_find_process_template(name, &process), name);
  prepared(FLOW_create_process(name, "", process, target != nullptr ? 1 : 0, targets, types, &job),
           name);
  return job;
}

/** The n-th task of a type. */
tag task_of(tag job, int type, int nth = 0) {
  int count = 0;
  tag* tasks = nullptr;
  prepared(FLOW_get_type_tasks(job, type, &count, &tasks), "tasks");
  prepared(count > nth ? ORK_ok : 1, "a task");
  const tag task = tasks[nth];
  MEM_free(tasks);
  return task;
}

std::string task_name(tag task) {
  char name[FLOW_name_size + 1] = "";
  return task == NULLTAG || FLOW_get_name(task, name) != ORK_ok ? "0" : name;
}

/** The job that the cases work on, with a target. */
tag job_of_run(Run&) {
  return start_job("Sweep", "100/A");
}

template <typename Change>
auto change_attachments(int type, Change change) {
  return [type, change](Run& run) {
    const tag job = start_job("Sweep", "100/A");
    tag objects[] = {object("100/B")};
    run.call(change, job, objects);
    int count = 0;
    tag* attached = nullptr;
    prepared(FLOW_get_attachments(task_of(job, eFLOWRootTask), type, &count, &attached),
             "attached");
    run.out(count);
    MEM_free(attached);
  };
}

void add_attachments(Cases& cases) {
  cases
      .add("ZOLP_add_attachments", "", R"(good 0: 1;
        aborts FLOW_get_root_task FLOW_add_attachments: 0; exhausted 2002: 0)")
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_attachments(job, FLOW_reference_attachment, 1, objects);
      }));
  // A guarded call of a function whose own calls are guarded: both frames stay open.
  cases
      .add("ZOLP_add_reference_objects", "", R"(good 0: 1;
        aborts +2 FLOW_get_root_task FLOW_add_attachments: 0; exhausted 2002 +1: 0)")
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_reference_objects(job, 1, objects);
      }));
  cases
      .add("ZOLP_add_target_objects", "", R"(good 0: 2;
        aborts +2 FLOW_get_root_task FLOW_add_attachments: 1; exhausted 2002 +1: 1)")
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag* objects) {
        return ZOLP_add_target_objects(job, 1, objects);
      }));
  cases
      .add("ZOLP_remove_attachments", "", R"(good 0: 0;
        aborts FLOW_get_root_task FLOW_remove_attachments: 1)")
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag*) {
        tag attached[] = {object("100/A")};
        return ZOLP_remove_attachments(job, 1, attached);
      }));
  const std::string ends =
      "; aborts FLOW_get_root_task: 99|untouched; aborts FLOW_get_attachments: 0|null";
  cases.add("ZOLP_ask_target_objects", "", "good 0: 1|100/A" + ends)
      .call(outputs_of(ZOLP_ask_target_objects, job_of_run));
  cases.add("ZOLP_ask_reference_objects", "", "good 0: 1|100/B" + ends)
      .call(outputs_of(ZOLP_ask_reference_objects, [](Run& run) {
        const tag job = job_of_run(run);
        tag reference[] = {object("100/B")};
        prepared(ZOLP_add_reference_objects(job, 1, reference), "reference");
        return job;
      }));
  // Of the review task with its two signoffs, of the condition task; then the target, no
  // references, no release statuses, the job.
  cases
      .add("ZOLP_refresh_entire_job", "", R"(good 0; passes FLOW_get_root_task FLOW_get_sub_tasks
          FLOW_get_state FLOW_get_state_string FLOW_get_attachments OBJ_refresh OBJ_refresh
          FLOW_get_state FLOW_get_state_string FLOW_get_attachments FLOW_get_attachments;
        ignores OBJ_load
          then OBJ_refresh FLOW_get_attachments FLOW_get_attachments FLOW_refresh_entire_job;
        passes FLOW_get_attachments FLOW_get_attachments FLOW_refresh_entire_job)")
      .call(outputs_of(ZOLP_refresh_entire_job, job_of_run));
}

/** Decides a job's condition task and shows its result. */
template <typename Decide>
auto decided(Decide decide) {
  return [decide](Run& run) {
    const tag job = start_job("Sweep");
    const tag task = task_of(job, eFLOWConditionTask);
    run.call(decide, job, task);
    int result = 0;
    prepared(FLOW_get_condition_task_result(task, &result), "result");
    run.out(result);
  };
}

void add_condition_tasks(Cases& cases) {
  cases
      .add("ZOLP_get_condition_task_by_name", "", R"(good 0: Large?;
        passes FLOW_get_type_tasks FLOW_get_name: 0)")
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag task = untouched_tag;
        run.call(ZOLP_get_condition_task_by_name, job, "Large?", &task);
        run.out(task_name(task));
      });
  // Only giving the lock back counts.
  const std::string set = R"(
    answers 0 OBJ_refresh FLOW_set_condition_task_result OBJ_save then OBJ_refresh: 0;
    passes locked OBJ_refresh: 1)";
  cases.add("ZOLP_set_condition_task_result", "", "good 0: 1;" + set)
      .call(decided(
          [](tag, tag task) { return ZOLP_set_condition_task_result(task, FLOW_condition_true); }));
  cases
      .add("ZOLP_set_named_condition_task_result", "",
           "good 0: 1; passes FLOW_get_type_tasks FLOW_get_name: 0;" + set)
      .call(decided([](tag job, tag) {
        return ZOLP_set_named_condition_task_result(job, "Large?", FLOW_condition_true);
      }));
}

void add_release_levels(Cases& cases) {
  cases
      .add("ZOLP_ask_current_release_level", "", R"(good 0: Check|Check;
        passes FLOW_get_type_tasks FLOW_get_state OBJ_UIF_get_value: 0|)")
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag level = untouched_tag;
        char name[FLOW_name_size + 1] = "x";
        run.call(ZOLP_ask_current_release_level, job, &level, name);
        run.out(task_name(level)).out(name);
      });
  cases
      .add("ZOLP_ask_current_release_level_name", "", R"(good 0: Check;
        passes FLOW_get_type_tasks FLOW_get_state OBJ_UIF_get_value)")
      .call(outputs_of(ZOLP_ask_current_release_level_name, job_of_run));
  cases
      .add("ZOLP_find_release_level", "", R"(good 0: Check;
        passes FLOW_get_type_tasks OBJ_UIF_get_value: 0)")
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag level = untouched_tag;
        run.call(ZOLP_find_release_level, job, "Check", &level);
        run.out(task_name(level));
      });
}

void add_reviewers(Cases& cases) {
  // The two signoffs of the team are a pool's and a user's. What was read before a failure is
  // handed out, but for the two functions of fixed type.
  const std::string until_first = R"(; passes FLOW_get_type_tasks OBJ_UIF_get_value
    FLOW_get_sub_task FLOW_get_attachments OBJ_refresh FLOW_get_signoff_member: 0|null;
    exhausted 2002: 0|null; passes OBJ_refresh FLOW_get_signoff_member: )";
  cases
      .add("ZOLP_ask_reviewers", "a pool and a user",
           "good 0: 2|other other" + until_first + "1|other; exhausted 2002: 1|other")
      .call(outputs_of(ZOLP_ask_reviewers, job_of_run, "Check"));
  cases
      .add("ZOLP_ask_reviewers_by_type", "pools, a pool and a user",
           "good 0: 1|other" + until_first + "1|other")
      .call(outputs_of(ZOLP_ask_reviewers_by_type, job_of_run, "Check", SIGNOFF_resource_pool));
  cases
      .add("ZOLP_ask_reviewers_groupmembers", "a pool and a user",
           "good 0: 1|other" + until_first + "0|null")
      .call(outputs_of(ZOLP_ask_reviewers_groupmembers, job_of_run, "Check"));
  cases
      .add("ZOLP_ask_reviewers_resourcepools", "a pool and a user",
           "good 0: 1|other" + until_first + "0|null")
      .call(outputs_of(ZOLP_ask_reviewers_resourcepools, job_of_run, "Check"));
}

auto ask_job_info(const char* process, int task_type) {
  return [=](Run& run) {
    const tag job = start_job(process);
    const FLOW_action_message_s message = {task_of(job, task_type), FLOW_perform_action,
                                           FLOW_started, ""};
    char name[33] = "x";
    date_s date{};
    tag user = untouched_tag;
    run.call(ZOLP_getJobInfo, &message, name, &date, &user);
    run.out(name).out_tag(user);
  };
}

void add_handlers(Cases& cases) {
  cases
      .add("ZOLP_getJobInfo", "a job without review tasks", R"(good 0: ada|ada;
        passes FLOW_get_job FLOW_get_type_tasks WSO_describe: |0; passes ORG_find_user: ada|0)")
      .call(ask_job_info("Plain", eFLOWRootTask));
  // Of the pool, of the user, and of the user who runs the handler.
  cases
      .add("ZOLP_getJobInfo", "a team of a pool and a user, nobody has decided", R"(
        good 0: ada|ada; passes FLOW_get_job FLOW_get_type_tasks FLOW_get_attachments
          SIGNOFF_get_signoff_decision SIGNOFF_get_signoff_groupmember
          SIGNOFF_get_signoff_resource_pool FLOW_get_resource_pool_group_role ORG_get_group_name
          SIGNOFF_get_signoff_decision SIGNOFF_get_signoff_groupmember ORG_get_groupmember_user
          ORG_get_user_identifier ORG_get_groupmember_group ORG_get_group_name
          ORG_get_groupmember_role ORG_get_role_name
          ORG_get_current_groupmember ORG_get_groupmember_user: |0;
        passes ORG_get_user_identifier: |ada)")
      .call(ask_job_info("Sweep", eFLOWReviewTask));
  // The targets of a failed call are not to be looked at.
  cases
      .add("ZOLP_getRHTargetObjects", "", R"(good 0: 1|100/A; aborts FLOW_get_job;
        aborts +2 FLOW_get_root_task FLOW_get_attachments;
        passes TYPE_get_object_type TYPE_get_class_name)")
      .call([](Run& run) {
        const tag job = start_job("Sweep", "100/A");
        const FLOW_action_message_s message = {task_of(job, eFLOWReviewTask), FLOW_perform_action,
                                               FLOW_started, ""};
        tag found = untouched_tag;
        int count = untouched_number;
        tag* targets = untouched<tag>();
        const int status = run.call(ZOLP_getRHTargetObjects, &message, &found, &count, &targets);
        if (status == ORK_ok) {
          run.out(count).out_tags(count, targets);
          MEM_free(targets);
        }
      });
  cases
      .add("ZOLP_deleteJob", "", R"(good 0: gone; aborts STORE_instance_exists: there;
        passes STORE_refresh_instances: there; aborts locked OBJ_delete: there)")
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        run.call(ZOLP_deleteJob, job);
        logical exists = 0;
        prepared(STORE_instance_exists(job, &exists), "exists");
        run.out(exists != 0 ? "there" : "gone");
      });
  // A dataset and an item are attached. A test of an attachment's class that fails passes over it.
  cases
      .add("ZOLP_HasTargetADrawing", "a revision with a dataset and an item", R"(good 0: 1;
        passes +2 FLOW_get_root_task FLOW_get_attachments: 0;
        passes +1 STORE_class_id_of_class STORE_class_of_instance STORE_is_descendant
          WSO_get_object_id_string: 0;
        passes ITEM_list_all_rev_attachments: 0;
        ignores STORE_class_id_of_class STORE_class_of_instance STORE_is_descendant
          then STORE_class_id_of_class STORE_class_of_instance STORE_is_descendant: 0;
        passes +1 WSO_get_name WSO_get_object_type: 0;
        ignores STORE_class_id_of_class STORE_class_of_instance then: 1;
        ignores STORE_is_descendant: 1)")
      .call([](Run& run) {
        const tag job = start_job("Sweep", "300/A");
        std::FILE* report = std::fopen(path("report.txt").c_str(), "w");
        run.call(ZOLP_HasTargetADrawing, job, &report);
        std::fclose(report);
        run.out(static_cast<int>(contents(path("report.txt")).size()) / 78);  // lines
      });
}

int count_in_folder(const char* name) {
  int count = 0;
  tag* found = nullptr;
  prepared(WSO_find(name, &count, &found), "folder");
  if (count == 0) {
    return -1;
  }
  const tag folder = found[0];
  MEM_free(found);
  prepared(OBJ_get_value_tags(folder, "contents", &count, &found), "contents");
  MEM_free(found);
  return count;
}

void add_folders(Cases& cases) {
  cases
      .add("ZOLP_moveTargetToFolder", "into a folder that is there", R"(good 0: 1;
        aborts WSO_find WSO_get_name WSO_get_object_type: 0;
        aborts +2 FLOW_get_root_task FLOW_get_attachments: 0; aborts OBJ_refresh: 0;
        answers 1 locked FOLDER_insert_instances: 0; aborts locked OBJ_save OBJ_refresh: 1;
        aborts OBJ_unload: 1)")
      .call([](Run& run) {
        const tag job = start_job("Sweep", "100/A");
        const std::string name = "Folder " + std::to_string(run.number);
        tag folder = NULLTAG;
        prepared(FOLDER_create(name.c_str(), "", &folder), "folder");
        prepared(OBJ_save(folder), "folder");
        prepared(OBJ_refresh(folder, 0), "folder");
        run.call(ZOLP_moveTargetToFolder, job, name.c_str(), "");
        run.out(count_in_folder(name.c_str()));
      });
  // Unlocking the folder that is made is left to the caller.
  cases
      .add("ZOLP_moveTargetToFolder", "a folder is made", R"(good 0 locked: there;
        aborts WSO_find FOLDER_create OBJ_save: none)")
      .call([](Run& run) {
        const tag job = start_job("Sweep", "100/A");
        const std::string name = "New folder " + std::to_string(run.number);
        run.call(ZOLP_moveTargetToFolder, job, name.c_str(), "");
        run.out(count_in_folder(name.c_str()) < 0 ? "none" : "there");
      });
}

}  // namespace

void add_workflow_cases(Cases& cases) {
  add_attachments(cases);
  add_condition_tasks(cases);
  add_release_levels(cases);
  add_reviewers(cases);
  add_handlers(cases);
  add_folders(cases);
  cases
      .add("ZOLP_addReleaseStatusWithTmpJob", "", R"(good 0: a name with the time;
        aborts FLOW_find_process_template: a name with the time;
        answers 1 FLOW_create_process: a name with the time;
        answers 1 +1 STORE_instance_exists: a name with the time;
        answers 1 STORE_refresh_instances: a name with the time;
        answers 1 +1 locked OBJ_delete: a name with the time;
        exhausted 1: a name with the time)")
      .call([](Run& run) {
        tag objects[] = {object("100/B")};
        char name[ZOLP_JOB_NAME_SIZE + 1] = "TMP";
        run.call(ZOLP_addReleaseStatusWithTmpJob, 1, objects, name, "Plain");
        run.out(std::strlen(name) > 10 ? "a name with the time" : name);
      });
}

}  // namespace sweep
