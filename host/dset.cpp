// DSET_: datasets.

#include "ork/dset.h"

#include "operation.h"

int DSET_init_module(void) {
  return host::operation("DSET_init_module", host::Needs::session, [] {});
}
