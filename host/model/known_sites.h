/** @file Sites: the local one, and those that own replicas here. */
#pragma once

#include "store.h"

namespace host {

/** Number of the local site; 0 when it has none. */
int local_site_number(Store& store);

/** The object that stands for a site, or NULLTAG. */
tag find_site(Store& store, int number);

/** The site that owns an object: the one that it names, or else the local one. */
tag owning_site(Store& store, tag object);

}  // namespace host
