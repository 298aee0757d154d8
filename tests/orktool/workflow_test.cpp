// Attachments, condition tasks, release levels, reviewers and what handlers do with targets.

#include <ctime>

#include "clock.h"
#include "support/site.h"

#if !defined(_WIN32)
#include <dlfcn.h>

/** Shown in place of names, where it is set: a platform may show more than it stores. */
static const char* shown_name = nullptr;

extern "C" int OBJ_UIF_get_value(tag object, const char* property, char** value) {
  static const auto of_the_host =
      reinterpret_cast<decltype(&OBJ_UIF_get_value)>(dlsym(RTLD_NEXT, "OBJ_UIF_get_value"));
  if (shown_name == nullptr) {
    return of_the_host(object, property, value);
  }
  *value = ZOLP_CopyString(shown_name);
  return ORK_ok;
}
#endif

namespace {

class Workflow : public test::TestOn<> {
 protected:
  Workflow() {
    EXPECT_EQ(ork_host_seed(test::file_text("orktool/seeds/workflow.json").c_str()), ORK_ok);
    site.log_in();
    EXPECT_EQ(ork_host_find_item("4711", nullptr, &item), ORK_ok);
    EXPECT_EQ(ork_host_find_item("4711", "A", &revision), ORK_ok);
    EXPECT_EQ(ork_host_find_item("4712", "B", &other), ORK_ok);
  }
  ~Workflow() override { orktool::replace_calendar(nullptr); }

  static tag start(const char* name, const std::vector<tag>& targets = {}) {
    const std::vector<int> types(targets.size(), FLOW_target_attachment);
    return ask(FLOW_create_process, name, "", ask(FLOW_find_process_template, name),
               static_cast<int>(targets.size()), targets.data(), types.data());
  }

  static std::vector<tag> tasks(tag job, int type = eFLOWAnyTask) {
    return list(FLOW_get_type_tasks, job, type);
  }

