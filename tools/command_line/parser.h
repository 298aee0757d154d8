/**
 * @file How commands declare what they take. The library that reads the command line stands behind
 * this header: its own would cost each command seconds to compile.
 */
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tool {

/** A command line that is none of the program's, in the parser's words. */
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/**
 * An option, or an argument without a name of its own on the command line. A handle that may be
 * copied; what it says of the option it returns itself for.
 */
class OptionParser {
 public:
  explicit OptionParser(CLI::Option* option) : option_(option) {}

  OptionParser required(bool is_required = true) const;
  /** What stands for the value in help, as "FILE"; nothing for an argument: its name says it. */
  OptionParser type_name(const char* name) const;
  /** Help shows the present value of its variable as what holds without it. */
  OptionParser shows_preset() const;
  OptionParser shows_preset(const char* text) const;
  OptionParser one_of(std::initializer_list<const char*> choices) const;
  OptionParser range(int least, int most) const;
  OptionParser range(std::size_t least, std::size_t most) const;
  OptionParser positive() const;
  OptionParser not_negative() const;
  /** Not both of them. */
  OptionParser excludes(OptionParser other) const;
  /** Not without the other one. */
  OptionParser needs(OptionParser other) const;
  /** The heading that it stands under in help. */
  OptionParser group(const char* heading) const;

 private:
  CLI::Option* option_;
};

/**
 * A command, or a group of commands: its options and what it does. What options are read into must
 * live until the command line is parsed.
 */
class CommandParser {
 public:
  /** The program itself. */
  CommandParser(const char* name, const char* description);
  ~CommandParser();
  CommandParser(const CommandParser&) = delete;
  CommandParser& operator=(const CommandParser&) = delete;

  /** A command below this one. @return it, for as long as the program's parser lives. */
  CommandParser& add_command(const char* name, const char* description);
  /** A group needs one of its commands. */
  CommandParser& add_group(const char* name, const char* description);
  /** Leaves the command out of help and manual. */
  void hide();

  OptionParser add_option(const char* name, std::string& value, const std::string& description);
  /** An option that may be repeated, with a value each time; or an argument of many words. */
  OptionParser add_option(const char* name, std::vector<std::string>& values,
                          const std::string& description);
  OptionParser add_option(const char* name, int& value, const std::string& description);
  OptionParser add_option(const char* name, std::size_t& value, const std::string& description);
  OptionParser add_option(const char* name, double& value, const std::string& description);
  /** An option that has its value told to a function. */
  OptionParser add_option(const char* name, const std::function<void(const std::string&)>& take,
                          const std::string& description);
  OptionParser add_options(const char* name,
                           const std::function<void(const std::vector<std::string>&)>& take,
                           const std::string& description);
  OptionParser add_flag(const char* name, bool& value, const std::string& description);
  void add_version(const char* names, const char* text);
  OptionParser option(const char* name) const;

  /** What stands below the options in its help. */
  void footer(const std::string& text);
  /** What it does. */
  void callback(std::function<void()> work);
  /** What it does; its answer is the program's exit code. */
  void answer(std::function<int()> work);
  /** Takes words that no option or argument claims, as they stand; see `remaining`. */
  void allow_extras();
  std::vector<std::string> remaining() const;

  /** How often an option was given. */
  std::size_t count(const char* option) const;
  bool has(const char* option) const;
  /** Whether the command line names a command right below this one. */
  bool names(const char* command) const;

  /**
   * Does what the command line says, help and version included. Throws a ParseError, and what the
   * commands throw.
   * @return the program's exit code.
   */
  int parse(int argc, char** argv);

  const CLI::App& description() const { return *app_; }

 private:
  CommandParser(CommandParser& parent, CLI::App* app);

  CommandParser* parent_ = nullptr;
  std::unique_ptr<CLI::App> program_; /**< null for a command below another one */
  CLI::App* app_;
  std::vector<std::unique_ptr<CommandParser>> commands_;
  int exit_code_ = 0;
};

}  // namespace tool
