/** @file What the program asks of the operating system; nothing else in it depends on one. */
#pragma once

#include <filesystem>
#include <string>

namespace tool::os {

/** To be called first: has texts shown as they are, in UTF-8. */
void prepare_terminal();

/** Asks whether standard error is shown to somebody. */
bool is_error_on_terminal();

/** Asks whether a file may be read and written; the reason is in `errno` when not. */
bool is_accessible(const std::string& path);

/** Asks whether a file's name is as a template with wildcards has it, in either case of letters. */
bool fits_file_template(const std::string& name, const std::string& file_template);

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

/** Asks whether the user has asked the program to end. A second request ends it at once. */
bool was_interrupted();

enum class Redirection { to_standard_error, to_nowhere };

/** Sends standard output somewhere else. @return what `restore_standard_output` needs. */
int redirect_standard_output(Redirection where);

void restore_standard_output(int earlier);

}  // namespace tool::os
