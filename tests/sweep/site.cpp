// The site that all runs of the sweep start from.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork_host.h"
#include "support/temporary_folder.h"
#include "sweep.h"
#include "zolp_basetool.h"

namespace sweep {

namespace {

constexpr const char* seed = R"({
  "site": {"password_cost": 1, "id": 1, "name": "Sweep", "automatic_login": "batch"},
  "sites": [{"id": 2, "name": "Elsewhere"}],
  "groups": [{"name": "engineering"}, {"name": "quality"}],
  "roles": [{"name": "designer"}, {"name": "administrator"}],
  "users": [
    {"id": "ada", "name": "Ada Example", "password": "ada-secret",
     "memberships": [{"group": "engineering", "role": "designer"}]},
    {"id": "root", "name": "Rita Root", "password": "root-secret", "administrator": true,
     "memberships": [{"group": "engineering", "role": "administrator"}]},
    {"id": "batch", "name": "Batch",
     "memberships": [{"group": "quality", "role": "designer"}]}
  ],
  "types": [{"name": "Machine", "parent": "Item"}, {"name": "Press", "parent": "Machine"}],
  "relation_types": ["Documents", "Drawings"],
  "tools": [{"name": "Editor", "output_formats": ["TEXT"]}],
  "dataset_types": [{"name": "Note", "tool": "Editor", "references": [
    {"name": "Text", "files": [{"template": "*.txt", "format": "TEXT"}]}, {"name": "Sheet"}]}],
  "form_types": [{"name": "Sheet", "fields": [{"name": "note", "kind": "text", "length": 80}]}],
  "items": [
    {"id": "100", "name": "Press", "type": "Press", "owner": "ada", "revisions": [
      {"id": "A", "owner": "ada", "group": "quality", "statuses": [
        {"name": "Released", "date": "2024-02-19 10:12:00"},
        {"name": "Obsolete", "date": "2025-01-02 03:04:05"}]},
      {"id": "B", "owner": "ada"},
      {"id": "C", "owner": "ada", "checked_out_by": "root"}]},
    {"id": "200", "name": "Elsewhere", "owning_site": 2, "revisions": [
      {"id": "A", "owning_site": 2}]},
    {"id": "300", "name": "Drawn", "owner": "ada", "revisions": [
      {"id": "A", "owner": "ada", "datasets": [{"name": "drawing"}]}]},
    {"id": "T", "name": "Top", "revisions": [{"id": "A"}]},
    {"id": "S1", "name": "Frame", "revisions": [{"id": "A", "statuses": ["Released"]}]},
    {"id": "S2", "name": "Cover", "revisions": [{"id": "A"}]},
    {"id": "S3", "name": "Bolt", "revisions": [{"id": "A"}]}
  ],
  "note_types": ["Torque"],
  "revision_rules": [{"name": "Released", "clauses": [{"status": "Released"}]}],
  "structures": [
    {"item": "T", "revision": "A", "lines": [
      {"item": "S1", "sequence": "10", "quantity": "2", "notes": {"Torque": "12 Nm"}},
      {"item": "S2", "sequence": "20"}]},
    {"item": "S1", "revision": "A", "lines": [
      {"item": "S3", "sequence": "30"}]}
  ],
  "relations": [
    {"primary": {"item": "100", "revision": "B"}, "type": "Documents",
     "secondary": {"item": "100", "revision": "C"}},
    {"primary": {"item": "100", "revision": "B"}, "type": "Documents",
     "secondary": {"item": "100", "revision": "A"}},
    {"primary": {"item": "300", "revision": "A"}, "type": "Documents", "secondary": {"item": "100"}}
  ],
  "process_templates": [
    {"name": "Sweep", "tasks": [
      {"name": "Check", "type": "review", "signoffs": [
        {"pool": {"group": "engineering"}}, {"user": "ada"}]},
      {"name": "Large?", "type": "condition"}]},
    {"name": "Plain"}
  ],
  "access_rules": [{"deny": ["DELETE"], "to": "world", "on": {"item": "100", "revision": "B"}}],
  "preferences": {
    "One": "value",
    "Several": ["first", "second", "third"],
    "Switch": true,
    "Off": "NEIN",
    "On": "YES",
    "FLColumnCatIVFSeparatorPref": "/",
    "WsoInsertNoSelectionsPref": "1"
  }
})";

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
  prepared(ork_host_seed(seed), "seed");
  prepared(ORK_init_module("ada", "ada-secret", "engineering"), "login");
  name_objects();
}

}  // namespace sweep
