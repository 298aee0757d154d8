// The clone entries of an assembly tree.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "groups.h"
#include "ratios.h"
#include "site.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

constexpr int records = 100'000;
constexpr std::size_t line_size = 500;

/** Siblings that are cloned, with a template of usual size. */
class Assembly {
 public:
  Assembly() : entries_(records) {
    template_path = site().folder.write("template.txt",
                                        "item %%ITEM_ID%%/%%ITEM_REV%%\n"
                                        "  new_id = %%NEW_ID%%\n"
                                        "  new_revision = %%NEW_REV%%\n"
                                        "  new_name = \"%%NEW_NAME%%\"\n"
                                        "  action = clone\n");
    site().preference("VPD_clone_itemtemplate", template_path);
    out_path = site().folder.path("entries.txt");
    for (int i = 0; i < records; ++i) {
      fill(entries_[static_cast<std::size_t>(i)], std::to_string(4700000 + i));
    }
    for (std::size_t i = 1; i < entries_.size(); ++i) {
      entries_[i - 1].next = &entries_[i];
    }
  }

  assy_entry* root() { return entries_.data(); }

  std::string template_path;
  std::string out_path;

 private:
  static void fill(assy_entry& entry, const std::string& id) {
    std::snprintf(entry.type, sizeof entry.type, "ItemRev");
    std::snprintf(entry.mode, sizeof entry.mode, "CLONE");
    std::snprintf(entry.item_id, sizeof entry.item_id, "%s", id.c_str());
    std::snprintf(entry.item_rev, sizeof entry.item_rev, "A");
    std::snprintf(entry.new_item_id, sizeof entry.new_item_id, "N-%s", id.c_str());
    std::snprintf(entry.new_item_rev, sizeof entry.new_item_rev, "B");
    std::snprintf(entry.new_name, sizeof entry.new_name, "New name of %s", id.c_str());
  }

  std::vector<assy_entry> entries_;
};

Assembly& assembly() {
  static Assembly one;
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  return one;
}

template <typename Write>
void write_entries(benchmark::State& state, Write write) {
  Assembly& tree = assembly();
  for (auto _ : state) {
    std::FILE* out = std::fopen(tree.out_path.c_str(), "w");
    const Stopwatch stopwatch;
    write(tree, out);
    state.SetIterationTime(stopwatch.seconds());
    std::fclose(out);
  }
  state.SetItemsProcessed(state.iterations() * records);
}

void write_with_library(benchmark::State& state) {
  write_entries(state,
                [](Assembly& tree, std::FILE* out) { ZOLP_write_assylist(out, tree.root()); });
}

void substitute(char* line, const char* placeholder, const char* value) {
  char* at = std::strstr(line, placeholder);
  if (at == nullptr) {
    return;
  }
  char replaced[line_size];
  std::snprintf(replaced, sizeof replaced, "%.*s%s%s", static_cast<int>(at - line), line, value,
                at + std::strlen(placeholder));
  std::strcpy(line, replaced);
}

/** Does no more than open the template for each record, substitute and write. */
void write_plainly(benchmark::State& state) {
  write_entries(state, [](Assembly& tree, std::FILE* out) {
    for (const assy_entry* entry = tree.root(); entry != nullptr; entry = entry->next) {
      std::FILE* lines = std::fopen(tree.template_path.c_str(), "r+");
      char line[line_size];
      while (std::fgets(line, sizeof line, lines) != nullptr) {
        substitute(line, "%%ITEM_ID%%", entry->item_id);
        substitute(line, "%%ITEM_REV%%", entry->item_rev);
        substitute(line, "%%NEW_REV%%", entry->new_item_rev);
        substitute(line, "%%NEW_ID%%", entry->new_item_id);
        substitute(line, "%%NEW_NAME%%", entry->new_name);
        std::fputs(line, out);
      }
      std::fclose(lines);
    }
  });
}

}  // namespace

void add_clone_benchmarks() {
  compare({"clone entry, one of 100,000", "a C loop that fills the template for each", 1.5},
          write_with_library, write_plainly, 1);
}

}  // namespace bench
