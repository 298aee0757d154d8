/**
 * @file
 * Control of the embedded host platform: opening and filling a site, and what tests and tools need
 * to steer the platform's operations and to look at what they did.
 *
 * A site is one SQLite file with a folder of files beside it. Programs that do not open one
 * themselves get the file that the environment variable `ORK_HOST_DB` names, at login. Functions
 * here need no session and are not recorded in the journal of calls. Those that return a status put
 * code and text of a failure on the error stack, like the platform's own operations. Texts that
 * they hand out are freed with `MEM_free`.
 */
#ifndef ORK_HOST_H
#define ORK_HOST_H

#include <stddef.h>

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ----------------------------------------------------------------------------------- sites -- */

/**
 * Opens a site; the one that was open is closed in any case. A session ends with its site.
 * @param[in] path path of the site's file, created when it does not exist; ":memory:" for a site
 *   that keeps nothing.
 * @return #ORK_ok or #ORK_site_not_available.
 */
ORK_API int ork_host_open(const char* path);

/** Ends the session, if there is one, and closes the site. */
ORK_API void ork_host_close(void);

/**
 * Path of the open site.
 * @return the path, kept by the host; null when no site is open.
 */
ORK_API const char* ork_host_path(void);

/**
 * Fills the open site from a JSON text (format: `docs/embedded-host.md`). All of it is taken, or
 * nothing. What exists under the same name is changed, so that seeding twice is seeding once.
 * @param[in] json the text, NUL-terminated.
 * @return #ORK_ok, #ORK_invalid_argument (the text on the error stack says where and what),
 *   #ORK_site_not_available, or the platform's code for an object that is to be changed and that
 *   another process has locked.
 */
ORK_API int ork_host_seed(const char* json);

/**
 * The same from a file.
 * @param[in] path the file's path.
 * @return as `ork_host_seed`; #ORK_invalid_argument also for a file that cannot be read.
 */
ORK_API int ork_host_seed_file(const char* path);

/**
 * Is told what is wrong with a seed.
 * @param[in] pointer JSON pointer to the place; empty for the seed as a whole.
 * @param[in] line, column where the place begins, each from 1, the column in bytes; 0 where there
 * is no such place.
 * @param[in] why what is wrong there.
 * @param[in] context what was given with the function.
 */
typedef void (*ork_host_seed_fault)(const char* pointer, int line, int column, const char* why,
                                    void* context);

/**
 * Tells all that is wrong with a seed. What only follows from a fault that was told is not told as
 * well. Nothing of the seed comes into the site; but between #ork_host_begin_change and
 * #ork_host_end_change, whose changes are then undone in any case, what is right stays for the next
 * seed that is checked. Like a seed that is taken, it has others that write wait.
 * @param[in] json the text, NUL-terminated.
 * @param[in] see told each fault; null for nobody.
 * @param[in] context what it is called with.
 * @return #ORK_ok where nothing is wrong; otherwise as #ork_host_seed.
 */
ORK_API int ork_host_check_seed(const char* json, ork_host_seed_fault see, void* context);

/**
 * The same for a file.
 * @param[in] path the file's path.
 * @param[in] see told each fault; null for nobody.
 * @param[in] context what it is called with.
 * @return as #ork_host_check_seed; #ORK_invalid_argument also for a file that cannot be read.
 */
ORK_API int ork_host_check_seed_file(const char* path, ork_host_seed_fault see, void* context);

/**
 * Is told how far a seed is with a section that may be long.
 * @param[in] section "items", "relations" or "structures".
 * @param[in] done, elements how many of its elements have been taken, and of how many.
 * @param[in] context what was given with the function.
 * @return 1 to go on, 0 to refuse the seed with #ORK_interrupted.
 */
typedef logical (*ork_host_seed_progress)(const char* section, size_t done, size_t elements,
                                          void* context);

/**
 * Sets the function that seeds call from now on.
 * @param[in] progress the function; null for none.
 * @param[in] context what it is called with.
 */
