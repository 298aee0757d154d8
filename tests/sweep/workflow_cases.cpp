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

/** Shows how many objects are attached to a job. */
void out_attachments(Run& run, tag job, int type) {
  int count = 0;
  tag* objects = nullptr;
  prepared(FLOW_get_attachments(task_of(job, eFLOWRootTask), type, &count, &objects), "attached");
  run.out(count);
  MEM_free(objects);
}

template <typename Change>
auto change_attachments(int type, Change change) {
  return [type, change](Run& run) {
    const tag job = start_job("Sweep", "100/A");
    tag objects[] = {object("100/B")};
    run.call(change, job, objects);
    out_attachments(run, job, type);
  };
}

void add_attachments(Cases& cases) {
  cases.add("ZOLP_add_attachments", "")
      .good({0, "1"})
      .steps({aborts("FLOW_get_root_task", "0"), aborts("FLOW_add_attachments", "0")})
      .allocations({exhausted(2002, "0")})
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_attachments(job, FLOW_reference_attachment, 1, objects);
      }));
  // A guarded call of a function whose own calls are guarded: both frames stay open.
  cases.add("ZOLP_add_reference_objects", "")
      .good({0, "1"})
      .steps(
          {aborts("FLOW_get_root_task", "0").open(2), aborts("FLOW_add_attachments", "0").open(2)})
      .allocations({exhausted(2002, "0", 1)})
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_reference_objects(job, 1, objects);
      }));
  cases.add("ZOLP_add_target_objects", "")
      .good({0, "2"})
      .steps(
          {aborts("FLOW_get_root_task", "1").open(2), aborts("FLOW_add_attachments", "1").open(2)})
      .allocations({exhausted(2002, "1", 1)})
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag* objects) {
        return ZOLP_add_target_objects(job, 1, objects);
      }));
  cases.add("ZOLP_remove_attachments", "")
      .good({0, "0"})
      .steps({aborts("FLOW_get_root_task", "1"), aborts("FLOW_remove_attachments", "1")})
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag*) {
        tag attached[] = {object("100/A")};
        return ZOLP_remove_attachments(job, 1, attached);
      }));
}

template <typename Ask>
auto ask_objects(Ask ask) {
  return [ask](Run& run) {
    const tag job = start_job("Sweep", "100/A");
    tag reference[] = {object("100/B")};
    prepared(ZOLP_add_reference_objects(job, 1, reference), "reference");
    int count = untouched_number;
    tag* objects = untouched<tag>();
    run.call(ask, job, &count, &objects);
    run.out(count).out_tags(count, objects);
    MEM_free(objects != untouched<tag>() ? objects : nullptr);
  };
}

void add_attachment_lists(Cases& cases) {
  const std::vector<Step> ends = {aborts("FLOW_get_root_task", "99|untouched"),
                                  aborts("FLOW_get_attachments", "0|null")};
  cases.add("ZOLP_ask_target_objects", "")
      .good({0, "1|100/A"})
      .steps(ends)
      .call(ask_objects(ZOLP_ask_target_objects));
  cases.add("ZOLP_ask_reference_objects", "")
      .good({0, "1|100/B"})
      .steps(ends)
      .call(ask_objects(ZOLP_ask_reference_objects));
}

void add_job_refresh(Cases& cases) {
  const auto ends = [](const char* operation) { return passes(operation); };
  cases.add("ZOLP_refresh_entire_job", "")
      .steps({ends("FLOW_get_root_task"), ends("FLOW_get_sub_tasks"),
              // the review task and its two signoffs
              ends("FLOW_get_state"), ends("FLOW_get_state_string"), ends("FLOW_get_attachments"),
              ends("OBJ_refresh"), ends("OBJ_refresh"),
              // the condition task
              ends("FLOW_get_state"), ends("FLOW_get_state_string"), ends("FLOW_get_attachments"),
              // the target, no references, no release statuses, the job
              ends("FLOW_get_attachments"),
              ignores("OBJ_load")
                  .calls({"OBJ_refresh", "FLOW_get_attachments", "FLOW_get_attachments",
                          "FLOW_refresh_entire_job"}),
              ends("FLOW_get_attachments"), ends("FLOW_get_attachments"),
              ends("FLOW_refresh_entire_job")})
      .call([](Run& run) {
        const tag job = start_job("Sweep", "100/A");
        run.call(ZOLP_refresh_entire_job, job);
      });
}

