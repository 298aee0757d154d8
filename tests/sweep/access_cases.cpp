// Ownership, access and locks.

#include "ork/access.h"
#include "ork/obj.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

void add_access_cases(Cases& cases) {
  const auto check = [](const char* privilege) {
    return outputs_of(ZOLP_check_access, object("ada"), object("engineering"), object("100/B"),
                      privilege);
  };
  cases
      .add("ZOLP_check_access", "granted", R"(good 0;
        answers 1 ACCESS_check_accessors_privilege then WSO_get_name WSO_get_object_type)")
      .call(check(ACCESS_privilege_write));
  cases
      .add("ZOLP_check_access", "refused", R"(good 1;
        ignores ACCESS_check_accessors_privilege WSO_get_name WSO_get_object_type)")
      .call(check(ACCESS_privilege_delete));
  // Without its state the object counts as loaded; locking it loads it all the same.
  cases
      .add("ZOLP_verify_state_and_lock_of_object", "neither loaded nor locked", R"(good 0 locked;
        ignores locked STORE_get_instance_state
          then STORE_get_instance_lock OBJ_lock STORE_who_locked_instance;
        ignores locked OBJ_load STORE_get_instance_lock; ignores OBJ_lock;
        ignores locked STORE_who_locked_instance)")
      .call(outputs_of(ZOLP_verify_state_and_lock_of_object, object("100/B")))
      .prepare([] { OBJ_unload(object("100/B")); })
      .again([] {
        OBJ_refresh(object("100/B"), 0);
        OBJ_unload(object("100/B"));
      });
  // Both frames stay open: that of the guarded call of a function, whose own call is guarded.
  cases
      .add("ZOLP_checkObjectStatus", "two statuses", R"(good 0: 1;
        aborts +2 OBJ_load OBJ_get_value_tags OBJ_get_value_string x2: 99; exhausted 1 +1 x3: 99)")
      .call(outputs_of(ZOLP_checkObjectStatus, object("100/A")));
  cases
      .add("ZOLP_ask_ownership", "", R"(good 0: ada|quality;
        passes OBJ_get_owner: 0|0; passes OBJ_get_group: ada|0)")
      .call(outputs_of(ZOLP_ask_ownership, object("100/A")));
  cases
      .add("ZOLP_ask_ownership_names", "", R"(good 0: ada|quality;
        passes OBJ_get_owner OBJ_get_group: |; answers 0 ORG_get_user_identifier: |;
        answers 0 ORG_get_group_name: ada|)")
      .call(outputs_of(ZOLP_ask_ownership_names, object("100/A")));
}

}  // namespace sweep
