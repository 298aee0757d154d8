// Session: start-up, login and bypass.

#include "ork/mem.h"
#include "ork/store.h"
#include "ork_host.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

/** Id of the session's user; "nobody" without a session. */
std::string session_user() {
  char* id = nullptr;
  if (STORE_get_user_id(&id) != ORK_ok) {
    return "nobody";
  }
  const std::string copy = id;
  MEM_free(id);
  return copy;
}

void start_up(Run& run) {
  run.call(ZOLP_startup_ork_environment);
  run.out(session_user());
}

void log_out() {
  ORK_exit_module(0);
}

/** Reading a login option that cannot be read: it counts as missing. */
std::string loses_option(const std::string& options_after) {
  return "ignores unwrapped ORK_get_cli_argument then " + options_after +
         " ORK_auto_login ORK_set_journalling ORG_init_module DSET_init_module OBJ_init_module: "
         "batch; ";
}

void add_start_up(Cases& cases) {
  const std::string two = "ORK_get_cli_argument ORK_get_cli_argument ";
  // "-u" and "-u=", then the group's, then the password's.
  const std::string options = loses_option(two + two) + loses_option(two + two) +
                              loses_option(two) + loses_option(two) + loses_option("") +
                              loses_option("");
  cases
      .add("ZOLP_startup_ork_environment", "login from the command line",
           "good 0: ada; aborts ORK_initialize_text_services: nobody;" + options +
               R"(aborts ORK_init_module: nobody; aborts ORK_set_journalling: ada;
                  passes goes_on ORG_init_module: ada; aborts DSET_init_module OBJ_init_module: ada)")
      .call(start_up)
      .prepare([] {
        log_out();
        const char* arguments[] = {"program", "-u=ada", "-p=ada-secret", "-g=engineering"};
        ork_host_set_arguments(4, arguments);
      })
      .again(log_out);
  cases
      .add("ZOLP_startup_ork_environment", "automatic login", R"(good 0: batch;
        aborts ORK_initialize_text_services: nobody;
        ignores unwrapped ORK_get_cli_argument x3: batch; aborts ORK_auto_login: nobody;
        aborts ORK_set_journalling: batch; passes goes_on ORG_init_module: batch;
        aborts DSET_init_module OBJ_init_module: batch)")
      .call(start_up)
      .prepare(log_out)
      .again(log_out);
  cases.add("ZOLP_shutdown_ork_environment", "", "good 0: nobody; aborts ORK_exit_module: ada")
      .call([](Run& run) {
        run.call(ZOLP_shutdown_ork_environment);
        run.out(session_user());
      })
      .again([] {
        log_out();
        prepared(ORK_init_module("ada", "ada-secret", "engineering"), "login");
      });
}

void switch_bypass_on(Run& run) {
  run.call(ZOLP_set_ork_bypass, logical{1});
  logical is_on = 0;
  prepared(ORK_get_bypass(&is_on), "bypass");
  run.out(is_on);
  ORK_set_bypass(0);
}

void add_bypass(Cases& cases) {
  // The platform decides; that the user is an administrator is not known.
  cases
      .add("ZOLP_set_ork_bypass", "on, by an administrator", R"(good 1: 1;
        ignores ORK_get_bypass: 1; answers 0 goes_on STORE_is_user_sa: 1; ignores ORK_set_bypass: 0)")
      .call(switch_bypass_on)
      .prepare([] { log_in_as("root"); });
  cases
      .add("ZOLP_set_ork_bypass", "on, when it is on already", R"(good 1: 1;
        answers 1 ORK_get_bypass then STORE_is_user_sa ORK_set_bypass: 1)")
      .call(switch_bypass_on)
      .prepare([] {
        log_in_as("root");
        prepared(ORK_set_bypass(1), "bypass");
      })
      .again([] { prepared(ORK_set_bypass(1), "bypass"); });
}

}  // namespace

void add_session_cases(Cases& cases) {
  add_start_up(cases);
  add_bypass(cases);
  cases
      .add("ZOLP_identify_user_and_group", "", R"(good 0: ada|quality;
        ignores ORG_find_user: 0|quality; ignores ORG_find_group: ada|0)")
      .call(outputs_of(ZOLP_identify_user_and_group, "ada", "quality"));
  cases
      .add("ZOLP_get_current_user_and_group", "", R"(good 0: ada|engineering;
        ignores STORE_get_user: 0|engineering; ignores STORE_get_group: ada|0)")
      .call(outputs_of(ZOLP_get_current_user_and_group));
  cases
      .add("ZOLP_ask_login", "", R"(good 0: ada|engineering|designer;
        passes STORE_get_user_id: ||; passes STORE_get_group: ada||;
        passes ORG_get_current_role ORG_get_role_name: ada|engineering|)")
      .call(outputs_of(ZOLP_ask_login));
}

}  // namespace sweep
