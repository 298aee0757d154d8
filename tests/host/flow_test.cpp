// Jobs: how they run, what stops them, what is left of them.

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "child_process.h"
#include "objects_site.h"

namespace {

const std::string flow_seed = test::file_text("host/seeds/flow.json");

/** What "note" was called with, and what "act" does. */
struct Handlers {
  std::vector<std::string> notes;
  int (*act)(const FLOW_action_message_s* message) = nullptr;
};

Handlers& handlers() {
  static Handlers instance;
  return instance;
}

std::string name_of(tag task) {
  return ask(FLOW_get_name, task);
}

int note(const FLOW_action_message_s* message) {
  handlers().notes.push_back(name_of(message->task) + " " + std::to_string(message->action) + " " +
                             std::to_string(message->proposed_state) + " " + message->arguments);
  return ORK_ok;
}

int act(const FLOW_action_message_s* message) {
  return handlers().act != nullptr ? handlers().act(message) : ORK_ok;
}

tag process_template(const char* name) {
  return ask(FLOW_find_process_template, name);
}

/** Starts a job of the template's name. */
int start(const char* name, const std::vector<tag>& targets, tag* job) {
  const std::vector<int> types(targets.size(), FLOW_target_attachment);
  return FLOW_create_process(name, "", process_template(name), static_cast<int>(targets.size()),
                             targets.data(), types.data(), job);
}

tag started(const char* name, const std::vector<tag>& targets = {}) {
  tag job = NULLTAG;
  EXPECT_EQ(start(name, targets, &job), ORK_ok) << last_error();
  return job;
}

std::vector<tag> tasks(tag job) {
  return list(FLOW_get_type_tasks, job, int{eFLOWAnyTask});
}

tag task(tag job, const std::string& name) {
  for (const tag one : tasks(job)) {
    if (name_of(one) == name) {
      return one;
    }
  }
  ADD_FAILURE() << "no task " << name;
  return NULLTAG;
}

/** Names and first letters of the states of all tasks, in their order. */
std::string states(tag job) {
  std::string text;
  for (const tag one : tasks(job)) {
    text += name_of(one) + ":" + ask(FLOW_get_state_string, ask(FLOW_get_state, one))[0] + " ";
  }
  return text;
}

std::vector<tag> attachments(tag task, int type) {
  return list(FLOW_get_attachments, task, type);
}

std::vector<tag> jobs(const char* name = nullptr) {
  return list(FLOW_find_jobs, name);
}

tag root(tag job) {
  return ask(FLOW_get_root_task, job);
}

int set_result(tag task, int result) {
  EXPECT_EQ(OBJ_refresh(task, 1), ORK_ok) << last_error();
  const int status = FLOW_set_condition_task_result(task, result);
  const int saved = status == ORK_ok ? OBJ_save(task) : status;
  EXPECT_EQ(OBJ_refresh(task, 0), ORK_ok);
  return saved;
}

/** Display value of an object's statuses. */
std::string statuses(tag object) {
  return ask(OBJ_UIF_get_value, object, "release_status_list");
}

int decide(tag signoff, int decision, const std::string& comments = "") {
  return SIGNOFF_set_signoff_decision(signoff, decision, comments.c_str());
}

void register_handlers() {
  handlers() = {};
  FLOW_register_handler("note", note);
  FLOW_register_handler("act", act);
}

class Flow : public ObjectsSite {
 protected:
  void SetUp() override {
    ObjectsSite::SetUp();
    seed(flow_seed);
    register_handlers();
    log_in_as_designer();
  }
};

}  // namespace

