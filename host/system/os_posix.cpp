#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "last_error_posix.h"
#include "os.h"
#include "process_id.h"

namespace host::os {

namespace {

std::string contents_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

unsigned fork_count = 0;

void count_fork() {
  ++fork_count;
}

}  // namespace

unsigned forks() {
  static const int registered = pthread_atfork(nullptr, nullptr, count_fork);
  static_cast<void>(registered);
  return fork_count;
}

std::uint64_t process_id() {
  return static_cast<std::uint64_t>(getpid());
}

std::string node_name() {
  char name[256] = "";
  if (gethostname(name, sizeof(name) - 1) != 0) {
    return "unknown";
  }
  return name;
}

std::vector<std::string> command_line() {
  std::vector<std::string> arguments;
  std::istringstream line(contents_of("/proc/self/cmdline"));
  for (std::string argument; std::getline(line, argument, '\0');) {
    arguments.push_back(argument);
  }
  return arguments;
}

void sleep_milliseconds(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void* symbol_of_library(const std::string& path, const char* symbol, std::string* error) {
  // A name without a folder would be looked up where system libraries are.
  const std::string whole_path = std::filesystem::absolute(path).string();
  void* library = dlopen(whole_path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* found = library != nullptr ? dlsym(library, symbol) : nullptr;
  if (found == nullptr) {
    const char* text = dlerror();
    *error = text != nullptr ? text : whole_path + " has a null " + symbol;
  }
  return found;
}

void* symbol_of_process(const char* symbol) noexcept {
  return dlsym(RTLD_DEFAULT, symbol);
}

date_s local_time() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  parts.tm_sec = std::min(parts.tm_sec, 59);  // no date has a leap second
  return {static_cast<std::int16_t>(parts.tm_year + 1900), static_cast<std::uint8_t>(parts.tm_mon),
          static_cast<std::uint8_t>(parts.tm_mday),        static_cast<std::uint8_t>(parts.tm_hour),
          static_cast<std::uint8_t>(parts.tm_min),         static_cast<std::uint8_t>(parts.tm_sec)};
}

std::string environment(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr ? value : "";
}

void make_random(std::span<unsigned char> bytes) {
  if (getentropy(bytes.data(), bytes.size()) != 0) {
    throw_errno();
  }
}

std::FILE* open_file(const std::string& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

}  // namespace host::os
