/** @file A site with a session, opened once in a fuzzer's process. */
#pragma once

#include <string>

#include "fuzz/support.h"
#include "ork_host.h"

namespace fuzz {

/** Opens a site and logs in. */
inline void open_site() {
  constexpr const char* seed = R"({
    "site": {"automatic_login": "batch"}, "groups": ["all"], "roles": ["any"],
    "users": [{"id": "batch", "memberships": [{"group": "all", "role": "any"}]}],
    "preferences": {"FLColumnCatIVFSeparatorPref": "/", "WsoInsertNoSelectionsPref": "1"}
  })";
  check(ork_host_open(":memory:") == ORK_ok && ork_host_seed(seed) == ORK_ok &&
            ORK_auto_login() == ORK_ok,
        "a site opens");
}

inline void set_preference(const char* name, const char* value) {
  check(ork_host_set_preference(name, 1, &value) == ORK_ok, "a preference is set");
}

}  // namespace fuzz