TEST_F(Flow, RunsToTheEndWhereNothingHoldsItBack) {
  const tag bracket = find("000100", "B");
  const tag job = started("Straight", {bracket});
  EXPECT_EQ(states(job), "Straight:C One:C Two:C Inner:C ");
  EXPECT_THAT(handlers().notes, ElementsAre("One 1 4 a=1\nb=2", "One 2 8 "));
  EXPECT_THAT(attachments(root(job), FLOW_target_attachment), ElementsAre(bracket));
  EXPECT_EQ(ask(FLOW_get_job, task(job, "Inner")), job);
  const std::string template_before = describe("process_templates");
  seed(flow_seed);
  EXPECT_EQ(describe("process_templates"), template_before);
  seed(R"({"process_templates": [{"name": "Straight", "tasks": [
    {"name": "Only", "type": "condition"}]}]})");
  EXPECT_EQ(states(job), "Straight:C One:C Two:C Inner:C ") << "a job keeps what it was made of";
  EXPECT_EQ(states(started("Straight")), "Straight:S Only:S ");
}

TEST_F(Flow, ReviewsWaitForTheirQuorumAndConditionsForTheirResult) {
  const tag pump = find("000200", "A");
  const tag shaft = find("000300");
  const tag job = started("Release", {pump, shaft});
  const tag check = task(job, "Check");
  EXPECT_EQ(states(job),
            "Release:S Check:S select-signoff-team:C Large?:P Inform:P Wait:P File:P "
            "Last:P ");
  const std::vector<tag> signoffs = attachments(check, FLOW_signoff_attachment);
  ASSERT_EQ(signoffs.size(), 3u);
  EXPECT_EQ(attachments(task(job, "select-signoff-team"), FLOW_signoff_attachment), signoffs);

  EXPECT_EQ(decide(signoffs[1], SIGNOFF_approve), SIGNOFF_not_the_member);
  EXPECT_EQ(last_error(), "The signoff is another one's to decide on: user wagner, review Check");
  EXPECT_EQ(decide(signoffs[0], 1), SIGNOFF_unknown_decision);
  EXPECT_EQ(decide(check, SIGNOFF_approve), SIGNOFF_not_a_signoff);
  EXPECT_EQ(decide(signoffs[0], SIGNOFF_approve, std::string(300, 'c')), STORE_value_too_long);
  EXPECT_EQ(decide(signoffs[0], SIGNOFF_reject, "too heavy"), ORK_ok);
  int decision = 0;
  char comments[SIGNOFF_comment_size + 1];
  const auto date = ask(SIGNOFF_get_signoff_decision, signoffs[0], &decision, comments);
  EXPECT_EQ(decision, SIGNOFF_reject);
  EXPECT_STREQ(comments, "too heavy");
  EXPECT_NE(date.year, 0);
  EXPECT_EQ(ask(SIGNOFF_get_signoff_user, signoffs[0]), test::user_named("wagner"));
  EXPECT_EQ(decide(signoffs[0], SIGNOFF_no_decision), ORK_ok);
  EXPECT_EQ(ask(SIGNOFF_get_signoff_user, signoffs[0]), NULLTAG);
  EXPECT_EQ(SIGNOFF_set_signoff_decision(signoffs[0], SIGNOFF_approve, nullptr), ORK_ok);
  EXPECT_EQ(decide(signoffs[2], SIGNOFF_approve), ORK_ok);
  EXPECT_EQ(states(job),
            "Release:S Check:C select-signoff-team:C Large?:S Inform:P Wait:P File:P "
            "Last:P ");
  EXPECT_EQ(decide(signoffs[0], SIGNOFF_reject), SIGNOFF_not_in_progress);

  EXPECT_EQ(FLOW_set_condition_task_result(check, 1), FLOW_not_a_condition_task);
  EXPECT_EQ(FLOW_set_condition_task_result(task(job, "Large?"), 1), STORE_not_locked);
  EXPECT_EQ(set_result(task(job, "Wait"), FLOW_condition_true), ORK_ok) << "it keeps it";
  EXPECT_EQ(states(job).find("Wait:C"), std::string::npos);
  ASSERT_EQ(OBJ_refresh(task(job, "Large?"), 1), ORK_ok);
  EXPECT_EQ(FLOW_set_condition_task_result(task(job, "Large?"), 7), ORK_ok);
  EXPECT_EQ(FLOW_set_condition_task_result(task(job, "Large?"), 1), FLOW_task_is_over);
  ASSERT_EQ(OBJ_refresh(task(job, "Large?"), 0), ORK_ok);
  EXPECT_EQ(set_result(task(job, "Large?"), FLOW_condition_true), ORK_ok) << last_error();
  EXPECT_EQ(states(job),
            "Release:C Check:C select-signoff-team:C Large?:C Inform:C Wait:C File:S "
            "Last:C ");
  EXPECT_EQ(set_result(task(job, "Large?"), FLOW_condition_false), FLOW_task_is_over);

  EXPECT_EQ(statuses(pump), "Checked");
  EXPECT_EQ(statuses(shaft), "Checked");
  EXPECT_EQ(attachments(root(job), FLOW_release_status_attachment).size(), 1u);
  EXPECT_EQ(RSV_assert_object_modifiable(shaft), RSV_not_modifiable);
  started("Withdraw", {pump});
  EXPECT_EQ(statuses(pump) + statuses(shaft), "Checked");
  started("Withdraw", {shaft});
  EXPECT_EQ(statuses(shaft), "");

  const tag other = started("Release");
  EXPECT_EQ(set_result(task(other, "Large?"), 7), ORK_ok);
  for (const tag signoff : attachments(task(other, "Check"), FLOW_signoff_attachment)) {
    decide(signoff, SIGNOFF_approve);
  }
  EXPECT_THAT(states(other), HasSubstr("Large?:C Inform:S Wait:S File:S Last:C"));
}

