// Ownership, access and locks.

#include "sweep.h"

namespace sweep {

void add_access_cases(Cases& cases) {
  const auto check = [](const char* privilege) {
    return outputs_of(ZOLP_check_access, object("ada"), object("engineering"), object("100/B"),
                      privilege);
  };
  cases.add("ZOLP_check_access", "granted").call(check(ACCESS_privilege_write));
  cases.add("ZOLP_check_access", "refused").call(check(ACCESS_privilege_delete));
  cases.add("ZOLP_verify_state_and_lock_of_object", "neither loaded nor locked")
      .call(outputs_of(ZOLP_verify_state_and_lock_of_object, object("100/B")))
      .prepare([] { OBJ_unload(object("100/B")); })
      .again([] {
        OBJ_refresh(object("100/B"), 0);
        OBJ_unload(object("100/B"));
      });
  cases.add("ZOLP_checkObjectStatus", "two statuses")
      .call(outputs_of(ZOLP_checkObjectStatus, object("100/A")));
  cases.add("ZOLP_ask_ownership").call(outputs_of(ZOLP_ask_ownership, object("100/A")));
  cases.add("ZOLP_ask_ownership_names").call(outputs_of(ZOLP_ask_ownership_names, object("100/A")));
}

}  // namespace sweep
