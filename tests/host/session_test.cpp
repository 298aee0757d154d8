#include "child_process.h"
#include "objects_site.h"

using test::error_texts;

TEST_F(DemoSite, LoginTellsWhatIsWrongByCodeAndText) {
  const std::tuple<const char*, const char*, const char*, int, const char*> cases[] = {
      {"nobody", "let me in", "design", ORK_unknown_user, "nobody"},
      {"", "let me in", "design", ORK_unknown_user, ""},
      {"wagner", "let me", "design", ORK_wrong_password, "wagner"},
      {"wagner", "", "design", ORK_wrong_password, "wagner"},
      {"wagner", "let me in", "desing", ORK_unknown_group, "desing"},
      {"wagner", "let me in", "dba", ORK_user_not_in_group, "dba"},
      {nullptr, "let me in", "design", ORK_invalid_argument, ""},
      {"wagner", nullptr, "design", ORK_invalid_argument, ""},
  };
  std::set<std::string> texts;
  for (const auto& [user, password, group, status, detail] : cases) {
    EXPECT_EQ(ORK_init_module(user, password, group), status);
    EXPECT_THAT(last_error(), HasSubstr(detail));
    EXPECT_THAT(last_error(), Not(HasSubstr("let me")));
    texts.insert(ask(ERR_get_error_text, status));
    EXPECT_EQ(ORK_set_journalling(1), ORK_not_logged_in);
  }
  EXPECT_EQ(texts.size(), 5u);

  EXPECT_EQ(ORK_init_module("wagner", "let me in", "design"), ORK_ok);
  EXPECT_THAT(error_texts(), IsEmpty());
  EXPECT_EQ(ORK_init_module("build", "at night", ""), ORK_already_logged_in);
  EXPECT_EQ(ORK_auto_login(), ORK_already_logged_in);
  EXPECT_EQ(ORK_exit_module(1), ORK_ok);
  EXPECT_EQ(ORK_exit_module(1), ORK_not_logged_in);
}

TEST_F(DemoSite, SessionKnowsItsUserGroupAndRole) {
  const auto expect_session = [](const char* name, const char* id, const char* group,
                                 const char* role, bool is_administrator) {
    char* text = nullptr;
    EXPECT_EQ(ask(STORE_get_user, &text), test::user_named(id));
    EXPECT_EQ(take(text), name);
    EXPECT_EQ(ask(STORE_get_user_id), id);
    EXPECT_EQ(ask(STORE_get_group, &text), ask(ORG_find_group, group));
    EXPECT_EQ(take(text), group);
    EXPECT_EQ(ask(ORG_get_role_name, ask(ORG_get_current_role)), role);
    EXPECT_EQ(ask(STORE_is_user_sa), is_administrator);
  };

  log_in();
  expect_session("Nightly build", "build", "design", "Designer", true);
  EXPECT_EQ(test::user_named("nobody"), NULLTAG);
  EXPECT_EQ(test::refusal(ORG_get_role_name, test::user_named("wagner")), ORG_not_a_role);
  EXPECT_EQ(ORG_init_module() | DSET_init_module() | OBJ_init_module(), ORK_ok);
  EXPECT_EQ(ORK_exit_module(1), ORK_ok);

  ASSERT_EQ(ORK_init_module("build", "at night", "dba"), ORK_ok);
  expect_session("Nightly build", "build", "dba", "Administrator", true);
  ORK_exit_module(1);
  log_in_as_designer();
  expect_session("Petra Wagner", "wagner", "design", "Designer", false);
}

TEST(Session, LoginOpensTheSiteOfTheEnvironmentButMakesNone) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  unsetenv("ORK_HOST_DB");
  EXPECT_EQ(ORK_auto_login(), ORK_site_not_available);
  EXPECT_THAT(last_error(), HasSubstr("ORK_HOST_DB"));

  setenv("ORK_HOST_DB", path.c_str(), 1);
  EXPECT_EQ(ORK_auto_login(), ORK_site_not_available);
  EXPECT_THAT(last_error(), HasSubstr(path));
  EXPECT_FALSE(folder.has("site.db"));

  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ork_host_close();
  EXPECT_EQ(ORK_auto_login(), ORK_no_automatic_login);
  EXPECT_EQ(ork_host_path(), nullptr) << "a failed login leaves no site open";

  ork_host_open(path.c_str());
  ASSERT_EQ(ork_host_seed(test::demo_seed), ORK_ok);
  ork_host_close();
  EXPECT_EQ(ORK_auto_login(), ORK_ok);
  EXPECT_EQ(ork_host_path(), path);
  EXPECT_EQ(ORK_exit_module(1), ORK_ok);
  EXPECT_EQ(ork_host_path(), nullptr);
}

TEST(Session, ArgumentsAreUnderstoodInBothForms) {
  const std::tuple<std::vector<const char*>, const char*, const char*> cases[] = {
      {{"program", "-u=wagner"}, "wagner", "wagner"},
      {{"program", "-u", "wagner"}, "wagner", "wagner"},
      {{"program", "-u"}, "", nullptr},
      {{"program", "-u", "-p=secret"}, "", nullptr},
      {{"program", "-u="}, "", ""},
      {{"program", "-user=wagner", "u=x", "wagner"}, nullptr, nullptr},
      {{"-u=wagner"}, nullptr, nullptr},
      {{"program", "-u=-x=y"}, "-x=y", "-x=y"},
      {{"program", "-u=first", "-u=second"}, "first", "first"},
  };
  for (const auto& [arguments, is_there, value] : cases) {
    ork_host_set_arguments(static_cast<int>(arguments.size()), arguments.data());
    EXPECT_STREQ(ORK_get_cli_argument("-u"), is_there) << arguments.back();
    EXPECT_STREQ(ORK_get_cli_argument("-u="), value) << arguments.back();
  }
  EXPECT_EQ(ORK_get_cli_argument(nullptr), nullptr);

  const char* kept = ORK_get_cli_argument("-u");
  ork_host_set_arguments(0, nullptr);
  EXPECT_STREQ(kept, "first") << "valid until the process ends";
  EXPECT_EQ(ORK_get_cli_argument("-u"), nullptr) << "the test's own arguments again";
}

TEST(Session, ArgumentsAreTheProgramsOwn) {
  test::ChildProcess partner({PARTNER_PROGRAM, "arguments", "-u=Petra W", "-p", "secret", "-g"});
  for (const char* line : {"-u Petra W", "-u= Petra W", "-p= secret", "-g ", "-g= (none)"}) {
    EXPECT_EQ(partner.read_line(), line);
  }
  EXPECT_EQ(partner.wait(), 0);
}