  tag item = NULLTAG;
  tag revision = NULLTAG;
  tag other = NULLTAG;
};

// -------------------------------------------------------------------------------- attachments

TEST_F(Workflow, ObjectsAreAttachedToTheRootTask) {
  const tag job = start("Review");
  tag objects[] = {item, revision};
  trace.clear();
  EXPECT_EQ(ZOLP_add_target_objects(job, 2, objects), ORK_ok);
  EXPECT_THAT(trace.lines()[1], StartsWith("   ->ZOLP_add_attachments(...) zolp_epmtool.cpp:"));
  EXPECT_THAT(trace.lines()[2], StartsWith("     ->ZOLP_add_attachments zolp_epmtool.cpp:"));
  EXPECT_EQ(ZOLP_add_reference_objects(job, 1, &other), ORK_ok);
  EXPECT_THAT(list(ZOLP_ask_target_objects, job), ElementsAre(item, revision));
  EXPECT_THAT(list(ZOLP_ask_reference_objects, job), ElementsAre(other));
  tag detached[] = {other, item};
  EXPECT_EQ(ZOLP_remove_attachments(job, 2, detached), ORK_ok);
  EXPECT_THAT(list(ZOLP_ask_target_objects, job), ElementsAre(revision));
  EXPECT_THAT(list(ZOLP_ask_reference_objects, job), IsEmpty());

  EXPECT_EQ(ZOLP_add_target_objects(job, 0, nullptr), ORK_ok);
  EXPECT_EQ(ZOLP_add_attachments(job, 3, -1, objects), ORK_invalid_argument);
  trace.clear();
  EXPECT_EQ(ZOLP_add_target_objects(job, 1, &revision), FLOW_already_attached);
  EXPECT_EQ(trace.missing({"##ORK_err_33007: FLOW_add_attachments(...)",
                           "##ORK_err_33007: ZOLP_add_attachments(...)"}),
            "");
  ork_host_fail_allocation(1);
  EXPECT_EQ(ZOLP_add_attachments(job, 1, 1, &other), 2002);
  EXPECT_TRUE(trace.has("ERROR: not enough memory available"));
  EXPECT_EQ(test::error_stack().back().code, 2002);
  EXPECT_EQ(test::error_stack().back().severity, 3);
}

TEST_F(Workflow, AJobIsRefreshedInAFixedOrder) {
  const tag job = start("Review", {item, revision});
  EXPECT_EQ(ZOLP_add_reference_objects(job, 1, &other), ORK_ok);
  std::vector<std::string> expected = {"FLOW_get_root_task", "FLOW_get_sub_tasks"};
  for (const int attached_objects : {3, 1, 0, 0}) {  // of each task
    expected.insert(expected.end(),
                    {"FLOW_get_state", "FLOW_get_state_string", "FLOW_get_attachments"});
    expected.insert(expected.end(), static_cast<std::size_t>(attached_objects), "OBJ_refresh");
  }
  expected.insert(expected.end(),
                  {"FLOW_get_attachments", "OBJ_load", "OBJ_load", "FLOW_get_attachments",
                   "OBJ_load", "FLOW_get_attachments", "FLOW_refresh_entire_job"});
  EXPECT_EQ(calls([&] { EXPECT_EQ(ZOLP_refresh_entire_job(job), ORK_ok); }), expected);
  EXPECT_EQ(trace.missing({"level_task=0 state [Started] ", "level_task=3 state [Pending] "}), "");

  const tag done = start("Release", {item});
  EXPECT_THAT(calls([&] { EXPECT_EQ(ZOLP_refresh_entire_job(done), ORK_ok); }),
              ElementsAre("FLOW_get_root_task", "FLOW_get_sub_tasks", "FLOW_get_attachments",
                          "OBJ_load", "FLOW_get_attachments", "FLOW_get_attachments", "OBJ_load",
                          "FLOW_refresh_entire_job"));
}

// --------------------------------------------------------------------------- condition tasks

TEST_F(Workflow, ConditionTasksAreFoundByTheirWholeNameAndGetAnyResult) {
  const tag job = start("Review");
  const std::vector<tag> conditions = tasks(job, eFLOWConditionTask);
  const auto find = [job](const char* name) {
    return ask(ZOLP_get_condition_task_by_name, job, name);
  };
  EXPECT_EQ(find("Large?"), conditions[0]);
  EXPECT_EQ(find("Later?"), conditions[1]);
  for (const char* wrong : {"large?", "Large", "Large??", "Check", ""}) {
    EXPECT_EQ(find(wrong), NULLTAG);
    EXPECT_EQ(ZOLP_set_named_condition_task_result(job, wrong, 1), 33080);
  }
  EXPECT_EQ(ZOLP_set_named_condition_task_result(start("Release"), "Large?", 1), 33080);

  const auto result = [&] { return ask(FLOW_get_condition_task_result, conditions[0]); };
  EXPECT_EQ(ZOLP_set_condition_task_result(conditions[0], 5), ORK_ok);
  EXPECT_EQ(result(), 5);
  EXPECT_EQ(ZOLP_set_named_condition_task_result(job, "Large?", -7), ORK_ok);
  EXPECT_EQ(result(), -7);
  EXPECT_TRUE(trace.has("->OBJ_unlock(condition_task) zolp_epmtool.cpp:"));
}

// --------------------------------------------------------------- release levels and reviewers

TEST_F(Workflow, TheCurrentLevelIsTheFirstStartedOrElseTheFirstPendingOne) {
  const tag job = start("Review");
  const std::vector<tag> levels = tasks(job, eFLOWReviewTask);
  const auto current = [](tag of_job) {
    tag level = 99;
    char name[FLOW_name_size + 1] = "x";
    EXPECT_EQ(ZOLP_ask_current_release_level(of_job, &level, name), ORK_ok);
    return std::to_string(level) + " " + name;
  };
  EXPECT_EQ(current(job), std::to_string(levels[0]) + " Check");
  EXPECT_EQ(trace.missing({"iTaskListCount=2", "spCurrentReleaseLevelName=Check"}), "");
  const std::vector<tag> signoffs = list(FLOW_get_attachments, levels[0], FLOW_signoff_attachment);
  EXPECT_EQ(SIGNOFF_set_signoff_decision(signoffs[0], SIGNOFF_approve, ""), ORK_ok);
  EXPECT_EQ(SIGNOFF_set_signoff_decision(signoffs[1], SIGNOFF_approve, ""), ORK_ok);
  EXPECT_EQ(current(job), std::to_string(levels[1]) + " Check");

  tag broken = NULLTAG;
  EXPECT_EQ(ork_host_seed(R"({"process_templates": [{"name": "Stopped", "tasks": [
    {"name": "Stop", "handlers": [{"on": "start", "name": "none"}]},
    {"name": "Over", "type": "review"}]}]})"),
            ORK_ok);
  EXPECT_EQ(FLOW_create_process("x", "", ask(FLOW_find_process_template, "Stopped"), 0, nullptr,
                                nullptr, &broken),
            FLOW_unknown_handler);
  EXPECT_THAT(
      calls([&] { EXPECT_THAT(current(broken), HasSubstr(" Over")); }),
      ElementsAre("FLOW_get_type_tasks", "FLOW_get_state", "FLOW_get_state", "OBJ_UIF_get_value"));
  EXPECT_EQ(current(start("No team")), "0 ") << "completed";
  EXPECT_EQ(current(start("Release")), "0 ");
  char name[FLOW_name_size + 1] = "x";
  trace.clear();
  EXPECT_EQ(ZOLP_ask_current_release_level_name(job, name), ORK_ok);
  EXPECT_STREQ(name, "Check");
  EXPECT_TRUE(
      trace.has("->ZOLP_ask_current_release_level(job, &release_level, release_level_name) zolp_"));
}

