#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ork/org.h"
#include "ork/store.h"
#include "support/site.h"
#include "support/trace_capture.h"
#include "zolp_orktool.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string session_user() {
  char user[33] = "";
  char group[33] = "";
  char role[33] = "";
  EXPECT_EQ(ZOLP_ask_login(user, group, role), ORK_ok);
  return std::string(user) + "/" + group + "/" + role;
}

TEST(Startup, LogsInFromTheCommandLineInItsOrder) {
  const test::Site site;
  site.arguments({"-u=ada", "-p=ada-secret", "-g=engineering"});
  const test::TraceCapture trace;
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_ok);
  EXPECT_THAT(
      test::Site::journal(),
      ElementsAre("ORK_initialize_text_services", "ORK_get_cli_argument", "ORK_get_cli_argument",
                  "ORK_get_cli_argument", "ORK_get_cli_argument", "ORK_get_cli_argument",
                  "ORK_get_cli_argument", "ORK_init_module", "ORK_set_journalling",
                  "ORG_init_module", "DSET_init_module", "OBJ_init_module"));
  EXPECT_THAT(trace.lines().front(),
              StartsWith(" ->zolp_startup_ork_environment zolp_allg_utilities.cpp:"));
  EXPECT_THAT(trace.lines()[1], StartsWith("   ->ORK_initialize_text_services (...) "));
  EXPECT_THAT(trace.lines()[3], StartsWith("   ->ORK_init_module(...) "));
  EXPECT_TRUE(trace.has(" ->ORG_init_module() "));
  EXPECT_THAT(trace.lines().back(),
              StartsWith(" <-ZOLP_startup_ork_environment zolp_allg_utilities.cpp:"));
  for (const std::string& line : trace.lines()) {
    EXPECT_THAT(line, Not(HasSubstr("ada-secret")));
  }
  EXPECT_EQ(session_user(), "ada/engineering/designer");
  EXPECT_EQ(ZOLP_shutdown_ork_environment(), ORK_ok);
  EXPECT_EQ(ZOLP_shutdown_ork_environment(), ORK_not_logged_in);
}

TEST(Startup, LogsInAutomaticallyUnlessAllThreeOptionsAreThere) {
  const test::Site site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  for (const auto& arguments :
       {std::vector<const char*>{}, {"-u=ada", "-p=ada-secret"}, {"-u=ada", "-g=engineering"}}) {
    std::vector<const char*> all{"program"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    ork_host_set_arguments(static_cast<int>(all.size()), all.data());
    EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_ok);
    EXPECT_EQ(session_user(), "batch/quality/designer");
    EXPECT_EQ(ZOLP_shutdown_ork_environment(), ORK_ok);
  }
}

TEST(Startup, EndsAtAFailingStepWithoutItsExitLine) {
  const test::Site site;
  const char* guarded[] = {"ORK_initialize_text_services", "ORK_auto_login", "ORK_set_journalling",
                           "DSET_init_module", "OBJ_init_module"};
  for (const char* operation : guarded) {
    test::TraceCapture trace;
    ork_host_fail_call(operation, 1, 4711);
    ork_host_start_journal();
    EXPECT_EQ(ZOLP_startup_ork_environment(), 4711);
    EXPECT_EQ(test::Site::journal().back(), operation);
    EXPECT_TRUE(trace.has("##ORK_err_4711: " + std::string(operation)));
    EXPECT_FALSE(trace.has(" <-ZOLP_startup_ork_environment"));
    ork_host_clear_faults();
    ORK_exit_module(1);
  }
}

TEST(Startup, GoesOnAfterAFailingOrganisationModuleAndReturnsItsStatus) {
  const test::Site site;
  const test::TraceCapture trace;
  ork_host_fail_call("ORG_init_module", 1, 4711);
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_startup_ork_environment(), 4711);
  EXPECT_EQ(test::Site::journal().back(), "OBJ_init_module");
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ZOLP_startup_ork_environment "));
}

TEST(Startup, TellsWrongLoginsApart) {
  const test::Site site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  site.arguments({"-u=ada", "-p=wrong", "-g=engineering"});
  EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_wrong_password);
  site.arguments({"-u=nobody", "-p=ada-secret", "-g=engineering"});
  EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_unknown_user);
  site.arguments({"-u=ada", "-p=ada-secret", "-g=quality"});
  EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_user_not_in_group);
}