TEST_F(Flow, AStatusIsForAllTargetsOrForNone) {
  seed(R"({"process_templates": [{"name": "Stamp", "handlers": [
    {"on": "complete", "name": "set-release-status", "arguments": ["x=1", "status=Stamped"]}]},
    {"name": "Nameless", "handlers": [{"on": "start", "name": "set-release-status",
                                       "arguments": ["tatus=x", "status="]}]}]})");
  const tag pump = find("000200", "A");
  const tag held = find("000100", "B");
  const tag user = test::user_named("wagner");
  tag job = NULLTAG;
  ASSERT_EQ(OBJ_refresh(held, 1), ORK_ok);
  ASSERT_EQ(OBJ_set_value_string(held, "object_desc", "private"), ORK_ok);
  EXPECT_EQ(start("Stamp", {pump, held, user}, &job), WSO_not_a_workspace_object);
  EXPECT_EQ(states(job), "Stamp:S ");
  EXPECT_EQ(statuses(pump) + statuses(held), "");
  EXPECT_THAT(describe("objects"), Not(HasSubstr("Stamped")));
  EXPECT_EQ(lock_of(held), STORE_modify_lock) << "the caller's lock stays";
  EXPECT_EQ(lock_of(pump), STORE_no_lock);
  EXPECT_EQ(test::value_of(held, "object_desc"), "private");
  EXPECT_EQ(FLOW_remove_attachments(root(job), 1, &user), ORK_ok);
  EXPECT_EQ(FLOW_continue_job(job), ORK_ok) << last_error();
  EXPECT_EQ(statuses(pump) + statuses(held), "StampedStamped");
  EXPECT_EQ(start("Nameless", {pump}, &job), FLOW_argument_missing);
  const auto year_of_release = [&] { return ask(OBJ_get_value_date, pump, "date_released").year; };
  seed(R"({"process_templates": [{"name": "Approve", "handlers": [
    {"on": "start", "name": "set-release-status", "arguments": ["status=Checked"]}]}]})");
  started("Approve", {pump});
  started("Withdraw", {pump});
  EXPECT_EQ(statuses(pump), "Stamped");
  EXPECT_NE(year_of_release(), 0) << "it is still released";
  seed(R"({"process_templates": [
    {"name": "Clear", "handlers": [{"on": "start", "name": "clear-release-status"}]}]})");
  started("Clear", {pump});
  EXPECT_EQ(statuses(pump), "");
  EXPECT_EQ(year_of_release(), 0);
  EXPECT_EQ(OBJ_refresh(held, 0), ORK_ok);
  EXPECT_EQ(describe("locks"), "[]");
  seed(
      R"({"items": [{"id": "000200", "name": "Pump", "revisions": [{"id": "A", "statuses": []}]}]})");
  EXPECT_EQ(statuses(held), "Stamped") << "the other target has the same status";
}

