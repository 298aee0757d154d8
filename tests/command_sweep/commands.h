/** @file The command lines that the sweep tries, and the site that they work on. */
#pragma once

#include <string>
#include <vector>

namespace sweep {

using Arguments = std::vector<std::string>;

/** A command line. "{files}" stands for a folder with files to read, "{out}" for an empty one. */
struct Command {
  Arguments arguments;
  std::vector<Arguments> before = {}; /**< what is to be done to the site first */
  bool lists = false; /**< prints what it can read, also when it fails for the others */
};

/** At least one for each subcommand of the program. */
const std::vector<Command>& commands();

/** What the site is filled from, and the files that belong to it. */
extern const char* const seed;
struct File {
  const char* name;
  std::string contents;
};
std::vector<File> files();

}  // namespace sweep