ORK_API void ork_host_set_seed_progress(ork_host_seed_progress progress, void* context);

/**
 * Describes a part of the open site as JSON, in the language of seeds.
 * @param[in] section a section of seeds, such as "users" or "items"; "objects", all workspace
 *   objects by their attributes; "jobs" or "locks". Null for all of them in one object;
 *   `docs/embedded-host.md` says what is in each.
 * @param[out] json the text; null on failure.
 * @return #ORK_ok, #ORK_invalid_argument or #ORK_site_not_available.
 */
ORK_API int ork_host_describe(const char* section, char** json);

/**
 * The sections of descriptions.
 * @return their names in the order of a description of all, with a null behind the last; they
 * belong to the host and stay.
 */
ORK_API const char* const* ork_host_sections(void);

/* --------------------------------------------------------------------- a site as a whole -- */

/**
 * Copies all that is saved in the open site, contents of files included, to another path, as it is
 * at one moment. Others may be changing the site meanwhile; nobody is waited for, and nobody waits.
 * The copy is a site itself. Nobody has locks on it.
 * @param[in] copy path of the copy, where neither a file nor its vault may be.
 * @param[in] share_contents 1 to have contents of files share their blocks or be hard links where
 *   the file system can do that, 0 to have no hard links: who writes into a linked file in a vault,
 *   which the host never does, writes into both.
 * @return #ORK_ok, #FILE_exists, #FILE_damaged where contents are missing, or
 *   #ORK_site_not_available; then there is no copy.
 */
ORK_API int ork_host_snapshot(const char* copy, logical share_contents);

/**
 * Makes a site what a copy is, objects and files, in one step; a process that is killed meanwhile
 * leaves one or the other. A site that is not there is made, one that is damaged is replaced.
 * @param[in] path path of the site, which nobody may have open.
 * @param[in] copy path of the copy, a site like any other. Its contents are checked first.
 * @param[in] share_contents as for #ork_host_snapshot.
 * @return #ORK_ok, #ORK_site_in_use, #ORK_site_not_available, or #ORK_site_damaged or
 *   #FILE_damaged where it is the copy that is not whole; then the site is as it was.
 */
ORK_API int ork_host_restore(const char* path, const char* copy, logical share_contents);

/**
 * Removes a site: its file, those that SQLite keeps beside it, its vault and the folder of its
 * processes.
 * @param[in] path path of the site, which nobody may have open; nothing but a site is removed.
 * @return #ORK_ok, #ORK_site_in_use or #ORK_site_not_available.
 */
ORK_API int ork_host_remove(const char* path);

/**
 * Looks a site over: the file as SQLite sees it, references, all values of all objects, circles in
 * structures, types and tasks, locks of processes that have ended, contents of all files, and files
 * in the vault that nothing refers to. Others may be using the site.
 * @param[in] path path of the site, which this process must not have open.
 * @param[in] repair 1 to put right what can be without losing anything: locks and files of
 *   processes that have ended, contents that nothing refers to, values of deleted objects, and
 *   indexes.
 * @param[out] findings number of findings, without those that were repaired.
 * @param[out] json an object with `site`, `whole`, `objects`, `files` and `findings`, each of these
 *   with `kind`, `text` and `repaired`; null on failure.
 * @return #ORK_ok, whatever was found, #ORK_site_in_use or #ORK_site_not_available.
 */
ORK_API int ork_host_check(const char* path, logical repair, int* findings, char** json);

/**
 * The open site as a seed, which makes an equal site of a new one: with the same definitions,
 * people (passwords as their hashes), preferences, texts, objects of all classes, relations and
 * files. `docs/embedded-host.md` says what equal covers.
 * @param[in] files folder for the contents of files, which is made and must not exist yet; null for
 *   a site without files, others are refused then.
 * @param[in] prefix what stands before the name of a file of the folder in the seed: the way from
 *   the seed's folder to it, with a slash at the end; null for none.
 * @param[in] dates 1 to have the seed say when objects were made and changed and by whom, 0 for one
 *   that is shorter.
 * @param[out] json the seed; null on failure.
 * @return #ORK_ok, #ORK_invalid_argument with unsaved changes, for a text that is not UTF-8, or for
 *   files without a folder, #FILE_exists, or #ORK_site_not_available.
 */
