/**
 * @file
 * Files: text files that a program writes line by line, and files that the platform keeps in its
 * vault, as objects of the class "VeloFile".
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
  FILE_not_open = 27003,     /**< the handle is null, unknown or closed */
  FILE_cannot_read = 27004,  /**< the file cannot be read */
  FILE_exists = 27005,       /**< the file exists, and exports overwrite nothing */
  FILE_not_a_file = 27006,   /**< the object is not a file */
  FILE_damaged = 27007,      /**< what the vault has is missing, or is not what was imported */
  FILE_cancelled = 27008     /**< the progress function wanted no more */
};

/** How a file is imported. */
enum {
  SS_TEXT = 4096,  /**< as text; its bytes stay as they are */
  SS_BINARY = 8192 /**< as binary data */
};

/** Longest original name of a file, in bytes; a buffer needs one byte more. */
#define FILE_original_name_size 255

/** Length of a digest as text (SHA-256 in hexadecimal digits); a buffer needs one byte more. */
#define FILE_digest_size 64

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

/**
 * Copies a file into the vault. The new object becomes permanent with `OBJ_save`; its contents go
 * when it is not saved.
 * @param[in] path the file's path in the file system. What is no regular file is refused.
 * @param[in] original_name name under which the platform is to know it; null takes the path. What
 *   stands behind the last "/" or "\\" counts.
 * @param[in] type #SS_TEXT, #SS_BINARY, or 0 where it is not known.
 * @param[out] file the new object; #NULLTAG on failure.
 * @param[out] descriptor always null on this platform, which keeps no imported file open; may be
 *   null.
 * @return #ORK_ok, #FILE_cannot_read, #FILE_cannot_write when the vault takes nothing,
 *   #FILE_cancelled, #STORE_value_too_long, or #ORK_invalid_argument for another type.
 */
ORK_API int FILE_import_file(const char* path, const char* original_name, int type, tag* file,
                             FILE_handle* descriptor);

/**
 * Copies a file from the vault into the file system. The file appears whole or not at all, and only
 * when its contents are what was imported.
 * @param[in] file the file.
 * @param[in] path where to; nothing may be there.
 * @return #ORK_ok, #FILE_not_a_file, #FILE_exists, #FILE_cannot_open, #FILE_cannot_write,
 *   #FILE_damaged, #FILE_cancelled or #ACCESS_denied without the privilege "READ".
 */
ORK_API int FILE_export_file(tag file, const char* path);

/**
 * Name that a file had where it came from.
 * @param[in] file the file.
 * @param[out] name caller's buffer of #FILE_original_name_size + 1 bytes.
 * @return #ORK_ok or #FILE_not_a_file.
 */
ORK_API int FILE_get_original_file_name(tag file, char* name);

/**
 * Sets that name.
 * @param[in] file a file that this process has locked or made.
 * @param[in] name the name, at most #FILE_original_name_size bytes behind its last "/" or "\\",
 *   which count.
 * @return #ORK_ok, #FILE_not_a_file, #STORE_not_locked or #STORE_value_too_long.
 */
ORK_API int FILE_set_original_file_name(tag file, const char* name);

/**
 * Size, type and digest of a file's contents, as they were imported.
 * @param[in] file the file.
 * @param[out] size number of bytes.
 * @param[out] type #SS_TEXT, #SS_BINARY or 0.
 * @param[out] digest caller's buffer of #FILE_digest_size + 1 bytes.
 * @return #ORK_ok or #FILE_not_a_file.
 */
ORK_API int FILE_describe(tag file, int64_t* size, int* type, char* digest);

/**
 * A function that imports and exports call now and then, first with 0. It must not call the
 * platform.
 * @param[in] done bytes copied so far.
 * @param[in] total all of them.
 * @param[in] context what it was set with.
 * @return 1 to go on, 0 to end the copy with #FILE_cancelled.
 */
typedef logical (*FILE_progress)(int64_t done, int64_t total, void* context);

/**
 * Sets the function that imports and exports call.
 * @param[in] progress the function; null for none.
 * @param[in] context what it is called with.
 * @return always #ORK_ok.
 */
ORK_API int FILE_set_progress(FILE_progress progress, void* context);

#ifdef __cplusplus
}
#endif

#endif