#if !defined(_WIN32)
TEST_F(Workflow, TheNameOfALevelIsHandedOutWhole) {
  const tag job = start("Review");
  const std::string longer_than_stored(3 * FLOW_name_size, 'n');
  shown_name = longer_than_stored.c_str();
  tag level = NULLTAG;
  char name[1024];
  char alone[1024];
  EXPECT_EQ(ZOLP_ask_current_release_level(job, &level, name), ORK_ok);
  EXPECT_EQ(ZOLP_ask_current_release_level_name(job, alone), ORK_ok);
  shown_name = nullptr;
  EXPECT_EQ(name, longer_than_stored);
  EXPECT_EQ(alone, longer_than_stored);
}

#endif

TEST_F(Workflow, LevelsAreFoundByTheirWholeName) {
  const tag job = start("Review");
  EXPECT_EQ(ask(ZOLP_find_release_level, job, "Check"), tasks(job, eFLOWReviewTask)[0]);
  for (const char* line : {"search for release level nane=Check", "iTaskListCount=2",
                           "FLOWReviewTask[0]=Check", "found release level named Check"}) {
    EXPECT_TRUE(trace.has(line)) << line;
  }
  EXPECT_EQ(ask(ZOLP_find_release_level, job, "check"), NULLTAG);
}

TEST_F(Workflow, ReviewersComeFromTheTeamByType) {
  const tag job = start("Review");
  std::vector<tag> members;
  for (const tag signoff :
       list(FLOW_get_attachments, tasks(job, eFLOWReviewTask)[0], FLOW_signoff_attachment)) {
    int type = 0;
    EXPECT_EQ(FLOW_get_signoff_member(signoff, &members.emplace_back(), &type), ORK_ok);
  }
  const char* level = "Check";
  EXPECT_EQ(list(ZOLP_ask_reviewers, job, level), members);
  const std::string address =
      std::to_string(static_cast<int>(reinterpret_cast<std::uintptr_t>(level)));
  for (const std::string& line :
       {"found release level named " + address, std::string("found the subtask select-signoff-"),
        std::string("iSignoffCount=3"), std::string("Member[0]=SIGNOFF_GROUPMEMBER"),
        std::string("Member[1]=SIGNOFF_RESOURCEPOOL"), std::string("add Member[2] to array")}) {
    EXPECT_TRUE(trace.has(line)) << line;
  }
  trace.clear();
  EXPECT_THAT(list(ZOLP_ask_reviewers_groupmembers, job, level),
              ElementsAre(members[1], members[2]));
  EXPECT_EQ(trace.missing({"iTempGroupmemberCount=2", "ignore Member[0] of not selected type"}),
            "");
  EXPECT_THAT(list(ZOLP_ask_reviewers_resourcepools, job, level), ElementsAre(members[0]));
  EXPECT_TRUE(trace.has("iTempResourcepoolCount=1"));
  EXPECT_THAT(list(ZOLP_ask_reviewers_by_type, job, level, 9999), IsEmpty());
  EXPECT_THAT(list(ZOLP_ask_reviewers_by_type, job, level, -1), IsEmpty());

  trace.clear();
  EXPECT_THAT(list(ZOLP_ask_reviewers, job, "none"), IsEmpty());
  EXPECT_FALSE(trace.has("iSignoffCount"));
  EXPECT_THAT(list(ZOLP_ask_reviewers, start("No team"), "Nobody"), IsEmpty());
  EXPECT_TRUE(trace.has("iSignoffCount=0"));
}