ORK_API int ork_host_export(const char* files, const char* prefix, logical dates, char** json);

/**
 * Takes a piece of a text, which ends between two values.
 * @return 1 to go on, 0 for no more.
 */
typedef logical (*ork_host_writer)(const char* text, size_t size, void* context);

/**
 * The same, piece by piece as it is made: the memory that it takes does not grow with the site.
 * @param[in] section as above.
 * @param[in] write takes the pieces; what was written when the description fails is a part of it.
 * @param[in] context what it is called with.
 * @return as above, or #ORK_interrupted where no more was wanted.
 */
ORK_API int ork_host_write_description(const char* section, ork_host_writer write, void* context);

/**
 * Exports piece by piece in the same way; the files are there once all pieces have been taken.
 * @param[in] files, prefix, dates as for #ork_host_export.
 * @param[in] write takes the pieces; what was written when the export fails is no seed.
 * @param[in] context what it is called with.
 * @return as #ork_host_export, or #ORK_interrupted where no more was wanted; then there is no
 *   folder of files either.
 */
ORK_API int ork_host_write_export(const char* files, const char* prefix, logical dates,
                                  ork_host_writer write, void* context);

/**
 * Sets a preference's values; the session that is open sees them at once.
 * @param[in] name the preference.
 * @param[in] count number of values; 0 removes the preference.
 * @param[in] values the values.
 * @return 0 or an error code.
 */
ORK_API int ork_host_set_preference(const char* name, int count, const char* const* values);

/**
 * Finds an item revision by the ids that users know.
 * @param[in] item_id, revision_id the ids; a null revision id finds the item itself.
 * @param[out] object the object, or #NULLTAG when there is none.
 * @return 0 or an error code.
 */
ORK_API int ork_host_find_item(const char* item_id, const char* revision_id, tag* object);

/**
 * Hands the open site over to another thread: from now on it is that of the thread that calls next.
 * @return #ORK_ok or #ORK_wrong_thread.
 */
ORK_API int ork_host_hand_over(void);

/**
 * Takes an object's lock away from whoever holds it, in whatever process; that one can no longer
 * save the object. The locks of processes that have ended are free without this.
 * @param[in] object the object.
 * @return #ORK_ok, also when nobody holds a lock, or the code for a tag that stands for nothing.
 */
ORK_API int ork_host_release_lock(tag object);

/**
 * Checks a workspace object out for the session's user, and saves it.
 * @param[in] object the object.
 * @return #ORK_ok; #RSV_not_modifiable for what somebody else has checked out, what is released or
 * a replica; #ACCESS_denied; #STORE_locked_by_other.
 */
ORK_API int ork_host_check_out(tag object);

/**
 * Checks a workspace object in again, and saves it.
 * @param[in] object the object.
 * @return as #ork_host_check_out, but that administrators check in what somebody else has checked
 *   out; #ORK_invalid_argument for what is not checked out.
 */
ORK_API int ork_host_check_in(tag object);

/* ------------------------------------------------------------------- many calls as one -- */

/**
 * From now on until #ork_host_end_view, all that is read is the site as it is now, whatever others
 * save. Nothing can be changed.
 * @return #ORK_ok, or #ORK_invalid_argument where changes or a view are held already.
 */
ORK_API int ork_host_begin_view(void);

/**
 * Ends that; without a view it does nothing.
 * @return 0 or an error code.
 */
ORK_API int ork_host_end_view(void);

/**
 * Drops from memory the values that were read and are neither changed nor locked; they are read
 * again when they are next asked for. For programs that go through a whole site.
 * @return 0 or an error code.
 */
ORK_API int ork_host_forget_read(void);

