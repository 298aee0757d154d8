#include "work_place.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "host/ork_host.h"
#include "ork/mem.h"

namespace sweep {

namespace {

namespace fs = std::filesystem;

/** The test's own without what steers the program. */
std::vector<std::string> clean_environment() {
  std::vector<std::string> clean;
  for (const std::string& variable : test::own_environment()) {
    const std::string name = variable.substr(0, variable.find('=', 1));
    if (!name.starts_with("ORK_") && !name.starts_with("ZOLP_") && name != "STORE_DATE_FORMAT") {
      clean.push_back(variable);
    }
  }
  return clean;
}

}  // namespace

std::string joined(const Arguments& arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    const bool is_path = argument.find('/') != std::string::npos && fs::exists(argument);
    text +=
        (text.empty() ? "" : " ") + (is_path ? fs::path(argument).filename().string() : argument);
  }
  return text;
}

std::string comparable(const std::string& text) {
  static const std::regex volatile_parts(
      R"(\d{4}-\d\d-\d\d[ T]\d\d:\d\d(:\d\d)?|"tag": ?\d+|#\d+|object \d+)");
  return std::regex_replace(text, volatile_parts, "*");
}

WorkPlace::WorkPlace() {
  fs::create_directory(folder_.path("files"));
  for (const File& file : files()) {
    folder_.write("files/" + std::string(file.name), file.contents);
  }
  folder_.write("files/seed.json", seed);
  clear_out();
  const Result made = run({"host", "init", original_, "--seed", folder_.path("files/seed.json")});
  if (made.exit_code != 0) {
    throw std::runtime_error("the site is not made: " + made.err);
  }
}

test::Launch WorkPlace::launch(Arguments arguments, const std::string& site,
                               const std::vector<std::string>& variables) const {
  static const std::vector<std::string> environment = clean_environment();
  for (std::string& argument : arguments) {
    argument = std::regex_replace(argument, std::regex(R"(\{(files|out)\})"), folder_.path("$1"));
    argument = std::regex_replace(argument, std::regex(R"(\{site\})"), site);
  }
  arguments.insert(arguments.begin(), ZOLP_PROGRAM);
  fs::remove(folder_.path("stderr"));
  test::Launch launch;
  launch.command = std::move(arguments);
  launch.environment = environment;
  launch.environment.push_back("ORK_HOST_DB=" + site);
  for (const char* const name : {"TMPDIR", "TMP"}) {
    std::erase_if(launch.environment, [name](const std::string& variable) {
      return variable.starts_with(std::string(name) + "=");
    });
    launch.environment.push_back(std::string(name) + "=" + folder_.path("temporary"));
  }
  launch.environment.insert(launch.environment.end(), variables.begin(), variables.end());
  launch.error = folder_.path("stderr");
  return launch;
}

WorkPlace::Result WorkPlace::run(const Arguments& arguments, const std::string& site,
                                 const std::vector<std::string>& variables) const {
  test::Launch launched = launch(arguments, site, variables);
  launched.output = folder_.path("stdout");
  fs::remove(launched.output);
  const int exit_code = test::Process(launched).wait();
  return {exit_code, folder_.read("stdout"), errors()};
}

void WorkPlace::prepare(const Command& command) {
  copy_site(original_, start_);
  for (const Arguments& arguments : command.before) {
    run(arguments, start_);
  }
  begin_run();
  start_contents_ = contents();
}

void WorkPlace::begin_run() {
  copy_site(start_, site_);
  clear_out();
}

std::string WorkPlace::contents() const {
  char* json = nullptr;
  if (ork_host_open(site_.c_str()) != ORK_ok || ork_host_describe(nullptr, &json) != ORK_ok) {
    return "no site";
  }
  const std::string text = json;
  MEM_free(json);
  ork_host_close();
  return text;
}

std::string WorkPlace::made_files() const {
  std::map<std::string, std::string> made;
  for (const auto& entry : fs::recursive_directory_iterator(folder_.path("out"))) {
    if (entry.is_regular_file() && entry.path().extension() != ".db") {
      made[entry.path().filename().string()] =
          folder_.read("out/" + fs::relative(entry.path(), folder_.path("out")).generic_string());
    }
  }
  std::string text;
  for (const auto& [name, contents] : made) {
    text += name + ":\n" + contents;
  }
  return text;
}

std::string WorkPlace::left_files() const {
  std::string names;
  for (const char* const folder : {"out", "temporary"}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path(folder))) {
      names += entry.path().filename().string() + " ";
    }
  }
  return names;
}

std::vector<std::string> WorkPlace::journal() const {
  std::vector<std::string> operations;
  std::istringstream lines(folder_.read("journal"));
  for (std::string line; std::getline(lines, line);) {
    operations.push_back(line.substr(0, line.find(' ')));
  }
  return operations;
}

std::string WorkPlace::journal_variable() const {
  fs::remove(folder_.path("journal"));
  return "ORK_HOST_JOURNAL=" + folder_.path("journal");
}

void WorkPlace::clear_out() const {
  for (const char* const folder : {"out", "temporary"}) {
    fs::remove_all(folder_.path(folder));
    fs::create_directory(folder_.path(folder));
  }
}

void WorkPlace::copy_site(const std::string& from, const std::string& to) const {
  const std::string from_name = fs::path(from).filename().string();
  const std::string to_name = fs::path(to).filename().string();
  std::vector<fs::path> old;
  std::vector<fs::path> wanted;
  for (const auto& entry : fs::directory_iterator(fs::path(from).parent_path())) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(to_name)) {
      old.push_back(entry.path());
    } else if (name.starts_with(from_name)) {
      wanted.push_back(entry.path());
    }
  }
  for (const fs::path& path : old) {
    fs::remove_all(path);
  }
  for (const fs::path& path : wanted) {
    const std::string name = to_name + path.filename().string().substr(from_name.size());
    fs::copy(path, path.parent_path() / name, fs::copy_options::recursive);
  }
}

bool DescribedCommand::has(const std::string& option) const {
  return std::find(options.begin(), options.end(), option) != options.end();
}

bool DescribedCommand::is_of(const Arguments& arguments) const {
  return arguments.size() >= words.size() &&
         std::equal(words.begin(), words.end(), arguments.begin());
}

std::vector<DescribedCommand> described_commands(const WorkPlace& place) {
  const std::string heading = "## zolp ";
  const std::regex option(R"(--[a-z-]+)");
  std::vector<DescribedCommand> commands;
  std::istringstream lines(place.run({"manual", "--markdown"}).out);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(heading)) {
      std::istringstream words(line.substr(heading.size()));
      commands.push_back({{std::istream_iterator<std::string>(words), {}}, {}, true});
    } else if (line.starts_with("| argument")) {
      commands.back().is_group = false;
    } else if (line.starts_with("| `")) {
      const std::string spelled = line.substr(0, line.find('`', 3));
      for (std::sregex_iterator name(spelled.begin(), spelled.end(), option), end; name != end;
           ++name) {
        commands.back().options.push_back(name->str());
      }
    }
  }
  return commands;
}

}  // namespace sweep
