#include "list_files.h"

#include <utility>

#include "files.h"
#include "host_memory.h"

namespace orktool {

File open_file(const char* path, const char* mode) {
  return File(std::fopen(text_or_empty(path), mode));
}

bool is_at_end(std::FILE* file) {
  const int next = std::getc(file);
  return next == EOF || std::ungetc(next, file) == EOF;
}

bool is_read_completely(std::FILE* file, const char* path, Place place) {
  if (std::ferror(file) == 0) {
    return true;
  }
  ZOLP_ERROR(read_error, path, place.file, place.line);
  return false;
}

bool close_written(File file) {
  const bool is_good = std::ferror(file.get()) == 0;
  return std::fclose(file.release()) == 0 && is_good;
}

bool open_list_copy(const char* in_file, const char* out_file, ListCopy& files, Place place) {
  files.in = open_file(in_file, "r+");
  if (files.in == nullptr) {
    ZOLP_ERROR(open_error, in_file, place.file, place.line);
    return false;
  }
  // Opening the copy empties it: a list must not be copied onto itself.
  if (!is_same_file(in_file, text_or_empty(out_file))) {
    files.out = open_file(out_file, "w+");
  }
  if (files.out == nullptr) {
    ZOLP_ERROR(open_error, out_file, place.file, place.line);
    return false;
  }
  return true;
}

int close_list_copy(ListCopy& files, const char* out_file, Place place) {
  if (!close_written(std::move(files.out))) {
    ZOLP_ERROR(write_error, out_file, place.file, place.line);
    return 1;
  }
  return 0;
}

void write_text(const File& file, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), file.get());
}

}  // namespace orktool
