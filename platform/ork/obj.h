/**
 * @file
 * Application objects.
 */
#ifndef ORK_OBJ_H
#define ORK_OBJ_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Starts the application object module. Needs a session. */
ORK_API int OBJ_init_module(void);

#ifdef __cplusplus
}
#endif

#endif
