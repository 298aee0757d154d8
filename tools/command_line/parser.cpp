#include "command_line/parser.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace tool {

namespace {

/** Each use of an option takes one value, so that an argument may follow. */
CLI::Option* repeated(CLI::Option* option) {
  return option->get_positional() ? option : option->allow_extra_args(false);
}

}  // namespace

OptionParser OptionParser::required(bool is_required) const {
  option_->required(is_required);
  return *this;
}

OptionParser OptionParser::type_name(const char* name) const {
  option_->type_name(name);
  return *this;
}

OptionParser OptionParser::shows_preset() const {
  option_->capture_default_str();
  return *this;
}

OptionParser OptionParser::shows_preset(const char* text) const {
  option_->default_str(text);
  return *this;
}

OptionParser OptionParser::one_of(std::initializer_list<const char*> choices) const {
  option_->check(CLI::IsMember(std::vector<std::string>(choices.begin(), choices.end())));
  return *this;
}

OptionParser OptionParser::range(int least, int most) const {
  option_->check(CLI::Range(least, most));
  return *this;
}

OptionParser OptionParser::range(std::size_t least, std::size_t most) const {
  option_->check(CLI::Range(least, most));
  return *this;
}

OptionParser OptionParser::positive() const {
  option_->check(CLI::PositiveNumber);
  return *this;
}

OptionParser OptionParser::not_negative() const {
  option_->check(CLI::NonNegativeNumber);
  return *this;
}

OptionParser OptionParser::excludes(OptionParser other) const {
  option_->excludes(other.option_);
  return *this;
}

OptionParser OptionParser::needs(OptionParser other) const {
  option_->needs(other.option_);
  return *this;
}

OptionParser OptionParser::group(const char* heading) const {
  option_->group(heading);
  return *this;
}

CommandParser::CommandParser(const char* name, const char* description)
    : program_(std::make_unique<CLI::App>(description, name)), app_(program_.get()) {
  // Paths may begin with a slash.
  app_->allow_windows_style_options(false);
  app_->require_subcommand(1);
}

CommandParser::CommandParser(CommandParser& parent, CLI::App* app) : parent_(&parent), app_(app) {}

CommandParser::~CommandParser() = default;

CommandParser& CommandParser::add_command(const char* name, const char* description) {
  CLI::App* const app = app_->add_subcommand(name, description);
  commands_.push_back(std::unique_ptr<CommandParser>(new CommandParser(*this, app)));
  return *commands_.back();
}

CommandParser& CommandParser::add_group(const char* name, const char* description) {
  CommandParser& group = add_command(name, description);
  group.app_->require_subcommand(1);
  return group;
}

void CommandParser::hide() {
  app_->group("");
}

OptionParser CommandParser::add_option(const char* name, std::string& value,
                                       const std::string& description) {
  return OptionParser(app_->add_option(name, value, description));
}

OptionParser CommandParser::add_option(const char* name, std::vector<std::string>& values,
                                       const std::string& description) {
  return OptionParser(repeated(app_->add_option(name, values, description)));
}

OptionParser CommandParser::add_option(const char* name, int& value,
                                       const std::string& description) {
  return OptionParser(app_->add_option(name, value, description));
}

OptionParser CommandParser::add_option(const char* name, std::size_t& value,
                                       const std::string& description) {
  return OptionParser(app_->add_option(name, value, description));
}

OptionParser CommandParser::add_option(const char* name, double& value,
                                       const std::string& description) {
  return OptionParser(app_->add_option(name, value, description));
}

OptionParser CommandParser::add_option(const char* name,
                                       const std::function<void(const std::string&)>& take,
                                       const std::string& description) {
  return OptionParser(app_->add_option_function<std::string>(name, take, description));
}

OptionParser CommandParser::add_options(
    const char* name, const std::function<void(const std::vector<std::string>&)>& take,
    const std::string& description) {
  return OptionParser(
      repeated(app_->add_option_function<std::vector<std::string>>(name, take, description)));
}

OptionParser CommandParser::add_flag(const char* name, bool& value,
                                     const std::string& description) {
  return OptionParser(app_->add_flag(name, value, description));
}

void CommandParser::add_version(const char* names, const char* text) {
  app_->set_version_flag(names, text, "Print the version and exit");
}

OptionParser CommandParser::option(const char* name) const {
  return OptionParser(app_->get_option(name));
}

void CommandParser::footer(const std::string& text) {
  app_->footer(text);
}

void CommandParser::callback(std::function<void()> work) {
  app_->callback(std::move(work));
}

void CommandParser::answer(std::function<int()> work) {
  app_->callback([this, work = std::move(work)] {
    CommandParser* program = this;
    while (program->parent_ != nullptr) {
      program = program->parent_;
    }
    program->exit_code_ = work();
  });
}

void CommandParser::allow_extras() {
  app_->allow_extras();
}

std::vector<std::string> CommandParser::remaining() const {
  return app_->remaining();
}

std::size_t CommandParser::count(const char* option) const {
  return app_->count(option);
}

bool CommandParser::has(const char* option) const {
  return app_->get_option_no_throw(option) != nullptr;
}

bool CommandParser::names(const char* command) const {
  return app_->got_subcommand(command);
}

int CommandParser::parse(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::Success& help_or_version) {
    app_->exit(help_or_version);
  } catch (const CLI::ParseError& error) {
    throw ParseError(error.what());
  }
  return exit_code_;
}

}  // namespace tool
