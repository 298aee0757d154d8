// The site that all runs of the sweep start from.

#include <iterator>

#include "support/temporary_folder.h"
#include "sweep.h"
#include "zolp_basetool.h"

namespace sweep {

namespace {

std::map<std::string, tag>& objects() {
  static std::map<std::string, tag> all;
  return all;
}

void name_objects() {
  const std::pair<const char*, const char*> revisions[] = {
      {"100", nullptr}, {"100", "A"},     {"100", "B"},    {"100", "C"},   {"200", nullptr},
      {"200", "A"},     {"300", nullptr}, {"300", "A"},    {"T", nullptr}, {"T", "A"},
      {"S1", nullptr},  {"S1", "A"},      {"S2", nullptr}, {"S2", "A"}};
  for (const auto& [item, revision] : revisions) {
    const std::string name = std::string(item) + (revision != nullptr ? "/" : "");
    prepared(ork_host_find_item(item, revision,
                                &objects()[name + (revision != nullptr ? revision : "")]),
             item);
  }
  for (const char* user : {"ada", "root", "batch"}) {
    prepared(ORG_find_user(user, &objects()[user]), user);
  }
  for (const char* group : {"engineering", "quality"}) {
    prepared(ORG_find_group(group, &objects()[group]), group);
  }
  for (const char* type : {"Documents", "Drawings"}) {
    prepared(REL_find_relation_type(type, &objects()[type]), type);
  }
}

const test::TemporaryFolder& folder() {
  static const test::TemporaryFolder one;
  return one;
}

}  // namespace

void prepared(int status, const char* what) {
  if (status != ORK_ok) {
    std::fprintf(stderr, "  cannot prepare: %s ended with status %d\n", what, status);
    std::_Exit(1);
  }
}

tag object(const std::string& name) {
  const auto found = objects().find(name);
  prepared(found != objects().end() && found->second != NULLTAG ? ORK_ok : 1, name.c_str());
  return found->second;
}

std::string Run::name(tag wanted) const {
  if (wanted == NULLTAG) {
    return "0";
  }
  if (wanted == untouched_tag) {
    return "untouched";
  }
  for (const auto& [name, tag_of_name] : objects()) {
    if (tag_of_name == wanted) {
      return name;
    }
  }
  return "other";
}

void log_in_as(const char* user) {
  prepared(ORK_exit_module(0), "logout");
  prepared(ORK_init_module(user, (std::string(user) + "-secret").c_str(), "engineering"), "login");
}

std::string path(const std::string& name) {
  return folder().path(name);
}

std::string contents(const std::string& file) {
  std::ifstream stream(file);
  return stream ? std::string{std::istreambuf_iterator<char>(stream), {}} : "none";
}

void open_site() {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  folder();
  const char* no_arguments[] = {"program"};
  ork_host_set_arguments(1, no_arguments);
  prepared(ork_host_open(":memory:"), "site");
  prepared(ork_host_seed_file(SWEEP_SITE), "seed");
  prepared(ORK_init_module("ada", "ada-secret", "engineering"), "login");
  name_objects();
}

}  // namespace sweep
