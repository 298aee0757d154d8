#include "seed.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "access_seeder.h"
#include "datasets.h"
#include "definition_seeder.h"
#include "failure.h"
#include "flow_seed.h"
#include "folder_seeder.h"
#include "object_id.h"
#include "object_seeder.h"
#include "seed_data.h"
#include "seed_writer.h"
#include "structure_seeder.h"
#include "types.h"
#include "writer_note.h"

namespace host {

namespace {

using Json = nlohmann::json;

/** Relation between a revision and its datasets where a seed names none. */
constexpr const char* default_dataset_relation = "VELO_reference";

/** After so many what was read of them is dropped from memory. */
constexpr std::size_t elements_at_once = 1000;

/** Members of a relation that name objects. */
constexpr const char* relation_places[] = {"primary", "secondary", "user_data"};

/** The lists that may be as long as a site is large. */
constexpr std::string_view streamed_sections[] = {"items", "relations", "structures", "folders"};

class Seeder : private SeedWriter {
 public:
  Seeder(SeedRun& run, const SeedText& text, const SeeProgress& progress)
      : SeedWriter(run),
        text_(text),
        progress_(progress),
        definitions_(run),
        data_(run),
        structures_(run),
        folders_(run) {}

  void take(const Node& root) {
    root.allow_only({"site",
                     "groups",
                     "roles",
                     "users",
                     "classes",
                     "types",
                     "relation_types",
                     "tools",
                     "dataset_types",
                     "form_types",
                     "preferences",
                     "texts",
                     "sites",
                     "items",
                     "relations",
                     "access_rules",
                     "process_templates",
                     "view_types",
                     "note_types",
                     "revision_rules",
                     "structures",
                     "folders",
                     "objects"});
    definitions_.take(root);
    stream(root, "items", [this](const Node& item, std::size_t) { take_item(item); });
    bool are_all_taken = true;
    stream(root, "relations", [&](const Node& relation, std::size_t) {
      if (is_of_keyed(relation)) {
        are_all_taken = false;
      } else {
        take_relation(relation);
      }
    });
    each_of(root, "process_templates",
            [this](const Node& process) { take_process_template(run_, process); });
    structures_.take_definitions(root);
    stream(root, "structures", [this](const Node& structure, std::size_t number) {
      structures_.take_structure(structure, number);
    });
    structures_.check_cycles(text_);
    take_keyed(root, are_all_taken);
    AccessSeeder(run_).take(root);
  }

 private:
  /** What is known by a key, and what refers to it: all of it is there before. */
  void take_keyed(const Node& root, bool are_all_relations_taken) {
    stream(root, "folders",
           [this](const Node& folder, std::size_t) { folders_.take_folder(folder); });
    attempt(root, [&] { ObjectSeeder(run_).take(root); });
    stream(root, "folders",
           [this](const Node& folder, std::size_t) { folders_.take_contents(folder); });
    if (are_all_relations_taken) {
      return;
    }
    stream(root, "relations", [this](const Node& relation, std::size_t) {
      if (is_of_keyed(relation)) {
        take_relation(relation);
      }
    });
  }

  static bool is_of_keyed(const Node& relation) {
    return std::any_of(std::begin(relation_places), std::end(relation_places),
                       [&](const char* member) {
                         const auto place = relation.find(member);
                         return place && place->is_object() && place->find("object");
                       });
  }

  /** Takes the elements of a long list one by one; the memory that each needs is given back. */
  template <typename Take>
  void stream(const Node& root, const char* section, const Take& take) {
    if (const auto list = root.find(section)) {
      attempt(*list, [&] { list->items(); });  // which says when it is no list
    }
    const std::uint64_t stamp = store_.last_stamp();
    const std::size_t size = text_.size(section);
    std::size_t number = 0;
    text_.for_each(section, [&](const Json& element, std::size_t begin) {
      const SeedPart part{text_, element, begin, {section, std::to_string(number)}, run_.faults};
      const Node node(element, part);
      attempt(node, [&] { take(node, number); });
      if (++number % elements_at_once == 0) {
        store_.forget_since(stamp);
      }
      if (progress_ && !progress_(section, number, size)) {
        refuse(ORK_interrupted, "at element " + std::to_string(number) + " of \"" + section + "\"");
      }
    });
  }

  void take_item(const Node& node) {
    node.allow_only({"id", "revisions", "master_form"}, workspace_members);
    const Store::Criteria key = {{"item_id", node.at("id").name()}};
    node.at("name").name();
    const tag item =
        take_workspace_object(node, store_.find_one("Item", key), type_of(node, "Item"), key);
    data_.take_master_form(node, item);
    each_of(node, "revisions", [&](const Node& revision) { take_revision(revision, item, node); });
  }