TEST_F(Flow, MembersOfPoolsAndMembershipsAreKnown) {
  const std::vector<tag> signoffs =
      attachments(task(started("Release"), "Check"), FLOW_signoff_attachment);
  int type = -1;
  tag member = NULLTAG;
  EXPECT_EQ(FLOW_get_signoff_member(signoffs[0], &member, &type), ORK_ok);
  EXPECT_EQ(type, SIGNOFF_group_member);
  EXPECT_EQ(ask(ORG_get_groupmember_user, member), test::user_named("wagner"));
  EXPECT_EQ(ask(ORG_get_groupmember_group, member), ask(ORG_find_group, "design"));
  EXPECT_EQ(ask(ORG_get_current_groupmember), member);
  EXPECT_EQ(ask(SIGNOFF_get_signoff_resource_pool, signoffs[0]), NULLTAG);

  tag pool = NULLTAG;
  tag group = 1;
  tag role = NULLTAG;
  EXPECT_EQ(FLOW_get_signoff_member(signoffs[1], &pool, &type), ORK_ok);
  EXPECT_EQ(type, SIGNOFF_resource_pool);
  EXPECT_EQ(ask(SIGNOFF_get_signoff_groupmember, signoffs[1]), NULLTAG);
  ask(FLOW_get_resource_pool_group_role, pool, &group, &role);
  EXPECT_EQ(group, NULLTAG);
  EXPECT_EQ(ask(ORG_get_role_name, role), "Administrator");
  EXPECT_EQ(refusal(FLOW_get_resource_pool_group_role, role), FLOW_not_a_resource_pool);
  EXPECT_EQ(refusal(ORG_get_groupmember_role, pool), ORG_not_a_groupmember);
}

TEST_F(Flow, AttachmentsAreKeptByType) {
  const tag job = started("Straight");
  const tag task = root(job);
  const tag objects[] = {find("000100"), find("000200"), find("000100", "A")};
  const int types[] = {FLOW_target_attachment, FLOW_reference_attachment, FLOW_target_attachment};
  EXPECT_EQ(FLOW_add_attachments(task, 3, objects, types), ORK_ok) << last_error();
  EXPECT_THAT(attachments(task, FLOW_target_attachment), ElementsAre(objects[0], objects[2]));
  EXPECT_THAT(attachments(task, FLOW_reference_attachment), ElementsAre(objects[1]));
  const tag mixed[] = {find("000300"), objects[2]};
  const int wrong_types[] = {FLOW_target_attachment, 2};
  const int signoff_types[] = {FLOW_target_attachment, FLOW_signoff_attachment};
  EXPECT_EQ(FLOW_add_attachments(task, 2, mixed, types), ORK_ok) << "a reference, too";
  EXPECT_EQ(FLOW_add_attachments(task, 2, mixed, types), FLOW_already_attached);
  EXPECT_EQ(FLOW_add_attachments(task, 2, mixed, wrong_types), FLOW_unknown_attachment_type);
  EXPECT_EQ(FLOW_add_attachments(task, 2, mixed, signoff_types), SIGNOFF_not_a_signoff);
  EXPECT_EQ(FLOW_add_attachments(task, -1, mixed, types), ORK_invalid_argument);
  const tag detached[] = {objects[2], objects[0]};
  EXPECT_EQ(FLOW_remove_attachments(task, 2, detached), ORK_ok) << last_error();
  EXPECT_THAT(attachments(task, FLOW_target_attachment), ElementsAre(mixed[0]));
  EXPECT_THAT(attachments(task, FLOW_reference_attachment), ElementsAre(objects[1]));
  EXPECT_EQ(FLOW_remove_attachments(task, 1, detached), FLOW_not_attached);
  seed(R"({"access_rules": [{"deny": ["WRITE"], "to": "world", "on": {"class": "Task"}}]})");
  EXPECT_EQ(FLOW_add_attachments(task, 1, detached, types), ACCESS_denied);
  EXPECT_EQ(FLOW_remove_attachments(task, 1, mixed), ACCESS_denied);
  EXPECT_THAT(attachments(task, FLOW_target_attachment), ElementsAre(mixed[0]));
  seed(R"({"access_rules": []})");
  tag bad = NULLTAG;
  EXPECT_EQ(start("Straight", {objects[0], objects[0]}, &bad), FLOW_already_attached);
  EXPECT_EQ(bad, NULLTAG);
  EXPECT_EQ(start("Straight", {4'000'000}, &bad), STORE_unknown_tag);
  EXPECT_EQ(FLOW_create_process("n", "", task, 0, nullptr, nullptr, &bad),
            FLOW_not_a_process_template);
  EXPECT_EQ(FLOW_create_process(std::string(200, 'n').c_str(), "", process_template("Straight"), 0,
                                nullptr, nullptr, &bad),
            STORE_value_too_long);
  EXPECT_THAT(jobs(), ElementsAre(job)) << "refused jobs leave nothing";
  EXPECT_EQ(ORK_exit_module(1), ORK_ok) << last_error();
}

