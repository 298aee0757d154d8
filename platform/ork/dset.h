/**
 * @file
 * Datasets.
 */
#ifndef ORK_DSET_H
#define ORK_DSET_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Starts the dataset module. Needs a session. */
ORK_API int DSET_init_module(void);

#ifdef __cplusplus
}
#endif

#endif
