// Session: start-up, login and bypass.

#include "sweep.h"

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

void add_start_up(Cases& cases) {
  cases.add("ZOLP_startup_ork_environment", "login from the command line")
      .call(start_up)
      .prepare([] {
        log_out();
        const char* arguments[] = {"program", "-u=ada", "-p=ada-secret", "-g=engineering"};
        ork_host_set_arguments(4, arguments);
      })
      .again(log_out);
  cases.add("ZOLP_startup_ork_environment", "automatic login")
      .call(start_up)
      .prepare(log_out)
      .again(log_out);
  cases.add("ZOLP_shutdown_ork_environment")
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
  cases.add("ZOLP_set_ork_bypass", "on, by an administrator").call(switch_bypass_on).prepare([] {
    log_in_as("root");
  });
  cases.add("ZOLP_set_ork_bypass", "on, when it is on already")
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
  cases.add("ZOLP_identify_user_and_group")
      .call(outputs_of(ZOLP_identify_user_and_group, "ada", "quality"));
  cases.add("ZOLP_get_current_user_and_group").call(outputs_of(ZOLP_get_current_user_and_group));
  cases.add("ZOLP_ask_login").call(outputs_of(ZOLP_ask_login));
}

}  // namespace sweep
