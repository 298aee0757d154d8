/**
 * @file
 * The platform's text service: texts by key, in the language of the session.
 *
 * The environment variable `ORK_LANGUAGE` names the language: "en" (the default) or "de". It is
 * read when the first text is needed and at each login. Texts of error codes have the keys
 * "error.<code>".
 */
#ifndef ORK_TEXT_H
#define ORK_TEXT_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the text service. */
enum { TEXT_unknown_key = 38001 /**< there is no text with this key */ };

/** Key of the format in which the site writes dates, in the language of `date.h`. */
#define TEXT_default_date_format "DefaultDateFormat"

/**
 * Looks a text up: the site's own text, or else the platform's; where the language has none, the
 * English one. Callable before login, and then without texts of a site that a login has to open.
 * @param[in] key the key.
 * @param[out] text the text in UTF-8, freed by the caller with `MEM_free`; null on failure.
 * @return #ORK_ok or #TEXT_unknown_key.
 */
ORK_API int TEXT_lookup(const char* key, char** text);

#ifdef __cplusplus
}
#endif

#endif
