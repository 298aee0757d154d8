// ACCESS_: who may do what with an object.

#include "ork/access.h"

#include <algorithm>

#include "access.h"
#include "operation.h"

namespace host {

namespace {

void require_known(const char* privilege) {
  require_all(privilege);
  if (!is_privilege(privilege)) {
    refuse(ACCESS_unknown_privilege, privilege);
  }
}

void require_accessor(tag accessor) {
  for (const char* kind : {"User", "Group", "Role"}) {
    if (store().is_a(accessor, kind)) {
      return;
    }
  }
  refuse(ORK_invalid_argument, "object " + std::to_string(accessor) + " is no user, group or role");
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int ACCESS_check_privilege(tag object, const char* privilege, logical* granted) {
  host::clear(granted);
  return operation("ACCESS_check_privilege", Needs::session, [&] {
    host::require_all(granted);
    host::require_known(privilege);
    *granted = host::is_granted(object, privilege, host::accessors_of_session());
  });
}

int ACCESS_check_accessors_privilege(int count, const tag* accessors, tag object,
                                     const char* privilege, logical* granted) {
  host::clear(granted);
  return operation("ACCESS_check_accessors_privilege", Needs::session, [&] {
    host::require_all(granted);
    host::require(count > 0 && accessors != nullptr, "there are no accessors");
    host::require_known(privilege);
    const host::Accessors asked(accessors, static_cast<std::size_t>(count));
    std::for_each(asked.begin(), asked.end(), host::require_accessor);
    *granted = host::is_granted(object, privilege, asked);
  });
}
