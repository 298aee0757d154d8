// OBJ_: application objects.

#include "ork/obj.h"

#include "operation.h"

int OBJ_init_module(void) {
  return host::operation("OBJ_init_module", host::Needs::session, [] {});
}
