// Ownership, access and locks.

#include "ork/access.h"
#include "ork/obj.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_access(Cases& cases) {
  const auto check = [](const char* privilege) {
    return [privilege](Run& run) {
      run.call(ZOLP_check_access, object("ada"), object("engineering"), object("100/B"), privilege);
    };
  };
  cases.add("ZOLP_check_access", "granted")
      .good({0, ""})
      .steps({answers("ACCESS_check_accessors_privilege", 1)
                  .calls({"WSO_get_name", "WSO_get_object_type"})})
      .call(check(ACCESS_privilege_write));
  cases.add("ZOLP_check_access", "refused")
      .good({1, ""})
      .steps({ignores("ACCESS_check_accessors_privilege"), ignores("WSO_get_name"),
              ignores("WSO_get_object_type")})
      .call(check(ACCESS_privilege_delete));
}

void add_locks(Cases& cases) {
  // Without its state the object counts as loaded; locking it loads it all the same.
  const std::vector<std::string> without_load = {"STORE_get_instance_lock", "OBJ_lock",
                                                 "STORE_who_locked_instance"};
  cases.add("ZOLP_verify_state_and_lock_of_object", "neither loaded nor locked")
      .good({0, "", 0, 0, true})
      .steps({ignores("STORE_get_instance_state").calls(without_load).locks(),
              ignores("OBJ_load").locks(), ignores("STORE_get_instance_lock").locks(),
              ignores("OBJ_lock"), ignores("STORE_who_locked_instance").locks()})
      .call([](Run& run) { run.call(ZOLP_verify_state_and_lock_of_object, object("100/B")); })
      .prepare([] { OBJ_unload(object("100/B")); })
      .again([] {
        OBJ_refresh(object("100/B"), 0);
        OBJ_unload(object("100/B"));
      });
}

void add_statuses(Cases& cases) {
  // Both frames stay open: that of the guarded call of a function, whose own call is guarded.
  cases.add("ZOLP_checkObjectStatus", "two statuses")
      .good({0, "1"})
      .steps({aborts("OBJ_load", "99").open(2), aborts("OBJ_get_value_tags", "99").open(2),
              aborts("OBJ_get_value_string", "99").open(2),
              aborts("OBJ_get_value_string", "99").open(2)})
      .allocations({exhausted(1, "99", 1), exhausted(1, "99", 1), exhausted(1, "99", 1)})
      .call([](Run& run) {
        logical has_status = untouched_number;
        run.call(ZOLP_checkObjectStatus, object("100/A"), &has_status);
        run.out(has_status);
      });
}

void add_owners(Cases& cases) {
  cases.add("ZOLP_ask_ownership", "")
      .good({0, "ada|quality"})
      .steps({passes("OBJ_get_owner", "0|0"), passes("OBJ_get_group", "ada|0")})
      .call([](Run& run) {
        tag owner = untouched_tag;
        tag group = untouched_tag;
        run.call(ZOLP_ask_ownership, object("100/A"), &owner, &group);
        run.out_tag(owner).out_tag(group);
      });
  cases.add("ZOLP_ask_ownership_names", "")
      .good({0, "ada|quality"})
      .steps({passes("OBJ_get_owner", "|"), passes("OBJ_get_group", "|"),
              answers("ORG_get_user_identifier", 0, "|"), answers("ORG_get_group_name", 0, "ada|")})
      .call([](Run& run) {
        char user[33] = "x";
        char group[33] = "x";
        run.call(ZOLP_ask_ownership_names, object("100/A"), user, group);
        run.out(user).out(group);
      });
}

}  // namespace

void add_access_cases(Cases& cases) {
  add_access(cases);
  add_locks(cases);
  add_statuses(cases);
  add_owners(cases);
}

}  // namespace sweep
