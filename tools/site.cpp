#include "site.h"

#include <cstdlib>
#include <exception>
#include <filesystem>

#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "os.h"
#include "output_files.h"
#include "platform_block.h"
#include "seed_check.h"
#include "seed_progress.h"
#include "utf8_path.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

bool trace_is_wanted() {
  return std::getenv("ZOLP_TRACE_LEVEL") != nullptr || std::getenv("ZOLP_TRACE_FILE") != nullptr;
}

/** Refuses what is no file, and what the platform would make a new site of. */
void require_file(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path file = host::utf8_path(path);
  const std::filesystem::file_status status = std::filesystem::status(file, ignored);
  if (!std::filesystem::exists(status)) {
    throw Error("site " + path + " does not exist", "create it with \"zolp host init\"");
  }
  if (std::filesystem::is_directory(status)) {
    throw Error(path + " is a folder, and a site is a file", "name the file in it");
  }
  if (!std::filesystem::is_regular_file(status)) {
    throw Error(path + " is a device or pipe, and a site is a file", "name the site's file");
  }
  if (std::filesystem::file_size(file, ignored) == 0) {
    throw Error("file " + path + " is empty, and no site",
                "remove it, and create a site with \"zolp host init\"");
  }
}

}  // namespace

std::string site_file(const std::string& given) {
  if (!given.empty()) {
    return given;
  }
  const char* const from_environment = std::getenv("ORK_HOST_DB");
  if (from_environment != nullptr && *from_environment != '\0') {
    return from_environment;
  }
  throw usage_error("no site given", "name its file, or set ORK_HOST_DB");
}

Site::Site(const std::string& path, Open how) {
  if (how == Open::existing) {
    require_file(path);
  }
  require_success(ork_host_open(path.c_str()), "cannot open site " + path,
                  "check that the file is a site and can be read and written");
}

Site::~Site() {
  ork_host_close();
}

void Site::seed(const std::string& json) {
  require_success(ork_host_seed(json.c_str()), "the seed is not taken", "correct it");
}

void Site::seed_file(const std::string& path) {
  const SeedSource seed(path);
  const SeedProgress progress("seeding " + path);
  const int status = seed.take(ork_host_seed, ork_host_seed_file);
  if (status == ORK_interrupted) {
    throw Error("seeding " + path + " was interrupted",
                "nothing of this seed was written, start again with it");
  }
  require_success(status, "seed " + path + " is not taken", "correct it");
}

void Site::set_preference(const std::string& name, const std::vector<std::string>& values) {
  std::vector<const char*> texts;
  for (const std::string& value : values) {
    texts.push_back(value.c_str());
  }
  require_success(
      ork_host_set_preference(name.c_str(), static_cast<int>(texts.size()), texts.data()),
      "cannot set preference " + name, "check its name and that the site can be written");
}

std::string Site::describe(const std::string& section) const {
  char* json = nullptr;
  require_success(ork_host_describe(section.empty() ? nullptr : section.c_str(), &json),
                  "cannot read the site", "check that the file is a site");
  const PlatformBlock<char> block(json);
  return json;
}

View::View() {
  require_success(ork_host_begin_view(), "cannot read the site", "start again");
}

View::~View() {
  forget_failure(ork_host_end_view());  // all has been read
}

Change::Change() {
  require_success(ork_host_begin_change(), "cannot change the site", "start again");
}

Change::~Change() {
  if (is_open_) {
    ork_host_end_change(0);
  }
}

int Change::keep() {
  is_open_ = false;
  return ork_host_end_change(1);
}

Session::Session() : failures_before_(std::uncaught_exceptions()) {
  LibraryCall call;
  require_success(ZOLP_startup_ork_environment(), "login failed",
                  "check -u, -p and -g, or the site's user for automatic login");
}

Session::~Session() {
  LibraryCall call;
  if (std::uncaught_exceptions() > failures_before_) {
    ORK_exit_module(0);
  } else {
    ZOLP_shutdown_ork_environment();
  }
}

std::string Session::preference(const std::string& name) const {
  char* value = nullptr;
  const int status = ZOLP_get_pref(name.c_str(), &value);
  const PlatformBlock<char> block(value);
  tool::require(status, "preference " + name, {PREF_value_not_found});
  if (value == nullptr) {
    throw Error("preference " + name + " is not set",
                "set it with \"zolp host pref FILE " + name + " VALUE\"");
  }
  return value;
}

LibraryCall::LibraryCall() {
  const bool trace_is_on_screen = trace_is_wanted() && std::getenv("ZOLP_TRACE_FILE") == nullptr;
  standard_output_ = os::redirect_standard_output(
      trace_is_on_screen ? os::Redirection::to_standard_error : os::Redirection::to_nowhere);
}

LibraryCall::~LibraryCall() {
  os::restore_standard_output(standard_output_);
}

void silence_trace_unless_wanted() {
  if (!trace_is_wanted()) {
    ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  }
}

}  // namespace tool
