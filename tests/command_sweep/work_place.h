/** @file A place where command lines are tried out, with a site that is the same for each run. */
#pragma once

#include <string>
#include <vector>

#include "commands.h"
#include "support/process.h"
#include "support/temporary_folder.h"

namespace sweep {

/** A command line as a report has it: files without their folders. */
std::string joined(const Arguments& arguments);

/** A text without what differs from run to run: times, and numbers of objects that are made. */
std::string comparable(const std::string& text);

/** A folder with the site that a run works on, one to copy it from, and files. */
class WorkPlace {
 public:
  struct Result {
    int exit_code = -1;
    std::string out, err;
  };

  WorkPlace();

  /** What is to be started for a command line; its standard error goes to a file of this place. */
  test::Launch launch(Arguments arguments, const std::string& site = "",
                      const std::vector<std::string>& variables = {}) const;

  /** Runs the program, on the site and with a fault or a journal if need be. */
  Result run(const Arguments& arguments, const std::string& site = "",
             const std::vector<std::string>& variables = {}) const;

  /** Makes the site on which a command's runs start. */
  void prepare(const Command& command);

  void begin_run();

  const std::string& site() const { return site_; }
  const std::string& start_contents() const { return start_contents_; }

  /** What the site holds, as others see it. */
  std::string contents() const;

  /** Names and contents of the files that a command has made. */
  std::string made_files() const;

  /** Names of all that a command has left, also where temporary files are, but for the site. */
  std::string left_files() const;

  /** What a run has printed to standard error. */
  std::string errors() const { return folder_.read("stderr"); }

  /** The operations that the run has called and that have ended. */
  std::vector<std::string> journal() const;
  /** Has the next run write a journal. */
  std::string journal_variable() const;

 private:
  void clear_out() const;
  /** Site file and what stands beside it. */
  void copy_site(const std::string& from, const std::string& to) const;

  test::TemporaryFolder folder_;
  const std::string original_ = folder_.path("original.db");
  const std::string start_ = folder_.path("start.db");
  const std::string site_ = folder_.path("site.db");
  std::string start_contents_;
};

/** A command as the program's manual describes it. */
struct DescribedCommand {
  Arguments words;                  /**< "bom", "tree" */
  std::vector<std::string> options; /**< "--host" */
  bool is_group = false;

  bool has(const std::string& option) const;
  /** Whether a command line is one of it. */
  bool is_of(const Arguments& arguments) const;
};

std::vector<DescribedCommand> described_commands(const WorkPlace& place);

}  // namespace sweep
