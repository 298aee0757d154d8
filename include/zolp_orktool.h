/**
 * @file
 * `libzolp_orktool`: ready-made, traced operations on the host platform. This header includes those
 * of all families of functions; a program can include the ones that it needs instead.
 *
 * | header in `zolp_orktool/` | family |
 * |---|---|
 * | `session.h` | opening and closing a session, error texts, the version banner |
 * | `preferences.h` | the site's preferences |
 * | `texts_and_arrays.h` | texts, file names and paths; arrays of tags |
 * | `objects.h` | owners, access, locks, relations and attributes of objects |
 * | `types.h` | release statuses, types and classes; items by their ids |
 * | `datasets.h` | datasets and their files |
 * | `forms.h` | forms and their fields |
 * | `workflow.h` | jobs, tasks, reviewers; targets of workflow handlers |
 * | `filters.h` | filters on objects; C++ only |
 * | `dates.h` | dates as texts; C++ only |
 * | `structure.h` | product structures; view types and occurrences for C++ only |
 * | `release_lists.h` | release lists and item lists |
 * | `clone_runs.h` | the files of a CAD clone run |
 * | `statuses.h`, `version.h` | names for the library's own statuses; its version |
 *
 * The functions for C++ only are overloaded or take C++ types; a program in C does not see them.
 * The headers are written in C99 and C++11.
 *
 * Most functions return a status: 0 (`ORK_ok`) for success, otherwise an error code of the platform
 * or one of the library's own. Results come back through out-parameters, which are set to 0, null
 * or empty before a function works, unless its comment says otherwise. What a function hands out is
 * freed by the caller with `MEM_free`, unless its comment says otherwise.
 *
 * Each function writes a trace of itself and of the platform operations that it calls (see
 * `zolp_basetool.h`). To be used from one thread, with a session open
 * (`ZOLP_startup_ork_environment` or the host process's own login), unless a comment says that a
 * function needs none.
 */
#ifndef ZOLP_ORKTOOL_H
#define ZOLP_ORKTOOL_H

#include "ork/date.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "zolp_orktool/api.h"
#include "zolp_orktool/clone_runs.h"
#include "zolp_orktool/datasets.h"
#include "zolp_orktool/dates.h"
#include "zolp_orktool/filters.h"
#include "zolp_orktool/forms.h"
#include "zolp_orktool/objects.h"
#include "zolp_orktool/preferences.h"
#include "zolp_orktool/release_lists.h"
#include "zolp_orktool/session.h"
#include "zolp_orktool/statuses.h"
#include "zolp_orktool/structure.h"
#include "zolp_orktool/texts_and_arrays.h"
#include "zolp_orktool/types.h"
#include "zolp_orktool/version.h"
#include "zolp_orktool/workflow.h"

#endif
