#include "file_names.h"

#include <cstdio>
#include <cstring>

#include "settings.h"
#include "system.h"

namespace basetool {

bool expand_file_name(const char* name, Path& path) {
  constexpr size_t kept_for_endings = 64;
  const char* const folder = remembered_folder();
  size_t size = missing_part(name, folder);
  std::memcpy(path.data(), folder, size);
  for (; *name != '\0'; ++name) {
    if (size + kept_for_endings > path.size()) {
      return false;
    }
    if (name[0] == '%' && name[1] == 'p') {
      size += static_cast<size_t>(
          std::snprintf(path.data() + size, path.size() - size, "%lu", process_id()));
      ++name;
    } else {
      if (name[0] == '%' && name[1] == '%') {
        ++name;
      }
      path[size++] = *name;
    }
  }
  path[size] = '\0';
  return true;
}

void append_process_id(Path& path) {
  const size_t size = std::strlen(path.data());
  std::snprintf(path.data() + size, path.size() - size, ".pid%lu", process_id());
}

bool rename_older_files(const Path& path, unsigned kept) {
  using LongPath = std::array<char, longest_path + 16>;
  LongPath older;
  LongPath newer;
  const auto name = [&path](LongPath& text, unsigned age) {
    if (age == 0) {
      std::snprintf(text.data(), text.size(), "%s", path.data());
    } else {
      std::snprintf(text.data(), text.size(), "%s.%u", path.data(), age);
    }
    return text.data();
  };
  bool is_done = remove_file(name(older, kept));
  // There may be fewer old files than are kept; the last renaming is the one that counts.
  for (unsigned age = kept; age > 0; --age) {
    is_done = rename_file(name(newer, age - 1), name(older, age));
  }
  return is_done;
}

}  // namespace basetool