TEST_F(Workflow, JobInfoTellsWhoSignsOffAndWhen) {
  int year = -1;
  const auto info = [&year](tag task) {
    const FLOW_action_message_s message{task, 0, 0, ""};
    char name[ORG_name_size + 1] = "x";
    date_s date{1, 1, 1, 1, 1, 1};
    const tag user = ask(ZOLP_getJobInfo, &message, name, &date);
    EXPECT_EQ(user, ask(ORG_find_user, name));
    year = date.year;
    return std::string(name);
  };
  const tag unreviewed = start("Release");
  ORK_exit_module(0);
  site.log_in("root", "root-secret", "engineering");
  EXPECT_EQ(info(tasks(unreviewed)[0]), "ada");
  EXPECT_EQ(year, 0);
  EXPECT_TRUE(trace.has("Ersteller [ada]"));

  const tag level = tasks(start("Review"), eFLOWReviewTask)[0];
  EXPECT_EQ(info(level), "root");
  EXPECT_EQ(year, 0);
  EXPECT_EQ(
      trace.missing({"Nr.=0 g=[engineering] r=[*] ", "Nr.=1 u=[ada] g=[engineering] r=[designer] ",
                     "Nr.=2 u=[root] g=[engineering] r=[administrator] "}),
      "");
  const std::vector<tag> signoffs = list(FLOW_get_attachments, level, FLOW_signoff_attachment);
  EXPECT_EQ(SIGNOFF_set_signoff_decision(signoffs[2], SIGNOFF_reject, ""), ORK_ok);
  info(level);
  EXPECT_GT(year, 0) << "the date of the last one";
  EXPECT_EQ(SIGNOFF_set_signoff_decision(signoffs[0], SIGNOFF_approve, ""), ORK_ok);
  trace.clear();
  EXPECT_EQ(info(level), "root");
  EXPECT_TRUE(trace.has("Nr.=0 g="));
  EXPECT_FALSE(trace.has("Nr.=1")) << "no further than the one that approves";
}

// --------------------------------------------------------------------------- handler targets

TEST_F(Workflow, AHandlerGetsItsJobAndTargets) {
  const tag job = start("Review", {item, revision});
  const FLOW_action_message_s message{tasks(job)[1], 0, 0, ""};
  tag found_job = NULLTAG;
  const auto fails = [&](int status) {
    int count = 99;
    tag* found = nullptr;
    EXPECT_EQ(ZOLP_getRHTargetObjects(&message, &found_job, &count, &found), status);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(found, nullptr);
  };
  EXPECT_THAT(list(ZOLP_getRHTargetObjects, &message, &found_job), ElementsAre(item, revision));
  EXPECT_EQ(found_job, job);
  EXPECT_EQ(trace.missing({"NUMBER OF TARGETS = [2]", "TARGET[2]: CLASS = [ItemRevision]"}), "");
  fail("TYPE_get_object_type", 2);
  fails(failure);
  EXPECT_EQ(trace.missing({"Error by exit status! File;zolp_handler_utils.cpp [Line:",
                           "<-ERROR:ZOLP_getRHTargetObjects zolp_handler_utils.cpp:"}),
            "");
  tag objects[] = {item, revision};
  EXPECT_EQ(ZOLP_remove_attachments(job, 2, objects), ORK_ok);
  fails(FLOW_target_object_not_attached);
  EXPECT_EQ(
      trace.missing({"NUMBER OF TARGETS = [0]",
                     "Error FLOW_target_object_not_attached! File:zolp_handler_utils.cpp [Line"}),
      "");
  EXPECT_THAT(trace.lines().back(),
              HasSubstr("<-ERROR: ZOLP_getRHTargetObjects zolp_handler_utils.cpp:"));
}

TEST_F(Workflow, DeletingAJobTwiceIsNoFailure) {
  const tag job = start("Review", {item});
  EXPECT_EQ(ZOLP_deleteJob(job), ORK_ok);
  EXPECT_TRUE(trace.has("Job = " + std::to_string(job)));
  EXPECT_THAT(calls([&] { EXPECT_EQ(ZOLP_deleteJob(job), ORK_ok); }),
              ElementsAre("STORE_instance_exists"));
  EXPECT_TRUE(trace.has("Job does not exist, nothing to delete!"));
}