/** Shows the result of a job's condition task. */
void out_result(Run& run, tag job) {
  int result = 0;
  prepared(FLOW_get_condition_task_result(task_of(job, eFLOWConditionTask), &result), "result");
  run.out(result);
}

void add_condition_tasks(Cases& cases) {
  cases.add("ZOLP_get_condition_task_by_name", "")
      .good({0, "Large?"})
      .steps({passes("FLOW_get_type_tasks", "0"), passes("FLOW_get_name", "0")})
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag task = untouched_tag;
        run.call(ZOLP_get_condition_task_by_name, job, "Large?", &task);
        run.out(task_name(task));
      });
  // Only giving the lock back counts.
  const std::vector<Step> set = {
      answers("OBJ_refresh", 0, "0").calls({"OBJ_refresh"}),
      answers("FLOW_set_condition_task_result", 0, "0").calls({"OBJ_refresh"}),
      answers("OBJ_save", 0, "0").calls({"OBJ_refresh"}), passes("OBJ_refresh", "1").locks()};
  cases.add("ZOLP_set_condition_task_result", "").good({0, "1"}).steps(set).call([](Run& run) {
    const tag job = start_job("Sweep");
    const tag task = task_of(job, eFLOWConditionTask);
    run.call(ZOLP_set_condition_task_result, task, FLOW_condition_true);
    out_result(run, job);
  });
  cases.add("ZOLP_set_named_condition_task_result", "")
      .good({0, "1"})
      .steps(joined({passes("FLOW_get_type_tasks", "0"), passes("FLOW_get_name", "0")}, set))
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        run.call(ZOLP_set_named_condition_task_result, job, "Large?", FLOW_condition_true);
        out_result(run, job);
      });
}

void add_release_levels(Cases& cases) {
  cases.add("ZOLP_ask_current_release_level", "")
      .good({0, "Check|Check"})
      .steps({passes("FLOW_get_type_tasks", "0|"), passes("FLOW_get_state", "0|"),
              passes("OBJ_UIF_get_value", "0|")})
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag level = untouched_tag;
        char name[FLOW_name_size + 1] = "x";
        run.call(ZOLP_ask_current_release_level, job, &level, name);
        run.out(task_name(level)).out(name);
      });
  cases.add("ZOLP_ask_current_release_level_name", "")
      .good({0, "Check"})
      .steps({passes("FLOW_get_type_tasks"), passes("FLOW_get_state"), passes("OBJ_UIF_get_value")})
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        char name[FLOW_name_size + 1] = "x";
        run.call(ZOLP_ask_current_release_level_name, job, name);
        run.out(name);
      });
  cases.add("ZOLP_find_release_level", "")
      .good({0, "Check"})
      .steps({passes("FLOW_get_type_tasks", "0"), passes("OBJ_UIF_get_value", "0")})
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        tag level = untouched_tag;
        run.call(ZOLP_find_release_level, job, "Check", &level);
        run.out(task_name(level));
      });
}

template <typename Ask>
auto ask_members(Ask ask) {
  return [ask](Run& run) {
    const tag job = start_job("Sweep");
    int count = untouched_number;
    tag* members = untouched<tag>();
    run.call(ask, job, &count, &members);
    run.out(count).out(members == nullptr ? "null" : "some");
    MEM_free(members);
  };
}

/** Reading the two signoffs of the team, a pool's and a user's. */
std::vector<Step> reviewer_steps(const char* after_the_first) {
  const char* none = "0|null";
  return {passes("FLOW_get_type_tasks", none),
          passes("OBJ_UIF_get_value", none),
          passes("FLOW_get_sub_task", none),
          passes("FLOW_get_attachments", none),
          passes("OBJ_refresh", none),
          passes("FLOW_get_signoff_member", none),
          passes("OBJ_refresh", after_the_first),
          passes("FLOW_get_signoff_member", after_the_first)};
}

