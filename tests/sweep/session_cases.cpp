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

void log_out_and_give_arguments() {
  log_out();
  const char* arguments[] = {"program", "-u=ada", "-p=ada-secret", "-g=engineering"};
  ork_host_set_arguments(4, arguments);
}

/** Start-up where a login option cannot be read: it counts as missing. */
Step loses_option(std::vector<std::string> calls_after) {
  calls_after.insert(calls_after.end(), {"ORK_auto_login", "ORK_set_journalling", "ORG_init_module",
                                         "DSET_init_module", "OBJ_init_module"});
  return ignores("ORK_get_cli_argument", "batch").unwrapped().calls(std::move(calls_after));
}

std::vector<std::string> options(int count) {
  return std::vector<std::string>(static_cast<std::size_t>(count), "ORK_get_cli_argument");
}

void add_start_up(Cases& cases) {
  cases.add("ZOLP_startup_ork_environment", "login from the command line")
      .good({0, "ada"})
      .steps({aborts("ORK_initialize_text_services", "nobody"),
              // "-u" and "-u=", then the group's, then the password's.
              loses_option(options(4)), loses_option(options(4)), loses_option(options(2)),
              loses_option(options(2)), loses_option(options(0)), loses_option(options(0)),
              aborts("ORK_init_module", "nobody"), aborts("ORK_set_journalling", "ada"),
              passes("ORG_init_module", "ada").goes_on(), aborts("DSET_init_module", "ada"),
              aborts("OBJ_init_module", "ada")})
      .call(start_up)
      .prepare(log_out_and_give_arguments)
      .again(log_out);
  const auto no_option = [] {
    return ignores("ORK_get_cli_argument", "batch").unwrapped().goes_on();
  };
  cases.add("ZOLP_startup_ork_environment", "automatic login")
      .good({0, "batch"})
      .steps({aborts("ORK_initialize_text_services", "nobody"), no_option(), no_option(),
              no_option(), aborts("ORK_auto_login", "nobody"),
              aborts("ORK_set_journalling", "batch"), passes("ORG_init_module", "batch").goes_on(),
              aborts("DSET_init_module", "batch"), aborts("OBJ_init_module", "batch")})
      .call(start_up)
      .prepare(log_out)
      .again(log_out);
  cases.add("ZOLP_shutdown_ork_environment", "")
      .good({0, "nobody"})
      .steps({aborts("ORK_exit_module", "ada")})
      .call([](Run& run) {
        run.call(ZOLP_shutdown_ork_environment);
        run.out(session_user());
      })
      .again([] {
        log_out();
        prepared(ORK_init_module("ada", "ada-secret", "engineering"), "login");
      });
}

void set_bypass(Run& run, logical flag) {
  run.call(ZOLP_set_ork_bypass, flag);
  logical is_on = 0;
  prepared(ORK_get_bypass(&is_on), "bypass");
  run.out(is_on);
  ORK_set_bypass(0);
}

void add_bypass(Cases& cases) {
  cases.add("ZOLP_set_ork_bypass", "on, by an administrator")
      .good({1, "1"})
      .steps({ignores("ORK_get_bypass", "1"),
              // The platform decides; that the user is an administrator is not known.
              answers("STORE_is_user_sa", 0, "1").goes_on(), ignores("ORK_set_bypass", "0")})
      .call([](Run& run) { set_bypass(run, 1); })
      .prepare([] { log_in_as("root"); });
  cases.add("ZOLP_set_ork_bypass", "on, when it is on already")
      .good({1, "1"})
      .steps({answers("ORK_get_bypass", 1, "1").calls({"STORE_is_user_sa", "ORK_set_bypass"})})
      .call([](Run& run) { set_bypass(run, 1); })
      .prepare([] {
        log_in_as("root");
        prepared(ORK_set_bypass(1), "bypass");
      })
      .again([] { prepared(ORK_set_bypass(1), "bypass"); });
}

void add_login(Cases& cases) {
  cases.add("ZOLP_identify_user_and_group", "")
      .good({0, "ada|quality"})
      .steps({ignores("ORG_find_user", "0|quality"), ignores("ORG_find_group", "ada|0")})
      .call([](Run& run) {
        tag user = untouched_tag;
        tag group = untouched_tag;
        run.call(ZOLP_identify_user_and_group, "ada", "quality", &user, &group);
        run.out_tag(user).out_tag(group);
      });
  cases.add("ZOLP_get_current_user_and_group", "")
      .good({0, "ada|engineering"})
      .steps({ignores("STORE_get_user", "0|engineering"), ignores("STORE_get_group", "ada|0")})
      .call([](Run& run) {
        tag user = untouched_tag;
        tag group = untouched_tag;
        run.call(ZOLP_get_current_user_and_group, &user, &group);
        run.out_tag(user).out_tag(group);
      });
  cases.add("ZOLP_ask_login", "")
      .good({0, "ada|engineering|designer"})
      .steps({passes("STORE_get_user_id", "||"), passes("STORE_get_group", "ada||"),
              passes("ORG_get_current_role", "ada|engineering|"),
              passes("ORG_get_role_name", "ada|engineering|")})
      .call([](Run& run) {
        char user[33] = "x";
        char group[33] = "x";
        char role[33] = "x";
        run.call(ZOLP_ask_login, user, group, role);
        run.out(user).out(group).out(role);
      });
}

}  // namespace

void add_session_cases(Cases& cases) {
  add_start_up(cases);
  add_bypass(cases);
  add_login(cases);
}

}  // namespace sweep
