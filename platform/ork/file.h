/**
 * @file
 * Files: text files that a program writes line by line.
 */
#ifndef ORK_FILE_H
#define ORK_FILE_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the file operations. */
enum {
  FILE_cannot_open = 27001,  /**< the file cannot be opened */
  FILE_cannot_write = 27002, /**< the line cannot be written */
  FILE_not_open = 27003      /**< the handle is null, unknown or closed */
};

/** An open text file of the platform. A value of its own: copying it does not open it again. */
typedef struct ork_text_file_s* FILE_handle;
#if defined(_WIN32)
/** Its usual name; on other systems <fcntl.h> has a structure of this name. */
typedef FILE_handle file_handle;
#endif

/**
 * Creates a text file, or empties it, and opens it for writing.
 * @param[in] path its path in the file system.
 * @param[out] file the open file, closed by the caller with `FILE_close_text_file`; null on
 *   failure.
 * @return #ORK_ok or #FILE_cannot_open.
 */
ORK_API int FILE_create_text_file(const char* path, FILE_handle* file);

/**
 * Writes a text to a text file as it stands; a line brings its own line feed.
 * @param[in] file the open file.
 * @param[in] line the text.
 * @return #ORK_ok, #FILE_not_open or #FILE_cannot_write.
 */
ORK_API int FILE_write_file_line(FILE_handle file, const char* line);

/**
 * Closes a text file. The handle is unknown afterwards.
 * @param[in] file the open file.
 * @return #ORK_ok, #FILE_not_open or #FILE_cannot_write (when the last lines could not be
 *   written).
 */
ORK_API int FILE_close_text_file(FILE_handle file);

#ifdef __cplusplus
}
#endif

#endif
