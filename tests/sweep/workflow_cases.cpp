// Workflow: attachments, condition tasks, release levels and reviewers, targets of handlers.

#include "sweep.h"

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
  cases.add("ZOLP_add_attachments")
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_attachments(job, FLOW_reference_attachment, 1, objects);
      }));
  cases.add("ZOLP_add_reference_objects")
      .call(change_attachments(FLOW_reference_attachment, [](tag job, tag* objects) {
        return ZOLP_add_reference_objects(job, 1, objects);
      }));
  cases.add("ZOLP_add_target_objects")
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag* objects) {
        return ZOLP_add_target_objects(job, 1, objects);
      }));
  cases.add("ZOLP_remove_attachments")
      .call(change_attachments(FLOW_target_attachment, [](tag job, tag*) {
        tag attached[] = {object("100/A")};
        return ZOLP_remove_attachments(job, 1, attached);
      }));
  cases.add("ZOLP_ask_target_objects").call(outputs_of(ZOLP_ask_target_objects, job_of_run));
  cases.add("ZOLP_ask_reference_objects").call(outputs_of(ZOLP_ask_reference_objects, [](Run& run) {
    const tag job = job_of_run(run);
    tag reference[] = {object("100/B")};
    prepared(ZOLP_add_reference_objects(job, 1, reference), "reference");
    return job;
  }));
  cases.add("ZOLP_refresh_entire_job").call(outputs_of(ZOLP_refresh_entire_job, job_of_run));
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
  cases.add("ZOLP_get_condition_task_by_name").call([](Run& run) {
    const tag job = start_job("Sweep");
    tag task = untouched_tag;
    run.call(ZOLP_get_condition_task_by_name, job, "Large?", &task);
    run.out(task_name(task));
  });
  cases.add("ZOLP_set_condition_task_result").call(decided([](tag, tag task) {
    return ZOLP_set_condition_task_result(task, FLOW_condition_true);
  }));
  cases.add("ZOLP_set_named_condition_task_result").call(decided([](tag job, tag) {
    return ZOLP_set_named_condition_task_result(job, "Large?", FLOW_condition_true);
  }));
}

void add_release_levels(Cases& cases) {
  cases.add("ZOLP_ask_current_release_level").call([](Run& run) {
    const tag job = start_job("Sweep");
    tag level = untouched_tag;
    char name[FLOW_name_size + 1] = "x";
    run.call(ZOLP_ask_current_release_level, job, &level, name);
    run.out(task_name(level)).out(name);
  });
  cases.add("ZOLP_ask_current_release_level_name")
      .call(outputs_of(ZOLP_ask_current_release_level_name, job_of_run));
  cases.add("ZOLP_find_release_level").call([](Run& run) {
    const tag job = start_job("Sweep");
    tag level = untouched_tag;
    run.call(ZOLP_find_release_level, job, "Check", &level);
    run.out(task_name(level));
  });
}

void add_reviewers(Cases& cases) {
  cases.add("ZOLP_ask_reviewers", "a pool and a user")
      .call(outputs_of(ZOLP_ask_reviewers, job_of_run, "Check"));
  cases.add("ZOLP_ask_reviewers_by_type", "pools, a pool and a user")
      .call(outputs_of(ZOLP_ask_reviewers_by_type, job_of_run, "Check", SIGNOFF_resource_pool));
  cases.add("ZOLP_ask_reviewers_groupmembers", "a pool and a user")
      .call(outputs_of(ZOLP_ask_reviewers_groupmembers, job_of_run, "Check"));
  cases.add("ZOLP_ask_reviewers_resourcepools", "a pool and a user")
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
  cases.add("ZOLP_getJobInfo", "a job without review tasks")
      .call(ask_job_info("Plain", eFLOWRootTask));
  cases.add("ZOLP_getJobInfo", "a team of a pool and a user, nobody has decided")
      .call(ask_job_info("Sweep", eFLOWReviewTask));
  cases.add("ZOLP_getRHTargetObjects").call([](Run& run) {
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
  cases.add("ZOLP_deleteJob").call([](Run& run) {
    const tag job = start_job("Sweep");
    run.call(ZOLP_deleteJob, job);
    logical exists = 0;
    prepared(STORE_instance_exists(job, &exists), "exists");
    run.out(exists != 0 ? "there" : "gone");
  });
  cases.add("ZOLP_HasTargetADrawing", "a revision with a dataset and an item").call([](Run& run) {
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
  cases.add("ZOLP_moveTargetToFolder", "into a folder that is there").call([](Run& run) {
    const tag job = start_job("Sweep", "100/A");
    const std::string name = "Folder " + std::to_string(run.number);
    tag folder = NULLTAG;
    prepared(FOLDER_create(name.c_str(), "", &folder), "folder");
    prepared(OBJ_save(folder), "folder");
    prepared(OBJ_refresh(folder, 0), "folder");
    run.call(ZOLP_moveTargetToFolder, job, name.c_str(), "");
    run.out(count_in_folder(name.c_str()));
  });
  cases.add("ZOLP_moveTargetToFolder", "a folder is made").call([](Run& run) {
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
  cases.add("ZOLP_addReleaseStatusWithTmpJob").call([](Run& run) {
    tag objects[] = {object("100/B")};
    char name[ZOLP_JOB_NAME_SIZE + 1] = "TMP";
    run.call(ZOLP_addReleaseStatusWithTmpJob, 1, objects, name, "Plain");
    run.out(std::strlen(name) > 10 ? "a name with the time" : name);
  });
}

}  // namespace sweep
