#include "template_filler.h"

#include <cstring>

namespace orktool {

Replaced replace_first(Line& line, std::string_view search, std::string_view replacement) {
  const std::string_view text(line);
  const std::size_t at = text.find(search);
  if (at == std::string_view::npos) {
    return Replaced::nothing;
  }
  const std::string_view rest = text.substr(at + search.size());
  if (at + replacement.size() + rest.size() >= sizeof line) {
    return Replaced::no_room;
  }
  std::memmove(line + at + replacement.size(), rest.data(), rest.size() + 1);
  replacement.copy(line + at, replacement.size());
  return Replaced::text;
}

bool read_template_line(std::FILE* file, Line& line) {
  line[0] = '\0';
  if (std::feof(file) != 0 || std::ferror(file) != 0) {
    return false;
  }
  if (std::fgets(line, sizeof line, file) == nullptr) {
    line[0] = '\0';
  }
  return true;
}

}  // namespace orktool
