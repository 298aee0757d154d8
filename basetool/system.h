/** @file What the trace library needs of the operating system. */
#pragma once

#if !defined(_WIN32)
#include <pthread.h>
#endif

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace basetool {

/** The system's name for an open file or stream; -1 is none. */
#if defined(_WIN32)
using Descriptor = std::intptr_t;
#else
using Descriptor = int;
#endif

/** Value of an environment variable, or null; null as well in a process of raised privileges. */
const char* environment(const char* variable);

unsigned long process_id();

/** How many characters of a folder's path stand before a file's name that starts from there. */
size_t missing_part(const char* name, const char* folder);

/** Copies the path of the current folder, with a separator at its end. @return false on failure. */
bool current_folder(char* path, size_t size);

/** Nanoseconds since 1970 in universal time. */
uint64_t wall_nanoseconds();

/** The local time of a second since 1970. */
bool read_local_time(int64_t seconds, std::tm& parts);

/**
 * Has a function called when the program ends: as soon as `main` has returned where the system
 * tells, and at the latest when the functions of `atexit` are called.
 */
void call_at_end_of_main(void (*function)());

/** Has functions called around a fork: before it, and after it in the parent and in the child. */
void call_around_forks(void (*before)(), void (*in_parent)(), void (*in_child)());

/** The system's number of the calling thread. */
uint64_t thread_id();

/**
 * Memory of the calling thread's own, zeros at first.
 * @param[in] at_end called with it when the thread ends; the memory goes after that.
 */
void* thread_memory(size_t size, void (*at_end)(void*));

/** Whether the calling thread has asked for it. */
bool has_thread_memory();

/**
 * Whether the process began with the calling thread. Not told, that is false, where ends of threads
 * come after the functions of `atexit`.
 */
bool is_initial_thread();

/** The path of the program that the process runs, cut to a size. */
void read_program_name(char* name, size_t size);

/** Nanoseconds of a clock that is never set, since some moment. */
uint64_t elapsed_nanoseconds();

/** A mutex that needs no construction when the program runs, and no destruction. */
class Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock();
  void unlock();

  /** Asks, when the program ends, whether a thread that the system has ended still holds it. */
  bool is_abandoned();

  /** Makes it new, whoever holds it: in the child of a fork nobody does. */
  void reset();

 private:
#if defined(_WIN32)
  void* lock_ = nullptr;
#else
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
#endif
};

/** Lets other threads run. */
void yield_processor();

/** Asks the system for the right to issue barriers for all threads. @return false if it has none.
 */
bool share_barriers();

/** Has what each thread of the process has stored so far seen by all. */
void issue_barriers();

/** Keeps the calling program's last error codes over what is done here. */
class ErrorKeeper {
 public:
  ErrorKeeper();
  ~ErrorKeeper();
  ErrorKeeper(const ErrorKeeper&) = delete;
  ErrorKeeper& operator=(const ErrorKeeper&) = delete;

 private:
  int kept_errno_;
#if defined(_WIN32)
  unsigned long kept_last_error_;
#endif
};

/** The system's code of the last failure of a function of this file. */
int system_error();

/** Readable reason for such a code. */
const char* text_of_error(int code);

/** Deletes a file. @return false when it is still there, or was not. */
bool remove_file(const char* path);

/** Renames a file, in place of one that has the new name. @return false on failure. */
bool rename_file(const char* path, const char* new_path);

// ------------------------------------------------------------------------------ open files

/** Identity and size of a file. */
struct FileState {
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;

  bool is_same_file(const FileState& other) const {
    return device == other.device && inode == other.inode;
  }
};

struct OpenFile {
  Descriptor descriptor = -1;
  bool is_owned = false;   /**< to be closed by who opened it */
  bool is_regular = false; /**< a file of its own, not a stream or one that the program has open */
  FileState state{};       /**< of a regular file, as of its opening */
};

enum class Opening { done, taken, failed };

/** What may be opened: anything, a file that did not exist, not even as a link, or a file that did.
 */
enum class Wanted { anything, new_file, old_file };

/**
 * Opens a file or stream for appending. A regular file is created when it does not exist, and
 * belongs to this process alone until it is closed. A file that the program's standard output or
 * error goes to is shared with them.
 * @return `taken` when another process writes to the file, or when a new file's name is in use.
 */
Opening open_for_appending(const char* path, Wanted wanted, OpenFile& opened);

Descriptor standard_error();

void close_file(Descriptor file);

bool read_state(Descriptor file, FileState& state);

/** Asks whether a path leads to a file. */
bool leads_to(const char* path, const FileState& file);

/** Reads exactly so many bytes. */
bool read_at(Descriptor file, uint64_t offset, char* bytes, size_t size);

/** Writes all of a text at the end of a file or stream. @return bytes written; fewer on failure. */
size_t append(const OpenFile& file, const char* text, size_t size);

/**
 * Appends line feeds to a file until it has a size, and as many more as make that cheap.
 * @return the size that it got to; less than needed on failure.
 */
uint64_t append_line_feeds(Descriptor file, uint64_t size, uint64_t needed);

/** Shortens a file; where the system needs that, the window is taken away first. */
bool cut_off(Descriptor file, uint64_t size);

// -------------------------------------------------------------------------------- the window

/** Lays the window over a file of some size, from a byte at the latest to the end at least. */
bool lay_window(Descriptor file, uint64_t from, uint64_t file_size);

/** Where a byte stands in the window; null when the window does not reach from it to the end. */
char* in_window(uint64_t from, uint64_t end);

void take_window_away();

/** Set by the signal handler that replaces a window whose file is gone. */
extern volatile std::sig_atomic_t window_lost;

// -------------------------------------------------------------------------------- the recording

/** Gives a new file its size, with zeros and with room on the disk for all of it. */
bool allocate(Descriptor file, uint64_t size);

/** Maps all of a file of some size; null on failure. There is one such mapping in a process. */
char* map_recording(Descriptor file, uint64_t size);

/**
 * Has the system provide a part of the mapping at once, where it can, which holds zeros and keeps
 * them.
 */
void provide_pages(const OpenFile& file, uint64_t file_size, uint64_t offset, size_t size);

void unmap_recording();

/** Forgets a mapping that is lost, leaving the memory in its place to whoever still writes to it.
 */
void abandon_recording();

/** Set by the signal handler that replaces a recording whose file is gone. */
extern volatile std::sig_atomic_t recording_lost;

}  // namespace basetool