void add_reviewers(Cases& cases) {
  // What was read before a failure is handed out, but for the two functions of fixed type.
  cases.add("ZOLP_ask_reviewers", "a pool and a user")
      .good({0, "2|some"})
      .steps(reviewer_steps("1|some"))
      .allocations({exhausted(2002, "0|null"), exhausted(2002, "1|some")})
      .call(ask_members([](tag job, int* count, tag** members) {
        return ZOLP_ask_reviewers(job, "Check", count, members);
      }));
  cases.add("ZOLP_ask_reviewers_by_type", "pools, a pool and a user")
      .good({0, "1|some"})
      .steps(reviewer_steps("1|some"))
      .allocations({exhausted(2002, "0|null")})
      .call(ask_members([](tag job, int* count, tag** members) {
        return ZOLP_ask_reviewers_by_type(job, "Check", SIGNOFF_resource_pool, count, members);
      }));
  cases.add("ZOLP_ask_reviewers_groupmembers", "a pool and a user")
      .good({0, "1|some"})
      .steps(reviewer_steps("0|null"))
      .allocations({exhausted(2002, "0|null")})
      .call(ask_members([](tag job, int* count, tag** members) {
        return ZOLP_ask_reviewers_groupmembers(job, "Check", count, members);
      }));
  cases.add("ZOLP_ask_reviewers_resourcepools", "a pool and a user")
      .good({0, "1|some"})
      .steps(reviewer_steps("0|null"))
      .allocations({exhausted(2002, "0|null")})
      .call(ask_members([](tag job, int* count, tag** members) {
        return ZOLP_ask_reviewers_resourcepools(job, "Check", count, members);
      }));
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

void add_job_info(Cases& cases) {
  const auto ends = [](const char* operation) { return passes(operation, "|0"); };
  cases.add("ZOLP_getJobInfo", "a job without review tasks")
      .good({0, "ada|ada"})
      .steps({ends("FLOW_get_job"), ends("FLOW_get_type_tasks"), ends("WSO_describe"),
              passes("ORG_find_user", "ada|0")})
      .call(ask_job_info("Plain", eFLOWRootTask));
  cases.add("ZOLP_getJobInfo", "a team of a pool and a user, nobody has decided")
      .good({0, "ada|ada"})
      .steps({ends("FLOW_get_job"), ends("FLOW_get_type_tasks"), ends("FLOW_get_attachments"),
              // the pool
              ends("SIGNOFF_get_signoff_decision"), ends("SIGNOFF_get_signoff_groupmember"),
              ends("SIGNOFF_get_signoff_resource_pool"), ends("FLOW_get_resource_pool_group_role"),
              ends("ORG_get_group_name"),
              // the user
              ends("SIGNOFF_get_signoff_decision"), ends("SIGNOFF_get_signoff_groupmember"),
              ends("ORG_get_groupmember_user"), ends("ORG_get_user_identifier"),
              ends("ORG_get_groupmember_group"), ends("ORG_get_group_name"),
              ends("ORG_get_groupmember_role"), ends("ORG_get_role_name"),
              // the user who runs the handler
              ends("ORG_get_current_groupmember"), ends("ORG_get_groupmember_user"),
              passes("ORG_get_user_identifier", "|ada")})
      .call(ask_job_info("Sweep", eFLOWReviewTask));
}

void add_handler_targets(Cases& cases) {
  // The targets of a failed call are not to be looked at.
  cases.add("ZOLP_getRHTargetObjects", "")
      .good({0, "1|100/A"})
      .steps({aborts("FLOW_get_job"), aborts("FLOW_get_root_task").open(2),
              aborts("FLOW_get_attachments").open(2), passes("TYPE_get_object_type"),
              passes("TYPE_get_class_name")})
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
  cases.add("ZOLP_deleteJob", "")
      .good({0, "gone"})
      .steps({aborts("STORE_instance_exists", "there"), passes("STORE_refresh_instances", "there"),
              aborts("OBJ_delete", "there").locks()})
      .call([](Run& run) {
        const tag job = start_job("Sweep");
        run.call(ZOLP_deleteJob, job);
        logical exists = 0;
        prepared(STORE_instance_exists(job, &exists), "exists");
        run.out(exists != 0 ? "there" : "gone");
      });
}

/** Writes a report about the targets and shows how many lines it has. */
void report_drawings(Run& run) {
  const tag job = start_job("Sweep", "300/A");
  std::FILE* report = std::fopen(path("report.txt").c_str(), "w");
  run.call(ZOLP_HasTargetADrawing, job, &report);
  std::fclose(report);
  const std::string lines = contents(path("report.txt"));
  run.out(static_cast<int>(lines.size()) / 78);
}

void add_drawings(Cases& cases) {
  const auto ends = [](const char* operation, int levels, const char* lines) {
    return passes(operation, lines).open(levels);
  };
  // One of the two attached objects is a dataset. A test of an attachment's class that fails passes
  // over it.
  cases.add("ZOLP_HasTargetADrawing", "a revision with a dataset and an item")
      .good({0, "1"})
      .steps({ends("FLOW_get_root_task", 2, "0"), ends("FLOW_get_attachments", 2, "0"),
              // the target's class
              ends("STORE_class_id_of_class", 1, "0"), ends("STORE_class_of_instance", 1, "0"),
              ends("STORE_is_descendant", 1, "0"), ends("WSO_get_object_id_string", 1, "0"),
              ends("ITEM_list_all_rev_attachments", 0, "0"),
              // the dataset
              ignores("STORE_class_id_of_class", "0")
                  .calls({"STORE_class_id_of_class", "STORE_class_of_instance",
                          "STORE_is_descendant"}),
              ignores("STORE_class_of_instance", "0")
                  .calls({"STORE_class_id_of_class", "STORE_class_of_instance",
                          "STORE_is_descendant"}),
              ignores("STORE_is_descendant", "0")
                  .calls({"STORE_class_id_of_class", "STORE_class_of_instance",
                          "STORE_is_descendant"}),
              ends("WSO_get_name", 1, "0"), ends("WSO_get_object_type", 1, "0"),
              // the item
              ignores("STORE_class_id_of_class", "1").calls({}),
              ignores("STORE_class_of_instance", "1").calls({}),
              ignores("STORE_is_descendant", "1")})
      .call(report_drawings);
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
  const auto ends = [](const char* operation, const char* filed = "0") {
    return aborts(operation, filed);
  };
  cases.add("ZOLP_moveTargetToFolder", "into a folder that is there")
      .good({0, "1"})
      .steps({ends("WSO_find"), ends("WSO_get_name"), ends("WSO_get_object_type"),
              ends("FLOW_get_root_task").open(2), ends("FLOW_get_attachments").open(2),
              ends("OBJ_refresh"), answers("FOLDER_insert_instances", 1, "0").locks(),
              ends("OBJ_save", "1").locks(), ends("OBJ_refresh", "1").locks(),
              ends("OBJ_unload", "1")})
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
  cases.add("ZOLP_moveTargetToFolder", "a folder is made")
      .good({0, "there", 0, 0, true})  // unlocking it is left to the caller
      .steps({ends("WSO_find", "none"), ends("FOLDER_create", "none"), ends("OBJ_save", "none")})
      .call([](Run& run) {
        const tag job = start_job("Sweep", "100/A");
        const std::string name = "New folder " + std::to_string(run.number);
        run.call(ZOLP_moveTargetToFolder, job, name.c_str(), "");
        run.out(count_in_folder(name.c_str()) < 0 ? "none" : "there");
      });
}

void add_temporary_jobs(Cases& cases) {
  const char* started = "a name with the time";
  cases.add("ZOLP_addReleaseStatusWithTmpJob", "")
      .good({0, started})
      .steps({aborts("FLOW_find_process_template", started),
              answers("FLOW_create_process", 1, started),
              answers("STORE_instance_exists", 1, started).open(1),
              answers("STORE_refresh_instances", 1, started),
              answers("OBJ_delete", 1, started).open(1).locks()})
      .allocations({exhausted(1, started)})
      .call([started](Run& run) {
        tag objects[] = {object("100/B")};
        char name[ZOLP_JOB_NAME_SIZE + 1] = "TMP";
        run.call(ZOLP_addReleaseStatusWithTmpJob, 1, objects, name, "Plain");
        run.out(std::strlen(name) > 10 ? started : name);
      });
}

}  // namespace

void add_workflow_cases(Cases& cases) {
  add_attachments(cases);
  add_attachment_lists(cases);
  add_job_refresh(cases);
  add_condition_tasks(cases);
  add_release_levels(cases);
  add_reviewers(cases);
  add_job_info(cases);
  add_handler_targets(cases);
  add_drawings(cases);
  add_folders(cases);
  add_temporary_jobs(cases);
}

}  // namespace sweep
