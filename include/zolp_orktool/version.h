/**
 * @file
 * The library's version, for programs that are built against several.
 *
 * @code
 * #if ZOLP_VERSION < 100100
 * #error "needs the library from version 10.1.0 on"
 * #endif
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_VERSION_H
#define ZOLP_ORKTOOL_VERSION_H

/* The one place where the version stands: the build takes it from these three definitions. */
/** First part of the version. */
#define ZOLP_VERSION_MAJOR 10
/** Second part. */
#define ZOLP_VERSION_MINOR 1
/** Third part. */
#define ZOLP_VERSION_PATCH 1

/** The version as one number: 100101 is 10.1.1. */
#define ZOLP_VERSION (ZOLP_VERSION_MAJOR * 10000 + ZOLP_VERSION_MINOR * 100 + ZOLP_VERSION_PATCH)

/** @cond */
#define ZOLP_VERSION_TEXT_OF(number) #number
#define ZOLP_VERSION_JOINED(major, minor, patch) \
  ZOLP_VERSION_TEXT_OF(major) "." ZOLP_VERSION_TEXT_OF(minor) "." ZOLP_VERSION_TEXT_OF(patch)
/** @endcond */

/** The version as text: "10.1.1". */
#define ZOLP_VERSION_TEXT \
  ZOLP_VERSION_JOINED(ZOLP_VERSION_MAJOR, ZOLP_VERSION_MINOR, ZOLP_VERSION_PATCH)

#endif