TEST_F(Flow, WrongObjectsAreRefused) {
  const tag item = find("000100");
  const tag one = task(started("Straight"), "One");
  EXPECT_EQ(refusal(FLOW_get_job, item), FLOW_not_a_task);
  EXPECT_EQ(refusal(FLOW_get_sub_tasks, item), FLOW_not_a_task);
  EXPECT_EQ(refusal(FLOW_get_name, NULLTAG), STORE_unknown_tag);
  EXPECT_EQ(FLOW_add_attachments(item, 0, nullptr, nullptr), FLOW_not_a_task);
  EXPECT_EQ(refusal(FLOW_get_root_task, item), FLOW_not_a_job);
  EXPECT_EQ(FLOW_refresh_entire_job(item), FLOW_not_a_job);
  EXPECT_EQ(refusal(FLOW_get_type_tasks, started("Straight"), 6), FLOW_unknown_task_type);
  EXPECT_EQ(refusal(FLOW_get_state_string, 3), FLOW_unknown_state);
  EXPECT_EQ(refusal(FLOW_find_process_template, "straight"), FLOW_unknown_process_template);
  EXPECT_EQ(refusal(FLOW_get_signoff_member, item), SIGNOFF_not_a_signoff);
  EXPECT_EQ(FLOW_run_handler(one, "none", ""), FLOW_unknown_handler);
  EXPECT_EQ(FLOW_register_handler("", note), ORK_invalid_argument);
  EXPECT_EQ(ork_host_load_handlers(""), FLOW_cannot_load_handlers);
  EXPECT_EQ(ork_host_load_handlers("/no/such/library.so"), FLOW_cannot_load_handlers);
  EXPECT_THAT(
      last_error(),
      HasSubstr(std::filesystem::absolute("/no/such/library.so").make_preferred().string()));
}

TEST_F(Flow, AHandlerThatFailsStopsTheJobWhereItIs) {
  struct Case {
    int (*act)(const FLOW_action_message_s*);
    int status;
    const char* text;
  };
  const Case cases[] = {
      {[](const FLOW_action_message_s*) { return 4711; }, 4711, "handler act on task Inner"},
      {[](const FLOW_action_message_s*) -> int { throw std::runtime_error("torn"); },
       FLOW_handler_threw, "act: torn"},
      {[](const FLOW_action_message_s*) -> int { throw 1; }, FLOW_handler_threw, "exception: act"}};
  for (const Case& wrong : cases) {
    handlers().act = wrong.act;
    tag job = NULLTAG;
    EXPECT_EQ(start("Straight", {}, &job), wrong.status);
    EXPECT_THAT(last_error(), HasSubstr(wrong.text));
    EXPECT_EQ(states(job), "Straight:S One:C Two:S Inner:P ");
    EXPECT_EQ(FLOW_continue_job(job), wrong.status);
    handlers().act = nullptr;
    EXPECT_EQ(OBJ_refresh(job, 1), ORK_ok);
    EXPECT_EQ(FLOW_continue_job(job), ORK_ok) << last_error();
    EXPECT_EQ(lock_of(job), STORE_modify_lock) << "the caller's lock stays";
    EXPECT_EQ(OBJ_refresh(job, 0), ORK_ok);
    EXPECT_EQ(states(job), "Straight:C One:C Two:C Inner:C ");
    EXPECT_EQ(FLOW_continue_job(job), ORK_ok) << "nothing is left to do";
  }
  FLOW_register_handler("act", nullptr);
  tag job = NULLTAG;
  EXPECT_EQ(start("Straight", {}, &job), FLOW_unknown_handler);
  EXPECT_EQ(describe("locks"), "[]");
}