TEST_F(Workflow, DatasetsOfTargetsAreReported) {
  const tag job = start("Review", {item, revision, other});
  const test::TemporaryFolder folder;
  const auto report = [&](int status) {
    FILE* file = std::fopen(folder.path("report").c_str(), "w");
    EXPECT_EQ(ZOLP_HasTargetADrawing(job, &file), status);
    std::fclose(file);
    return folder.read("report");
  };
  const tag relation =
      ask(REL_create_relation, revision, item, ask(REL_find_relation_type, "Documents"), NULLTAG);
  const std::string id = "4711/A-Gearbox            ";
  const std::string line = id + "Dataset                   ";
  const std::string expected =
      line + "drawing                  \n" + line + "notes                    \n";
  EXPECT_EQ(report(ORK_ok), expected) << "no line for the item that is related, too";
  EXPECT_EQ(trace.count("answer:<true>"), 2);
  EXPECT_EQ(trace.count("answer:<false>"), 1);
  EXPECT_EQ(trace.count("verdict:<true>"), 2);
  EXPECT_EQ(trace.count("verdict:<false>"), 1);
  fail("STORE_class_of_instance");
  testing::internal::CaptureStdout();
  EXPECT_EQ(report(failure), "");
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::MatchesRegex(
                  "ERROR: File:zolp_handler_utils.cpp \\[line:[0-9]+\\] \\(ifail 4711\\)\n"));
  EXPECT_EQ(OBJ_delete(relation), ORK_ok);
}

TEST_F(Workflow, TargetsAreFiledOnTheSecondCall) {
  const tag job = start("Review", {item, revision});
  const auto move = [&](const char* name, int status) {
    return calls([&] { EXPECT_EQ(ZOLP_moveTargetToFolder(job, name, "For parts"), status); });
  };
  EXPECT_THAT(move("", 1), IsEmpty());
  EXPECT_THAT(move("Gearbox", ORK_ok),
              ElementsAre("WSO_find", "WSO_get_name", "WSO_get_object_type", "WSO_get_name",
                          "WSO_get_object_type", "FOLDER_create", "OBJ_save"))
      << "an item and a revision bear the name, and no folder";
  EXPECT_TRUE(trace.has("folder:<Gearbox> description:<For parts>"));
  move("Shelf", ORK_ok);
  const std::vector<tag> folders = list(WSO_find, "Shelf");
  ASSERT_EQ(folders.size(), 1u);
  EXPECT_THAT(list(FOLDER_list_instances, folders[0]), IsEmpty());
  move("Shelf", ORK_ok);
  EXPECT_TRUE(trace.has("->OBJ_unlock(...) zolp_handler_utils.cpp:"));
  EXPECT_THAT(list(FOLDER_list_instances, folders[0]), ElementsAre(item, revision));
}

TEST_F(Workflow, ATemporaryJobSetsAStatusAndGoes) {
  orktool::replace_calendar([] {
    const std::time_t moment = 1700000000;
    std::tm parts{};
    localtime_r(&moment, &parts);
    return parts;
  });
  const auto release = [&](std::string name, const char* procedure) {
    char buffer[ZOLP_JOB_NAME_SIZE + 2] = "";
    std::strcpy(buffer, name.c_str());
    buffer[ZOLP_JOB_NAME_SIZE + 1] = '#';
    tag objects[] = {revision, other};
    const int status = ZOLP_addReleaseStatusWithTmpJob(2, objects, buffer, procedure);
    EXPECT_EQ(buffer[ZOLP_JOB_NAME_SIZE + 1], '#');
    return std::to_string(status) + " " + buffer;
  };
  const auto jobs = [] { return list(FLOW_find_jobs, nullptr).size(); };
  EXPECT_EQ(release("TMP", "Release"), "0 TMP1700000000");
  EXPECT_EQ(trace.missing(
                {"ObjCount        = 2", "szProcedureName = Release", "job name <TMP1700000000>"}),
            "");
  EXPECT_EQ(jobs(), 0u);
  for (const tag object : {revision, other}) {
    char latest[ZOLP_NAME_SIZE + 1] = "";
    EXPECT_EQ(ZOLP_ask_latest_status(object, latest), ORK_ok);
    EXPECT_STREQ(latest, "Released") << "every object is a target";
  }
  const std::string long_name(ZOLP_JOB_NAME_SIZE - 4, 'n');
  EXPECT_EQ(release(long_name, "Release"), "0 " + long_name + "1700");
  EXPECT_EQ(release("TMP", "none"),
            std::to_string(FLOW_unknown_process_template) + " TMP1700000000");
  EXPECT_EQ(release("TMP", "Broken"), "1 TMP1700000000");
  EXPECT_EQ(jobs(), 1u) << "one that was stopped stays";
}

}  // namespace
