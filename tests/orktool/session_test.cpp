#include "support/site.h"

namespace {

using testing::Contains;

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
  EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_ok);
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
  const auto user_with = [&](std::initializer_list<const char*> arguments) {
    site.arguments(arguments);
    EXPECT_EQ(ZOLP_startup_ork_environment(), ORK_ok);
    const std::string user = session_user();
    EXPECT_EQ(ZOLP_shutdown_ork_environment(), ORK_ok);
    return user;
  };
  EXPECT_EQ(user_with({}), "batch/quality/designer");
  EXPECT_EQ(user_with({"-u=ada", "-p=ada-secret"}), "batch/quality/designer");
  EXPECT_EQ(user_with({"-u=ada", "-g=engineering"}), "batch/quality/designer");
}

TEST(Bypass, IsSwitchedOnByAdministratorsOnlyAndThenStays) {
  const test::Site site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  site.log_in();
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_set_ork_bypass(1), 0);
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("ORK_get_bypass", "STORE_is_user_sa", "ORK_set_bypass"));
  EXPECT_EQ(test::ask(ORK_get_bypass), 0);
  ORK_exit_module(0);
  site.log_in("root", "root-secret", "engineering");
  EXPECT_EQ(ZOLP_set_ork_bypass(0), 0);
  EXPECT_EQ(ZOLP_set_ork_bypass(1), 1);
  EXPECT_EQ(ZOLP_set_ork_bypass(0), 1);
  EXPECT_EQ(test::ask(ORK_get_bypass), 1);
}

TEST(Identify, FindsWhatIsThereAndSaysWhatIsNot) {
  const test::Site site;
  site.log_in();
  test::TraceCapture trace;
  tag user = 99;
  tag group = test::ask(ZOLP_identify_user_and_group, nullptr, "quality", &user);
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
  EXPECT_EQ(ZOLP_get_current_user_and_group(&user, &group), ORK_ok);
  EXPECT_EQ(trace.missing({"  Current group:engineering", "current user:Ada Example:"}), "");
}

}  // namespace