TEST_F(Flow, AStopIsRememberedUntilTheJobGoesOn) {
  const auto stop = [](tag job) {
    std::string text;
    for (const char* attribute :
         {"stop_task", "stop_handler", "stop_action", "stop_code", "stop_text", "object_desc"}) {
      text += ask(OBJ_UIF_get_value, job, attribute) + "|";
    }
    return text;
  };
  handlers().act = [](const FLOW_action_message_s* message) {
    const tag job = ask(FLOW_get_job, message->task);
    EXPECT_EQ(OBJ_set_value_string(job, "object_desc", "half done"), ORK_ok) << last_error();
    EXPECT_EQ(ERR_store_error_s1(ERR_severity_error, 4711, "own words"), ORK_ok);
    return 4711;
  };
  tag job = NULLTAG;
  EXPECT_EQ(start("Straight", {}, &job), 4711);
  EXPECT_EQ(stop(job), "Inner|act|1|4711|Unknown error code 4711: own words||")
      << "and what the handler has not saved is not saved with it";

  const tag inner = task(job, "Inner");
  EXPECT_EQ(ork_host_stop_job(inner, "act", FLOW_complete_action, 1, ""), FLOW_task_is_over);
  EXPECT_EQ(ork_host_stop_job(inner, "act", FLOW_perform_action, 1, ""), ORK_invalid_argument);
  EXPECT_EQ(ork_host_stop_job(job, "act", FLOW_start_action, 1, ""), FLOW_not_a_task);
  // A text that is too long is cut between characters.
  const std::string umlauts = [] {
    std::string text = "x";
    for (int i = 0; i < 2000; ++i) {
      text += "\u00e4";
    }
    return text;
  }();
  EXPECT_EQ(ork_host_stop_job(inner, "act", FLOW_start_action, FLOW_handler_died, umlauts.c_str()),
            ORK_ok);
  EXPECT_THAT(stop(job), AllOf(HasSubstr("33018"), HasSubstr("\u00e4||")));
  handlers().act = nullptr;
  EXPECT_EQ(FLOW_continue_job(job), ORK_ok) << last_error();
  EXPECT_EQ(stop(job), "||||||");
}

TEST_F(Flow, HandlersMayDoAnythingToTheirJob) {
  static tag job_of_handler;
  const auto remember = [](const FLOW_action_message_s* message) {
    FLOW_get_job(message->task, &job_of_handler);
  };
  static void (*const remember_job)(const FLOW_action_message_s*) = remember;
  handlers().act = [](const FLOW_action_message_s* message) {
    remember_job(message);
    return STORE_refresh_instances(1, &job_of_handler, NULLTAG, STORE_modify_lock) |
           OBJ_delete(job_of_handler);
  };
  const tag pump = find("000200", "A");
  tag job = NULLTAG;
  EXPECT_EQ(start("Straight", {pump}, &job), ORK_ok) << last_error();
  EXPECT_FALSE(ask(STORE_instance_exists, job));
  EXPECT_TRUE(ask(STORE_instance_exists, pump));
  EXPECT_EQ(describe("jobs"), "[]");

  handlers().act = [](const FLOW_action_message_s* message) {
    remember_job(message);
    return FLOW_refresh_entire_job(job_of_handler) | OBJ_unload(message->task) |
           OBJ_unload(job_of_handler);
  };
  EXPECT_EQ(states(started("Straight")), "Straight:C One:C Two:C Inner:C ");

  handlers().act = [](const FLOW_action_message_s*) {
    tag inner = NULLTAG;
    return start("Straight", {}, &inner);
  };
  EXPECT_EQ(start("Straight", {}, &job), FLOW_nested_too_deeply);
  EXPECT_EQ(jobs("Straight").size(), 17u) << "16 inside one another, and the one before";

  handlers().act = [](const FLOW_action_message_s*) { return ORK_exit_module(0); };
  EXPECT_EQ(start("Straight", {}, &job), ORK_not_logged_in);
  log_in_as_designer();
  EXPECT_EQ(states(job), "Straight:S One:C Two:S Inner:P ");
  handlers().act = [](const FLOW_action_message_s*) {
    ork_host_close();
    return ORK_ok;
  };
  EXPECT_EQ(FLOW_continue_job(job), ORK_not_logged_in);
}

