// Readers and copies of lists. An input is a list.

#include <algorithm>
#include <cstring>
#include <map>

#include "fuzz/site.h"
#include "tools/assembly_tree.h"
#include "zolp_orktool.h"

extern "C" {
[[gnu::weak]] void __lsan_disable(void);
[[gnu::weak]] void __lsan_enable(void);
}

namespace {

constexpr std::size_t line_size = 500;

void check_item_list(const char* path, std::string_view list) {
  int count = -1;
  char** ids = nullptr;
  char** levels = nullptr;
  int* counts = nullptr;
  fuzz::check(ZOLP_read_itemrevlist(path, &count, &ids, &levels, &counts) == 0, "the list is read");
  std::map<std::string, int> occurrences;
  int index = 0;
  for (const std::string& line : fuzz::lines_of(list, line_size)) {
    if (std::atoi(line.substr(0, 6).c_str()) < 1) {
      continue;
    }
    fuzz::check(index < count, "each item line is read");
    const std::string id = line.size() > 6 ? line.substr(6, ZOLP_LIST_FIELD_SIZE) : "";
    fuzz::check(ids[index] == id && levels[index] == line.substr(0, 6), "item id and level");
    ++occurrences[id];
    ++index;
  }
  fuzz::check(index == count, "only item lines are read");
  for (int i = 0; i < count; ++i) {
    fuzz::check(counts[i] == occurrences[ids[i]], "occurrences are counted");
    std::free(ids[i]);
    std::free(levels[i]);
  }
  std::free(ids);
  std::free(levels);
  std::free(counts);
}

void check_copies(const fuzz::MemoryFile& in, std::string_view list) {
  const fuzz::MemoryFile copy;
  const fuzz::MemoryFile second_copy;
  const bool is_plain = list.find('\0') == std::string_view::npos;
  fuzz::check(ZOLP_scan_usage(in.path(), copy.path(), 0, nullptr) == 0, "a list is copied");
  fuzz::check(!is_plain || copy.read() == list, "without texts to look for, all is copied");

  char where[] = "Where used";
  char item[] = "4711";
  char* patterns[] = {where, item};
  fuzz::check(ZOLP_scan_usage(in.path(), copy.path(), 2, patterns) == 0, "a list is copied");
  fuzz::check(copy.read().size() <= list.size(), "nothing is added");
  fuzz::check(ZOLP_clean_list(in.path(), copy.path()) == 0, "a list is copied");
  fuzz::check(copy.read().size() <= list.size(), "nothing is added");

  fuzz::check(ZOLP_remove_doubles_from_list(in.path(), copy.path()) == 0, "a list is copied");
  const std::string once = copy.read();
  ZOLP_remove_doubles_from_list(copy.path(), second_copy.path());
  const std::vector<std::string> lines = fuzz::lines_of(list, line_size);
  const bool has_whole_lines = std::all_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line.size() < line_size - 1;
  });
  fuzz::check(!is_plain || !has_whole_lines || second_copy.read() == once,
              "there are no doubles left");
}

/** Number of records; checks that what is linked forth is linked back. */
std::size_t count_records(const assy_entry* root) {
  std::size_t records = 0;
  std::vector<const assy_entry*> left;
  if (root != nullptr) {
    left.push_back(root);
  }
  while (!left.empty()) {
    const assy_entry* entry = left.back();
    left.pop_back();
    ++records;
    if (entry->next != nullptr) {
      fuzz::check(entry->next->prev == entry, "siblings");
      left.push_back(entry->next);
    }
    if (entry->child != nullptr) {
      fuzz::check(entry->child->parent == entry, "parent and child");
      left.push_back(entry->child);
    }
  }
  return records;
}

void check_tree(const char* path, std::string_view list) {
  assy_entry* last = nullptr;
  // Of several datasets of an item only the last one stays in reach: that is the contract.
  if (__lsan_disable != nullptr) {
    __lsan_disable();
  }
  const int status = ZOLP_read_assylist(path, &last);
  if (__lsan_enable != nullptr) {
    __lsan_enable();
  }
  fuzz::check(status == 0 || status == 1, "a list is read, or an item line cannot be split");
  assy_entry* root = tool::assembly_root(last);
  constexpr std::size_t records_per_line = 4;
  fuzz::check(count_records(root) <= records_per_line * fuzz::lines_of(list, line_size).size(),
              "records come from lines");
  tool::free_assembly(root);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::open_site();
  fuzz::print_into_nothing();
  const fuzz::MemoryFile list;
  const fuzz::MemoryFile log;
  const fuzz::MemoryFile header;
  list.write("1     ;4711/A                          ;\n");
  header.write("\n");
  fuzz::set_preference("Header", header.path());
  fuzz::check(ZOLP_create_clonelogheader(list.path(), log.path(), "Header") == 0, "columns");
  fuzz::trace_into_nothing();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view list = fuzz::text_of(data, size);
  const fuzz::MemoryFile in;
  in.write(list);
  check_item_list(in.path(), list);
  check_copies(in, list);
  check_tree(in.path(), list);
  return 0;
}