/**
 * From now on until #ork_host_end_change, what is saved comes into the site as a whole or not at
 * all. From the first save on, other processes wait with theirs, so this is for changes that take
 * no time. Jobs that would go on meanwhile go on at the end.
 * @return #ORK_ok, or #ORK_invalid_argument with unsaved changes, or where changes or a view are
 *   held already.
 */
ORK_API int ork_host_begin_change(void);

/**
 * Ends that.
 * @param[in] keep 1 to keep the changes, 0 to undo them. The session's or the site's end undoes
 *   them, too.
 * @return #ORK_ok; or why the changes could not be kept, and then they are undone; or why a job
 *   that went on was stopped.
 */
ORK_API int ork_host_end_change(logical keep);

/* ----------------------------------------------------------------------- workflow handlers -- */

/**
 * Loads a shared library of workflow handlers. It exports a function
 * `int ORK_register_handlers(void)`, which calls `FLOW_register_handler` for each of them and
 * returns #ORK_ok. The library stays until the process ends.
 * @param[in] path path of the library.
 * @return #ORK_ok or #FLOW_cannot_load_handlers.
 */
ORK_API int ork_host_load_handlers(const char* path);

/**
 * Lists the handlers that a library has registered when it was loaded, in the order of their names.
 * @param[in] path path of the library, as it was loaded.
 * @param[out] count number of handlers.
 * @param[out] names their names; the array and each name are freed with `MEM_free` at once.
 * @return #ORK_ok.
 */
ORK_API int ork_host_list_library_handlers(const char* path, int* count, char*** names);

/** A call of a workflow handler, as those who watch see it; the texts live as long as they look. */
typedef struct ork_host_handler_call {
  const char* handler; /**< its name */
  tag task;            /**< the task that it is called on; it may be gone when the call has ended */
  tag job;             /**< the task's job, for which the same holds */
  const char* task_name; /**< name of the task */
  const char* job_name;  /**< name of the job */
  int action;            /**< #FLOW_start_action and so on */
  int status;            /**< of a call that has ended: what came back */
  const char* left; /**< of a call that has ended: what it has left behind, as JSON, or null for
                       nothing: `blocks`, each with `count`, `bytes`, `operation` and `function`,
                       and `locks`, each with `object`, `operation` and `function` */
} ork_host_handler_call;

/**
 * Watches handlers: is told of a call when it begins and when it has ended. Calls may be inside one
 * another. One that crashes, or ends the process, does not end.
 * @param[in] call the call.
 * @param[in] has_ended 0 when it begins, 1 when it has ended.
 * @param[in] context what was given with the function.
 */
typedef void (*ork_host_handler_observer)(const ork_host_handler_call* call, logical has_ended,
                                          void* context);

/**
 * Sets the function that is told of handlers from now on. From its first use on the host keeps
 * where blocks and locks come from, as with `ORK_HOST_BLOCKS=report`.
 * @param[in] observer the function; null for none.
 * @param[in] context what it is called with.
 */
ORK_API void ork_host_watch_handlers(ork_host_handler_observer observer, void* context);

/**
 * Has a job remember that it was stopped, in the name of a process that has ended in one of its
 * handlers. A handler that returns a failure needs no such help. No session is needed.
 * @param[in] task the task that the handler was called on.
 * @param[in] handler the handler's name.
 * @param[in] action #FLOW_start_action or #FLOW_complete_action.
 * @param[in] status the code that is remembered, such as #FLOW_handler_died.
 * @param[in] detail what is remembered behind the code's general text.
 * @return #ORK_ok, #FLOW_not_a_task, #FLOW_task_is_over where the task has gone on since, or
 *   #STORE_locked_by_other where another process runs the job.
 */
ORK_API int ork_host_stop_job(tag task, const char* handler, int action, int status,
                              const char* detail);

/* ------------------------------------------------------------------- the program's arguments -- */

/**
 * Sets the command line that `ORK_get_cli_argument` reads, in place of the program's own.
 * @param[in] count number of arguments, the program's name included; 0 goes back to the real ones.
 * @param[in] arguments the arguments; they are copied.
 */