TEST_F(Flow, DeletingAJobDeletesWhatIsItsOwn) {
  const tag plate = find("000400");
  const tag job = started("Release", {plate});
  const std::vector<tag> own = tasks(job);
  const std::vector<tag> signoffs = attachments(task(job, "Check"), FLOW_signoff_attachment);
  EXPECT_EQ(OBJ_delete(job), STORE_not_locked);
  EXPECT_EQ(OBJ_refresh(plate, 1), ORK_ok);
  EXPECT_EQ(OBJ_delete(plate), STORE_referenced) << "it is a target";
  tag folder = NULLTAG;
  ASSERT_EQ(FOLDER_create("Jobs", "", &folder), ORK_ok);
  ASSERT_EQ(FOLDER_insert_instances(folder, 1, &job, 0) | OBJ_save(folder), ORK_ok);
  ASSERT_EQ(OBJ_refresh(job, 1), ORK_ok);
  EXPECT_EQ(OBJ_delete(job), STORE_referenced);
  EXPECT_THAT(states(job), HasSubstr("Check:S")) << "all of it stays";
  EXPECT_EQ(OBJ_delete(folder), ORK_ok);
  EXPECT_EQ(OBJ_delete(job), ORK_ok) << last_error();
  for (const std::vector<tag>& gone : {own, signoffs, {job}}) {
    for (const tag object : gone) {
      EXPECT_EQ(OBJ_load(object), STORE_deleted_tag);
    }
  }
  EXPECT_EQ(OBJ_delete(plate), ORK_ok) << last_error();
  EXPECT_EQ(describe("locks"), "[]");
}

TEST_F(Flow, FoldersKeepTheirOrder) {
  const tag a = find("000100");
  const tag b = find("000200");
  const tag c = find("000300");
  const auto contents = [](tag folder) { return list(FOLDER_list_instances, folder); };
  tag folder = NULLTAG;
  ASSERT_EQ(FOLDER_create("Shelf", "For parts", &folder), ORK_ok);
  const tag first[] = {a, b, a};
  EXPECT_EQ(FOLDER_insert_instances(folder, 3, first, 0), ORK_ok);
  EXPECT_EQ(FOLDER_insert_instances(folder, 1, &c, 1), ORK_ok);
  EXPECT_THAT(contents(folder), ElementsAre(a, c, b));
  const tag moved[] = {b, a};
  EXPECT_EQ(FOLDER_insert_instances(folder, 2, moved, 3), ORK_ok);
  EXPECT_THAT(contents(folder), ElementsAre(c, b, a));
  EXPECT_EQ(FOLDER_insert_instances(folder, 1, &a, 4), FOLDER_no_such_position);
  EXPECT_EQ(FOLDER_insert_instances(folder, 1, &a, -1), FOLDER_no_such_position);
  EXPECT_EQ(FOLDER_insert_instances(a, 1, &c, 0), FOLDER_not_a_folder);
  const tag user = test::user_named("wagner");
  EXPECT_EQ(FOLDER_insert_instances(folder, 1, &user, 0), WSO_not_a_workspace_object);
  EXPECT_EQ(OBJ_save(folder) | OBJ_refresh(folder, 0) | OBJ_unload(folder), ORK_ok);
  EXPECT_EQ(FOLDER_insert_instances(folder, 1, &a, 0), STORE_not_locked);
  EXPECT_THAT(contents(folder), ElementsAre(c, b, a));
}

