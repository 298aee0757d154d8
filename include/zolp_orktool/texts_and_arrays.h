/**
 * @file
 * Texts in memory of the platform's, file names and paths, and arrays of tags without duplicates.
 *
 * @code
 * int collect(const tag* found, int found_count, int* count, tag** all) {
 *   int status = ORK_ok;
 *   int i;
 *   for (i = 0; i < found_count && status == ORK_ok; ++i) {
 *     status = ZOLP_addElement(found[i], count, all); // once, however often it is found
 *   }
 *   return status; // MEM_free(*all) when it is not needed any more
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_TEXTS_AND_ARRAYS_H
#define ZOLP_ORKTOOL_TEXTS_AND_ARRAYS_H

#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------- texts -- */

/**
 * Copies a text. Needs no session.
 * @param[in] text the text; null yields null.
 * @return the copy, freed by the caller with `MEM_free`; null when memory is exhausted.
 */
ZOLP_API char* ZOLP_CopyString(const char* text);

/**
 * Appends to a text. Needs no session.
 * @param[in,out] text address of a text from `MEM_alloc`; it may move. Where it is null, it becomes
 *   a copy of the addition. After exhausted memory it is null and the old text is lost.
 * @param[in] addition what to append; null leaves the text alone.
 * @return the new text, which stays the caller's; null when memory is exhausted.
 */
ZOLP_API char* ZOLP_string_append(char** text, const char* addition);

/**
 * Makes a text fit for a file name. Each of the characters / ; , * : ? = \ ' # > < [ ] { } | ~ @ &
 * $ and ", the blank, the grave accent and the acute accent (byte 0xB4) becomes "_". Needs no
 * session.
 * @param[in,out] text the text.
 * @return always 0.
 */
ZOLP_API int ZOLP_RepSpecialChar(char* text);

/**
 * Makes a text lower case, byte by byte, in place. Needs no session.
 * @param[in,out] text the text.
 * @return always 0.
 */
ZOLP_API int string_to_lower(char* text);

/**
 * Splits a text into fields, up to its first line feed. Separators between double quotes do not
 * count; the quotes stay in the field. Leading blanks of a field are dropped. Needs no session.
 * @param[in] text the text; null and "" have no fields.
 * @param[in] separators the separating characters; null stands for "~".
 * @param[out] count number of fields.
 * @param[out] items the fields, each and then the array freed by the caller with `MEM_free`; null
 *   for none.
 * @return 0; -1 or 1 when memory is exhausted, and then there are no fields.
 */
ZOLP_API int ZOLP_splitItemString(const char* text, const char* separators, int* count,
                                  char*** items);

/**
 * Splits a text at its first separator. Needs no session.
 * @param[in] text the text.
 * @param[in] separator the separating character.
 * @param[out] head, tail caller's buffers for what stands before and behind it; each needs the
 *   length of the text and one byte more.
 * @return always 0.
 */
ZOLP_API int ZOLP_splitToFirstSeparator(const char* text, char separator, char* head, char* tail);

/** Size of the buffer for an expanded path, in bytes. */
#define ZOLP_LONG_PATH_SIZE 1024

/**
 * Expands the environment variable with which a path begins, as in "%TEMP%\\sub". Needs no session.
 * @param[in] path the path: a variable of at most 40 characters with its signs, a backslash, and at
 *   most 256 characters more.
 * @param[out] long_path caller's buffer of #ZOLP_LONG_PATH_SIZE bytes. Untouched when the path
 * begins with neither "%" nor "$", and on failure.
 * @return 0; 1 when the variable is not defined, or the path is too long before or after expansion.
 */
ZOLP_API int ZOLP_ExtendPathVar(const char* path, char* long_path);

/* ---------------------------------------------------------------------------- arrays of tags -- */

/*
 * An array of tags is a pair of a count and a block from the platform's allocator, which the caller
 * frees with `MEM_free`. A null array is empty. These functions keep the array in its order,
 * without duplicates and without the null tag, and need no session unless a comment says so.
 */

/**
 * Asks whether a tag stands in an array.
 * @param[in] element the tag.
 * @param[in] array, count the array.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_searchElementInArray(tag element, const tag* array, int count, logical* found);

/**
 * Asks whether a tag stands in an array, through pointers to array and count.
 * @param[in] element the tag.
 * @param[in] array, count the array.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_searchElement(tag element, tag** array, int* count, logical* found);

/**
 * Appends a tag to an array, unless it is there.
 * @param[in] element the tag.
 * @param[in,out] count, array the array; it may move.
 * @return 0, also when the tag was there; 1 for the null tag or when memory is exhausted, and then
 *   the array is as it was.
 */
ZOLP_API int ZOLP_addElement(tag element, int* count, tag** array);

/**
 * Removes a tag from an array.
 * @param[in] element the tag.
 * @param[in,out] count, array the array; it may move. When nothing is left it is freed and null.
 * @return 0; 1, with a line on standard output, when nothing is left or the array cannot be
 * resized.
 */
ZOLP_API int ZOLP_removeElement(tag element, int* count, tag** array);

/**
 * Removes the tags of objects that do not exist any more, and those that the platform cannot be
 * asked about. Needs a session.
 * @param[in,out] count, array the array; it may move. When nothing is left it is freed and null.
 * @return always 0.
 */
ZOLP_API int ZOLP_removeInvalidTags(int* count, tag** array);

/**
 * Appends to an array the objects that do not stand in a second one.
 * @param[in] count, objects the objects.
 * @param[in] exclude_count, exclude the objects to leave out.
 * @param[in,out] out_count, out_array the array to append to; it is not emptied before.
 * @return 0; 1 when a null tag among the objects, or exhausted memory, ended the work.
 */
ZOLP_API int ZOLP_excludeObjects(int count, const tag* objects, int exclude_count,
                                 const tag* exclude, int* out_count, tag** out_array);

/**
 * Asks whether a text is the first one of an array; the others are not looked at.
 * @param[in] text the text, compared with its case.
 * @param[in] count, strings the array of texts.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_ifStringInArray(const char* text, int count, char** strings, logical* found);

/**
 * Leaves one of each tag in an array: first those that stood in it once, in their order, then one
 * of each repeated tag in the order in which they first stood.
 * @param[in,out] array the array, changed in place and not resized.
 * @param[in,out] count number of its tags, before and after.
 * @return always 0; when memory is exhausted the array is as it was.
 */
ZOLP_API int ZOLP_eliminateRedundances(tag* array, int* count);

#ifdef __cplusplus
}

/* ----------------------------------------------------------------------------- small classes -- */

/** A parameter line: a fixed record of character data, copied as a whole. */
class ZOLP_API CZOLP_ParamLine {
 public:
  /**
   * Copies a line.
   * @param[in] other the line to copy.
   * @return this line.
   */
  CZOLP_ParamLine& operator=(const CZOLP_ParamLine& other);

  char text[1026]; /**< the line, NUL-terminated by whoever fills it */
};

/** A string class without data, kept for customisations that name it. */
class ZOLP_API CZOLP_String {
 public:
  /**
   * Does nothing: there is nothing to copy.
   * @param[in] other another one.
   * @return this one.
   */
  CZOLP_String& operator=(const CZOLP_String& other);
};

#endif

#endif
