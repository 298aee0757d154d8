/** @file Functions of POSIX that tests use, for systems without them. Included before all else. */
#pragma once

#if defined(__cplusplus)

#include <process.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

inline int setenv(const char* name, const char* value, int /*replace*/) {
  return _putenv_s(name, value);
}

inline int unsetenv(const char* name) {
  return _putenv_s(name, "");
}

inline std::tm* localtime_r(const std::time_t* time, std::tm* parts) {
  return localtime_s(parts, time) == 0 ? parts : nullptr;
}

/** Nobody is above the permissions of files. */
inline unsigned geteuid() {
  return 1;
}

/** Makes a folder; the last six characters of the path become something new. */
inline char* mkdtemp(char* path) {
  std::string name(path);
  for (unsigned tried = 0; tried < 1000; ++tried) {
    std::string ending = std::to_string(static_cast<unsigned>(_getpid()) * 1000U + tried);
    ending.insert(0, 6, '0');
    name.replace(name.size() - 6, 6, ending, ending.size() - 6, 6);
    if (std::filesystem::create_directory(name)) {
      name.copy(path, name.size());
      return path;
    }
  }
  return nullptr;
}

#endif
