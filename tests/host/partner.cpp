// The second process of tests. What it has done, it says on standard output, one line a step.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "failure.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/obj.h"
#include "ork/signoff.h"
#include "ork_host.h"
#include "store.h"

namespace {

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/** Sets preferences, one a transaction. */
int set_preferences(const char* path, const std::string& prefix, int count) {
  if (ork_host_open(path) != ORK_ok) {
    return 1;
  }
  for (int i = 0; i < count; ++i) {
    const char* value = "set";
    if (ork_host_set_preference((prefix + std::to_string(i)).c_str(), 1, &value) != ORK_ok) {
      return 1;
    }
  }
  say("done");
  return 0;
}

/** Opens a site when it is told to. */
int open_with_others(const char* path) {
  say("ready");
  std::getchar();
  const int status = ork_host_open(path);
  if (status != ORK_ok) {
    const int* codes = nullptr;
    const int* severities = nullptr;
    const char** texts = nullptr;
    int count = 0;
    ERR_get_errors(&count, &severities, &codes, &texts);
    std::fprintf(stderr, "%d %s\n", status, count > 0 ? texts[count - 1] : "");
  }
  return status == ORK_ok ? 0 : 1;
}

/** Locks an object and holds the lock until it is told to go on, and then without giving it back.
 */
int hold(const char* path, tag object) {
  host::Database database(path);
  host::Presence presence(path);
  host::Store store(database, presence);
  store.set_identity({"partner"});
  store.lock(object);
  say("held");
  std::getchar();
  std::_Exit(0);
}

/** Imports a file twice, saves one of them and says which, and works on until it is killed. */
int import_and_stay(const char* path, const char* file_path) {
  std::FILE* const source = std::fopen(file_path, "w");
  if (source == nullptr || std::fputs("theirs", source) == EOF || std::fclose(source) != 0 ||
      ork_host_open(path) != ORK_ok || ORK_auto_login() != ORK_ok) {
    return 1;
  }
  tag saved = NULLTAG;
  tag unsaved = NULLTAG;
  if (FILE_import_file(file_path, nullptr, SS_TEXT, &unsaved, nullptr) != ORK_ok ||
      FILE_import_file(file_path, nullptr, SS_TEXT, &saved, nullptr) != ORK_ok ||
      OBJ_save(saved) != ORK_ok) {
    return 1;
  }
  say(std::to_string(saved));
  std::getchar();
  return 0;
}

/** Imports into a site in memory and ends, when it is told to, without tidying up. */
int abandon(const char* file_path) {
  constexpr const char* seed = R"({
    "site": {"automatic_login": "a"}, "groups": ["a"], "roles": ["a"],
    "users": [{"id": "a", "memberships": [{"group": "a", "role": "a"}]}]})";
  tag file = NULLTAG;
  if (ork_host_open(":memory:") != ORK_ok || ork_host_seed(seed) != ORK_ok ||
      ORK_auto_login() != ORK_ok ||
      FILE_import_file(file_path, nullptr, SS_TEXT, &file, nullptr) != ORK_ok) {
    return 1;
  }
  say("imported");
  std::getchar();
  std::_Exit(0);
}

/** Approves by signoffs as the user of the automatic login. */
int approve(const char* path, char** signoffs) {
  if (ork_host_open(path) != ORK_ok || ORK_auto_login() != ORK_ok) {
    return 1;
  }
  for (; *signoffs != nullptr; ++signoffs) {
    const auto signoff = static_cast<tag>(std::atoi(*signoffs));
    if (SIGNOFF_set_signoff_decision(signoff, SIGNOFF_approve, "") != ORK_ok) {
      return 1;
    }
  }
  say("approved");
  return 0;
}

int say_arguments() {
  for (const char* option : {"-u", "-u=", "-p=", "-g", "-g="}) {
    const char* value = ORK_get_cli_argument(option);
    say(std::string(option) + " " + (value != nullptr ? value : "(none)"));
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 1 ? arguments[1] : "";
  try {
    if (command == "preferences") {
      return set_preferences(arguments[2], arguments[3], std::atoi(arguments[4]));
    }
    if (command == "open") {
      return open_with_others(arguments[2]);
    }
    if (command == "hold") {
      return hold(arguments[2], static_cast<tag>(std::atoi(arguments[3])));
    }
    if (command == "import") {
      return import_and_stay(arguments[2], arguments[3]);
    }
    if (command == "abandon") {
      return abandon(arguments[2]);
    }
    if (command == "approve") {
      return approve(arguments[2], arguments + 3);
    }
    if (command == "arguments") {
      return say_arguments();
    }
  } catch (const host::Failure& failure) {
    std::fprintf(stderr, "%d %s\n", failure.status(), failure.what());
  }
  return 1;
}