TEST_F(Flow, InstancesAreLockedTogetherOrNotAtAll) {
  const tag objects[] = {find("000100"), find("000200"), 4'000'000};
  EXPECT_EQ(STORE_refresh_instances(3, objects, NULLTAG, STORE_modify_lock), STORE_unknown_tag);
  EXPECT_EQ(lock_of(objects[0]), STORE_no_lock);
  EXPECT_EQ(STORE_refresh_instances(2, objects, NULLTAG, STORE_modify_lock), ORK_ok);
  EXPECT_EQ(lock_of(objects[1]), STORE_modify_lock);
  EXPECT_EQ(STORE_refresh_instances(2, objects, NULLTAG, STORE_no_lock), ORK_ok);
  EXPECT_EQ(describe("locks"), "[]");
  EXPECT_EQ(STORE_refresh_instances(2, objects, NULLTAG, 5), STORE_unknown_lock);
  EXPECT_EQ(ask(TYPE_get_class_name, ask(TYPE_get_object_type, objects[0])), "Item");
  EXPECT_EQ(refusal(TYPE_get_class_name, objects[0]), TYPE_not_a_type);
}

TEST_F(Flow, WrongTemplatesAreRefusedWithTheirPlace) {
  expect_refused("refused_templates.txt", ork_host_seed);
  std::string deep = R"({"name": "x"})";
  for (int i = 0; i < 40; ++i) {
    deep = R"({"name": "x", "tasks": [)" + deep + "]}";
  }
  EXPECT_EQ(ork_host_seed((R"({"process_templates": [)" + deep + "]}").c_str()),
            ORK_invalid_argument);
  EXPECT_THAT(last_error(), HasSubstr("nested more than 32 deep"));
}

TEST(FlowProcess, AReviewThatAnotherProcessHasEndedIsOver) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ASSERT_EQ(ork_host_seed(test::demo_seed) | ork_host_seed(flow_seed.c_str()), ORK_ok);
  ASSERT_EQ(ORK_init_module("wagner", "let me in", nullptr), ORK_ok);
  const tag job = started("Release");
  const std::vector<tag> signoffs = attachments(task(job, "Check"), FLOW_signoff_attachment);
  EXPECT_THAT(states(job), HasSubstr("Check:S"));
  test::ChildProcess other(
      {PARTNER_PROGRAM, "approve", path, std::to_string(signoffs[1]), std::to_string(signoffs[2])});
  EXPECT_EQ(other.read_line(), "approved");
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(decide(signoffs[0], SIGNOFF_reject), SIGNOFF_not_in_progress);
  EXPECT_EQ(FLOW_refresh_entire_job(job), ORK_ok);
  EXPECT_THAT(states(job), HasSubstr("Check:C"));
  ork_host_close();
}

#if !defined(_WIN32)

// A process that dies inside a handler leaves the last step that was completed.
TEST(FlowProcess, AKilledProcessLeavesTheLastStep) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  const auto open = [&path] {
    EXPECT_EQ(ork_host_open(path.c_str()), ORK_ok);
    register_handlers();
  };
  const pid_t child = fork();
  if (child == 0) {
    open();
    ork_host_seed(test::demo_seed);
    ork_host_seed(flow_seed.c_str());
    ORK_auto_login();
    handlers().act = [](const FLOW_action_message_s*) -> int { std::_Exit(3); };
    started("Straight");
    std::_Exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_EQ(WEXITSTATUS(status), 3);
  open();
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  const std::vector<tag> found = jobs();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(states(found[0]), "Straight:S One:C Two:S Inner:P ");
  EXPECT_EQ(FLOW_continue_job(found[0]), ORK_ok) << last_error();
  EXPECT_EQ(states(found[0]), "Straight:C One:C Two:C Inner:C ");
  ork_host_close();
}

#endif
