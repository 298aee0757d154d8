/** @file What the program asks of the operating system; nothing else in it depends on one. */
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tool::os {

/**
 * To be called first: has texts shown as they are, in UTF-8, and makes a file that gets too large a
 * write that fails, to be reported like a full disk.
 */
void prepare_process();

/** Asks whether standard error is shown to somebody. */
bool is_error_on_terminal();

/** Asks whether standard input is what somebody types. */
bool is_input_on_terminal();

/** Has a standard stream pass bytes as they are, where the system would change ends of lines. */
void pass_bytes_unchanged(std::FILE* stream);

/** The same for standard output. */
bool is_output_on_terminal();

/** A program that standard output goes through. */
struct OutputProgram {
  std::FILE* pipe = nullptr;
  int earlier_output = -1;
};

/**
 * Sends standard output to a program that shows it page by page.
 * @param command for the system's shell; empty for the usual one of the system.
 */
OutputProgram start_pager(const std::string& command);

/** Waits until the user has left it. */
void end_pager(const OutputProgram& pager);

/** Lets the processor work for others a while. */
void pause_milliseconds(int milliseconds);

/** Asks whether a file may be read and written; the reason is in `errno` when not. */
bool is_accessible(const std::string& path);

/** Asks whether a file's name is as a template with wildcards has it, in either case of letters. */
bool fits_file_template(const std::string& name, const std::string& file_template);

/**
 * Asks whether the system takes a name for that of a file, and of nothing else such as a device, a
 * drive or a part of a file. Names of folders and parts of paths are not its business.
 */
bool is_file_name(const std::string& name);

/** Makes a folder that its owner alone can read. @return false on failure, as `errno` says. */
bool make_private_folder(const std::filesystem::path& path);

/**
 * Gives a file or folder another name on the same disk, which nothing may have.
 * @return false on failure, with the reason in `errno`: `EEXIST` when something has it.
 */
bool move_without_replacing(const std::filesystem::path& from, const std::filesystem::path& to);

/** Sets a variable of the program's environment. */
void set_variable(const char* name, const std::string& value);

/**
 * Makes a folder that nobody else has.
 * @param parent the folder to make it in.
 * @return its path; empty on failure, with the reason in `errno`.
 */
std::filesystem::path make_work_folder(const std::filesystem::path& parent);

/** Lets requests to end the program take effect at the next `was_interrupted`. */
void watch_for_interruption();

/** While one lives, such a request ends standard input, too, from which nothing may come. */
class InterruptibleReads {
 public:
  InterruptibleReads();
  ~InterruptibleReads();
  InterruptibleReads(const InterruptibleReads&) = delete;
  InterruptibleReads& operator=(const InterruptibleReads&) = delete;
};

/** Asks whether the user has asked the program to end. A second request ends it at once. */
bool was_interrupted();

/** Ends the program as that request would have ended it at once; whoever started it sees it. */
[[noreturn]] void end_as_interrupted();

/**
 * Asks for a text on the terminal, which does not show it.
 * @return nothing where there is no terminal to ask on.
 */
std::optional<std::string> ask_secretly(const std::string& question);

/** Runs a program that stands in one of the folders of PATH. @return whether it ended well. */
bool run_program(const std::string& name, const std::vector<std::string>& arguments);

enum class Redirection { to_standard_error, to_nowhere };

/** Sends standard output somewhere else. @return what `restore_standard_output` needs. */
int redirect_standard_output(Redirection where);

void restore_standard_output(int earlier);

}  // namespace tool::os
