/** @file What a shell offers at the cursor of a command line of the program. */
#pragma once

#include <string>
#include <vector>

#include "command_line/command.h"

namespace tool {

/** One thing that may stand at the cursor, and a word about it. */
struct Candidate {
  std::string text;
  std::string description;
};

struct Completion {
  enum class Others { none, files, folders };

  std::vector<Candidate> candidates;
  Others others = Others::none; /**< what the shell itself may offer besides */
};

/**
 * Completes the last of the words, which may be empty or begun.
 * @param words what stands behind the program's name up to the cursor.
 */
Completion complete(const Command& program, const std::vector<std::string>& words);

/** Names of things in the site of a command line that begin as given; none when it cannot be read.
 * @param kind the placeholder of the value, for example "JOB" or "ID[/REV]".
 */
std::vector<Candidate> names_in_site(const std::string& kind, const std::string& begun,
                                     const std::string& site);

/** Whether `names_in_site` knows the names behind a placeholder. */
bool is_kind_in_site(const std::string& kind);

/** The script that a shell is to read; an Error says when there is none for that shell. */
std::string completion_script(const std::string& shell);

}  // namespace tool