ORK_API void ork_host_set_arguments(int count, const char* const* arguments);

/* ---------------------------------------------------------------------- faults and delays -- */

/**
 * Makes a later call of an operation fail without doing anything.
 * @param[in] operation name of the platform operation, for example "PREF_initialize"; "*" counts
 *   the calls of all operations that the journal records.
 * @param[in] nth which call from now on, counted from 1.
 * @param[in] status the status that it returns; it also goes onto the error stack.
 */
ORK_API void ork_host_fail_call(const char* operation, int nth, int status);

/**
 * Makes every later call of an operation take a time.
 * @param[in] operation name of the platform operation.
 * @param[in] milliseconds the time; 0 takes the delay away.
 */
ORK_API void ork_host_delay_call(const char* operation, int milliseconds);

/**
 * Makes a later allocation yield nothing.
 * @param[in] nth which allocation from now on, counted from 1.
 */
ORK_API void ork_host_fail_allocation(int nth);

/**
 * Sets faults that a user writes down, as in the environment variable `ORK_HOST_FAULTS`.
 * @param[in] orders "OPERATION[:N]=STATUS", several with commas between them.
 * @return #ORK_ok, or #ORK_invalid_argument; then none of them is set.
 */
ORK_API int ork_host_order_faults(const char* orders);

/**
 * Sets delays that a user writes down, as in the environment variable `ORK_HOST_DELAYS`.
 * @param[in] orders "OPERATION=MILLISECONDS", several with commas between them.
 * @return #ORK_ok, or #ORK_invalid_argument; then none of them is set.
 */
ORK_API int ork_host_order_delays(const char* orders);

/**
 * Appends each call of an operation to a file when it has ended, as `ORK_HOST_JOURNAL` does.
 * @param[in] path path of the file.
 * @return #ORK_ok, or #ORK_invalid_argument when the file cannot be written.
 */
ORK_API int ork_host_write_journal(const char* path);

/** Takes back all faults and delays that are set. */
ORK_API void ork_host_clear_faults(void);

/* ----------------------------------------------------------------------- journal and memory -- */

/** Starts recording the calls of platform operations and forgets those recorded before. */
ORK_API void ork_host_start_journal(void);

/** Stops recording; what was recorded can still be read. */
ORK_API void ork_host_stop_journal(void);

/**
 * Number of calls in the journal. Operations of the `MEM_` and `ERR_` modules are not recorded.
 * @return the number.
 */
ORK_API int ork_host_journal_size(void);

/**
 * One call of the journal.
 * @param[in] index index of the call, from 0, in the order in which the calls began.
 * @param[out] operation its operation's name, kept by the host until the journal starts anew.
 * @param[out] status what it returned.
 * @return 1, or 0 when there is no such call.
 */
ORK_API int ork_host_journal_entry(int index, const char** operation, int* status);

/**
 * Watches the calls that a journal counts.
 * @param[in] operation the operation's name, which the host keeps.
 * @param[in] function the innermost traced function that it is called in, or null.
 * @param[in] has_ended 0 when the call begins, 1 when it has ended.
 * @param[in] status of a call that has ended: what it returned.
 * @param[in] context what was given with the function.
 */
typedef void (*ork_host_call_observer)(const char* operation, const char* function,
                                       logical has_ended, int status, void* context);

/**
 * Sets the function that is told of calls from now on; it must not call the host.
 * @param[in] observer the function; null for none.
 * @param[in] context what it is called with.
 */
ORK_API void ork_host_watch_calls(ork_host_call_observer observer, void* context);

/**
 * Number of blocks that were allocated with `MEM_alloc` and its relatives and not freed.
 * @return the number.
 */
ORK_API size_t ork_host_block_count(void);

/**
 * Sum of the sizes of these blocks.
 * @return the sum in bytes.
 */
ORK_API size_t ork_host_block_bytes(void);

#ifdef __cplusplus
}
#endif

#endif