  void take_revision(const Node& node, tag item, const Node& item_node) {
    node.allow_only({"id", "datasets", "master_form"}, workspace_members);
    const std::string id = node.at("id").name();
    const Store::Criteria key = {{"item_tag", item}, {"item_revision_id", id}};
    const tag known = find_revision(store_, item, id);
    const tag revision =
        take_workspace_object(node, known, type_of(node, "ItemRevision"), key, [&](Draft& draft) {
          if (draft.text("object_name").empty()) {
            draft.set(node, "object_name", item_node.at("name").text());
          }
        });
    data_.take_master_form(node, revision);
    each_of(node, "datasets", [&](const Node& dataset) { take_dataset(dataset, revision); });
  }

  void take_dataset(const Node& node, tag revision) {
    node.allow_only({"relation", "tool", "files", "forms"}, workspace_members);
    const std::string name = node.at("name").name();
    const auto relation = node.find("relation");
    const tag relation_type =
        relation ? find_relation_type(*relation) : store_.find_type(default_dataset_relation);
    const tag type = type_of(node, "Dataset");
    const tag known = find_dataset(revision, name);
    const tag dataset = take_workspace_object(
        node, known, type, {{"object_name", name}, {"dataset_type", type}}, [&](Draft& draft) {
          if (const auto tool = node.find("tool")) {
            draft.set(*tool, "tool_used",
                      tool->is_null() ? NULLTAG : find(*tool, "Tool", "tool_name", "tool"));
          } else if (draft.reference("tool_used") == NULLTAG) {
            const tag held_type = known != NULLTAG ? host::type_of(store_, known) : type;
            draft.set(node, "tool_used", default_tool(store_, held_type));
          }
        });
    ensure_relation(node, revision, relation_type, dataset);
    data_.take_contents(node, dataset);
    take_making(node, dataset);
  }

  void take_relation(const Node& node) {
    node.allow_only({"primary", "type", "secondary", "user_data"});
    const tag relation_type = find_relation_type(node.at("type"));
    const tag primary = find_object(node.at("primary"));
    const tag relation =
        ensure_relation(node, primary, relation_type, find_object(node.at("secondary")));
    if (const auto data = node.find("user_data")) {
      put(*data, relation, "user_data", data->is_null() ? NULLTAG : find_object(*data));
    }
  }

  const SeedText& text_;
  const SeeProgress& progress_;
  DefinitionSeeder definitions_;
  DataSeeder data_;
  StructureSeeder structures_;
  FolderSeeder folders_;
};

/**
 * How the file is written while a seed is taken: with more of it in memory, and without a second
 * look at references, all of which the store has looked up.
 */
class SeedSettings {
 public:
  explicit SeedSettings(Database& database) : database_(database) {
    database_.execute("PRAGMA cache_size = -65536; PRAGMA foreign_keys = OFF");
  }
  ~SeedSettings() {
    try {
      database_.execute("PRAGMA cache_size = -2000; PRAGMA foreign_keys = ON");
    } catch (const std::exception&) {
      // Neither decides what is written.
    }
  }
  SeedSettings(const SeedSettings&) = delete;
  SeedSettings& operator=(const SeedSettings&) = delete;

 private:
  Database& database_;
};

void take_seed(Site& site, std::string_view json, const std::filesystem::path& folder,
               SeedFaults& faults, const SeeProgress& progress) {
  if (site.store().has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  const SeedText text(json, streamed_sections,
                      [&faults](const SeedFault& fault) { faults.add(fault); });
  try {
    const SeedSettings settings(site.database());
    std::optional<WriterNote> note;
    Transaction transaction(site.database());
    note.emplace(site.path(), site.session ? site.session->user_id : "");
    InsertBatch batch(site.store());
    SeedRun run{site, folder, faults, {}, {}};
    const SeedPart part{text, text.root(), text.begin(), {}, faults};
    Seeder(run, text, progress).take(Node(text.root(), part));
    batch.end();
    transaction.commit();
  } catch (...) {
    site.reload_store();  // memory holds what the file has just undone
    throw;
  }
  site.reload_texts();
  if (!site.session) {
    return;
  }
  if (site.session->preferences) {
    site.session->preferences = read_preferences(site.database());
  }
  site.session->access_rules.reset();
}

}  // namespace

void seed(Site& site, std::string_view json, const std::filesystem::path& folder,
          const SeeProgress& progress) {
  SeedFaults faults;
  take_seed(site, json, folder, faults, progress);
}

void check_seed(Site& site, std::string_view json, const std::filesystem::path& folder,
                const TakeFault& take_fault, const SeeProgress& progress) {
  const bool is_alone = !site.database().holds_changes();
  if (is_alone) {
    site.hold_changes();
  }
  site.database().rehearse();
  SeedFaults faults{take_fault, 0, {}};
  try {
    take_seed(site, json, folder, faults, progress);
  } catch (const SeedFailure& failure) {
    faults.add(failure.fault());
  } catch (const Consequence&) {
    // What it follows from has been told.
  } catch (...) {
    if (is_alone) {
      site.end_changes(false);
    }
    throw;
  }
  if (is_alone) {
    site.end_changes(false);
  }
  if (faults.count > 0) {
    refuse(ORK_invalid_argument, "the seed has " + std::to_string(faults.count) +
                                     (faults.count == 1 ? " fault" : " faults"));
  }
}

}  // namespace host