TEST(Bypass, IsSwitchedOnByAdministratorsAndThenStays) {
  const test::Site site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  logical has_bypass = 1;
  site.log_in("root", "root-secret", "engineering");
  EXPECT_EQ(ZOLP_set_ork_bypass(0), 0);
  EXPECT_EQ(ZOLP_set_ork_bypass(1), 1);
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_set_ork_bypass(0), 1);
  EXPECT_THAT(test::Site::journal(), ElementsAre("ORK_get_bypass"));
  ORK_get_bypass(&has_bypass);
  EXPECT_EQ(has_bypass, 1);
}

TEST(Bypass, IsRefusedToOthersThoughThePlatformIsAsked) {
  const test::Site site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  logical has_bypass = 1;
  site.log_in();
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_set_ork_bypass(1), 0);
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("ORK_get_bypass", "STORE_is_user_sa", "ORK_set_bypass"));
  ORK_get_bypass(&has_bypass);
  EXPECT_EQ(has_bypass, 0);
}

TEST(Identify, FindsWhatIsThereAndSaysWhatIsNot) {
  const test::Site site;
  site.log_in();
  test::TraceCapture trace;
  tag user = 99;
  tag group = 99;
  EXPECT_EQ(ZOLP_identify_user_and_group(nullptr, "quality", &user, &group), ORK_ok);
  EXPECT_EQ(user, NULLTAG);
  EXPECT_NE(group, NULLTAG);
  EXPECT_THAT(trace.lines()[0], StartsWith(" ->zolp_identify_user_and_group "));
  EXPECT_EQ(trace.lines()[1], "  user_name:(null) group_name:quality");
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ZOLP_identify_user_and_group "));

  trace.clear();
  EXPECT_EQ(ZOLP_identify_user_and_group("nobody", "nowhere", &user, &group), ORK_ok);
  EXPECT_EQ(user, NULLTAG);
  EXPECT_EQ(group, NULLTAG);
  EXPECT_THAT(trace.lines(), Contains("  User:nobody: does not exist!"));
  EXPECT_THAT(trace.lines(), Contains("  Group:nowhere:does not exist!"));

  ork_host_fail_call("ORG_find_user", 1, 4711);
  EXPECT_EQ(ZOLP_identify_user_and_group("ada", "engineering", &user, &group), ORK_ok);
  EXPECT_EQ(user, NULLTAG);
  EXPECT_NE(group, NULLTAG);
}

TEST(CurrentUser, IsTheSessions) {
  const test::Site site;
  site.log_in();
  const test::TraceCapture trace;
  tag user = NULLTAG;
  tag group = NULLTAG;
  tag found_user = NULLTAG;
  tag found_group = NULLTAG;
  ZOLP_identify_user_and_group("ada", "engineering", &found_user, &found_group);
  EXPECT_EQ(ZOLP_get_current_user_and_group(&user, &group), ORK_ok);
  EXPECT_EQ(user, found_user);
  EXPECT_EQ(group, found_group);
  EXPECT_TRUE(trace.has("  Current group:engineering"));
  ork_host_fail_call("STORE_get_user", 1, 4711);
  EXPECT_EQ(ZOLP_get_current_user_and_group(&user, &group), ORK_ok);
  EXPECT_TRUE(trace.has("current user:(null):"));
  EXPECT_EQ(ork_host_block_count(), 0U);
}

TEST(AskLogin, StopsAtTheFirstFailureAndLeavesTheRestEmpty) {
  const test::Site site;
  site.log_in();
  const test::TraceCapture trace;
  const struct {
    const char* operation;
    const char* result;
  } cases[] = {{"STORE_get_user_id", "//"},
               {"STORE_get_group", "ada//"},
               {"ORG_get_current_role", "ada/engineering/"},
               {"ORG_get_role_name", "ada/engineering/"}};
  for (const auto& [operation, result] : cases) {
    char user[33] = "x";
    char group[33] = "x";
    char role[33] = "x";
    ork_host_fail_call(operation, 1, 4711);
    ork_host_start_journal();
    EXPECT_EQ(ZOLP_ask_login(user, group, role), 4711);
    EXPECT_EQ(std::string(user) + "/" + group + "/" + role, result);
    EXPECT_EQ(test::Site::journal().back(), operation);
    EXPECT_THAT(trace.lines().back(), StartsWith(" <-ZOLP_ask_login "));
  }
  EXPECT_EQ(ork_host_block_count(), 0U);
}

}  // namespace
