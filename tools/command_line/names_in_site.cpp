/** @file The names in a site that completion offers. */
#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>

#include "command_line/completion.h"
#include "error.h"
#include "objects.h"
#include "ork/item.h"
#include "os.h"
#include "site.h"

namespace tool {

namespace {

/** More are no help at a prompt. */
constexpr size_t most_names = 200;

/** Names in a section of the site's description. */
struct Section {
  const char* kind;
  const char* section;
  const char* member;
};

constexpr std::array<Section, 6> named_sections{{{"JOB", "jobs", "name"},
                                                 {"TEMPLATE", "process_templates", "name"},
                                                 {"USER", "users", "id"},
                                                 {"GROUP", "groups", "name"},
                                                 {"PREFERENCE", "preferences", nullptr},
                                                 {"TYPE", "dataset_types", "name"}}};

const Section* section_of(const std::string& kind) {
  const auto found = std::find_if(named_sections.begin(), named_sections.end(),
                                  [&](const Section& section) { return kind == section.kind; });
  return found != named_sections.end() ? &*found : nullptr;
}

bool is_object(const std::string& kind) {
  const auto names = {"ID", "ID[/REV]", "ITEM", "PATTERN", "REVISION", "WANTED", "DATASET"};
  return std::find(names.begin(), names.end(), kind) != names.end();
}

std::vector<Candidate> names_in_section(const Section& section, const Json& entries) {
  std::vector<Candidate> names;
  for (const auto& [key, entry] : entries.items()) {
    if (section.member == nullptr) {
      names.push_back({key, ""});
    } else if (const auto name = entry.find(section.member); name != entry.end()) {
      const auto description = entry.find("description");
      names.push_back({name->get<std::string>(), description != entry.end()
                                                     ? description->get<std::string>()
                                                     : std::string()});
    }
  }
  return names;
}

std::string item_id(tag item) {
  std::array<char, ITEM_id_size + 1> id{};
  require(ITEM_get_id(item, id.data()), "the id of an item");
  return id.data();
}

/** The object as commands take it; without a text where it is none of the kind. */
Candidate candidate(tag object, const std::string& kind) {
  const std::string class_name = class_of(object);
  const bool wants_revision = kind == "REVISION" || kind == "WANTED";
  if (kind == "DATASET") {
    return {class_name == "Dataset" ? name_of(object) : "", ""};
  }
  if (class_name == "Item" && !wants_revision) {
    return {item_id(object), name_of(object)};
  }
  if (class_name == "ItemRevision" && kind != "ITEM") {
    tag item = NULLTAG;
    std::array<char, ITEM_id_size + 1> revision_id{};
    require(ITEM_get_item_of_rev(object, &item), "the item of a revision");
    require(ITEM_get_rev_id(object, revision_id.data()), "the id of a revision");
    return {item_id(item) + "/" + revision_id.data(), name_of(object)};
  }
  return {};
}

/** Objects are looked for in a session; one that needs a password finds none. */
std::vector<Candidate> names_of_objects(const std::string& kind, const std::string& begun) {
  std::vector<Candidate> names;
  if (begun.find_first_of("*?") != std::string::npos) {
    return names;
  }
  const Session session;
  for (const tag object : find_by_pattern(begun + "*")) {
    Candidate found = candidate(object, kind);
    if (!found.text.empty() && names.size() < most_names) {
      names.push_back(std::move(found));
    }
  }
  return names;
}

/** Standard output is the shell's; what the library prints is not for it. */
class Silence {
 public:
  Silence() : earlier_(os::redirect_standard_output(os::Redirection::to_nowhere)) {}
  ~Silence() { os::restore_standard_output(earlier_); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int earlier_;
};

}  // namespace

bool is_kind_in_site(const std::string& kind) {
  return section_of(kind) != nullptr || is_object(kind);
}

std::vector<Candidate> names_in_site(const std::string& kind, const std::string& begun,
                                     const std::string& site_file) {
  std::vector<Candidate> names;
  try {
    const Silence silence;
    const Site site(site_file);
    if (const Section* const section = section_of(kind)) {
      names = names_in_section(*section, Json::parse(site.describe(section->section)));
    } else if (!begun.empty()) {
      names = names_of_objects(kind, begun);
    }
  } catch (const Error&) {
    // A prompt is no place for a failure: the command itself will tell.
    return {};
  }
  std::erase_if(
      names, [&](const Candidate& name) { return name.text.compare(0, begun.size(), begun) != 0; });
  return names;
}

}  // namespace tool
