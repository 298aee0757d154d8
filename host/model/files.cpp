#include "files.h"

#include <charconv>

#include "failure.h"
#include "ork/dset.h"
#include "site.h"
#include "stored_values.h"

namespace host {

namespace {

/** Where imports and exports report to; of the process, as the function that sets it says. */
Progress progress;

/** What a file in the vault is, for refusals. */
std::string file_text(Store& objects, tag file) {
  return objects.text(file, "original_file_name") + " (object " + std::to_string(file) + ")";
}

}  // namespace

void report_copies_to(const Progress& to) {
  progress = to;
}

void take_out_file(tag file, const std::string& path) {
  try {
    site().vault().take_out(contents_of(store(), file), path, progress);
  } catch (const Failure& failure) {
    if (failure.status() != FILE_damaged) {
      throw;
    }
    refuse(FILE_damaged, file_text(store(), file) + ": " + failure.detail());
  }
}

std::string last_part(const std::string& name) {
  return name.substr(name.find_last_of("/\\") + 1);
}

tag import_file(const std::string& path, const std::string& original_name, int type) {
  Store& objects = store();
  // First the object, which may be refused, and then the contents, which take their time.
  const tag file =
      objects.create(objects.class_named("VeloFile"),
                     {{"original_file_name", last_part(original_name)}, {"file_type", type}});
  try {
    const Contents contents = site().vault().bring_in(objects, path, progress);
    objects.set(file, "contents", contents.name);
    objects.set(file, "byte_size", std::to_string(contents.size));
    objects.set(file, "digest", contents.digest);
  } catch (...) {
    objects.remove(file);
    throw;
  }
  return file;
}

int file_type(const std::string& format) {
  return format == "TEXT" ? SS_TEXT : format == "BINARY" ? SS_BINARY : 0;
}

Contents contents_of(Store& objects, tag file) {
  Contents contents{objects.text(file, "contents"), 0, objects.text(file, "digest")};
  const std::string& size = objects.text(file, "byte_size");
  const char* const end = size.data() + size.size();
  const auto parsed = std::from_chars(size.data(), end, contents.size);
  if (!size.empty() && (parsed.ec != std::errc() || parsed.ptr != end || contents.size < 0)) {
    refuse_damage(file, "byte_size", "\"" + size + "\" is no size");
  }
  return contents;
}

}  // namespace host
