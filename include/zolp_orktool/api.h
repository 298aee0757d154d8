/**
 * @file
 * How functions of the library are exported and imported. Every header of a family includes it.
 */
#ifndef ZOLP_ORKTOOL_API_H
#define ZOLP_ORKTOOL_API_H

#if defined(_WIN32)
#if defined(ZOLP_BUILDING_ORKTOOL)
#define ZOLP_API __declspec(dllexport)
#else
#define ZOLP_API __declspec(dllimport)
#endif
#else
#define ZOLP_API __attribute__((visibility("default")))
#endif

#endif
