#include "describe.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "dates.h"
#include "definitions.h"
#include "failure.h"
#include "flow_describe.h"
#include "json_values.h"
#include "objects.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

Json describe_locks(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag object : store.locked_instances()) {
    const std::optional<LockHolder> holder = store.lock_holder(object);
    if (!holder) {
      continue;  // it has ended just now
    }
    all.push_back({{"object", describe_reference(store, object)},
                   {"user", holder->user_id},
                   {"node", holder->node},
                   {"since", date_text(holder->since)}});
  }
  return all;
}

/** What the sections that are written have in common: one who looks wants them. */
struct Description {
  Description(Site& described, const JsonStream::Write& write)
      : site(described),
        stream(write),
        places(described.store()),
        objects(described, wishes, places, account) {}

  Site& site;
  JsonStream stream;
  Wishes wishes;
  Places places;
  Account account;
  ObjectSections objects;
};

template <void (ObjectSections::*write)(ElementList& list)>
void write_objects(Description& all) {
  ElementList list(all.stream, nullptr);
  (all.objects.*write)(list);
  list.end();
}

void write_access_rules(Description& all) {
  all.stream.value(describe_access_rules(all.site, all.wishes, all.places, all.account));
}

void write_all_jobs(Description& all) {
  ElementList list(all.stream, nullptr);
  write_jobs(all.site, list);
  list.end();
}

void write_locks(Description& all) {
  all.stream.value(describe_locks(all.site));
}

/** Those that may grow with the site are written piece by piece. */
constexpr std::pair<const char*, void (*)(Description& all)> object_sections[] = {
    {"items", write_objects<&ObjectSections::write_items>},
    {"structures", write_objects<&ObjectSections::write_structures>},
    {"folders", write_objects<&ObjectSections::write_folders>},
    {"relations", write_objects<&ObjectSections::write_relations>},
    {"access_rules", write_access_rules},
    {"objects", write_objects<&ObjectSections::write_workspace_objects>},
    {"jobs", write_all_jobs},
    {"locks", write_locks},
};

}  // namespace

const char* const* section_names() {
  static const auto names = [] {
    constexpr std::size_t room = 32;
    std::array<const char*, room> all{};
    std::size_t count = 0;
    const auto add = [&](const char* name) { all.at(count++) = name; };
    for (const auto& section : definition_sections()) {
      add(section.first);
    }
    for (const auto& section : object_sections) {
      add(section.first);
    }
    return all;
  }();
  return names.data();
}

void describe(Site& site, const std::string& section, const JsonStream::Write& write) {
  const Reading one_state(site.database());
  Description all(site, write);
  bool is_known = section.empty();
  const auto write_if_wanted = [&](const char* name, const auto& write_section) {
    if (section.empty()) {
      all.stream.key(name);
    }
    if (section.empty() || section == name) {
      is_known = true;
      write_section();
    }
  };
  if (section.empty()) {
    all.stream.begin_object();
  }
  for (const auto& [name, describe_section] : definition_sections()) {
    write_if_wanted(name, [&, describe = describe_section] {
      all.stream.value(describe(all.site, all.wishes, all.places, all.account));
    });
  }
  for (const auto& [name, write_section] : object_sections) {
    write_if_wanted(name, [&, write_one = write_section] { write_one(all); });
  }
  if (section.empty()) {
    all.stream.end();
  }
  if (!is_known) {
    refuse(ORK_invalid_argument, "there is no section \"" + section + "\"");
  }
}

}  // namespace host
