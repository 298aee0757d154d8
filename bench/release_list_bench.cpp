// A release list read into an assembly tree.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "groups.h"
#include "ork/ork.h"
#include "ork_host.h"
#include "ratios.h"
#include "site.h"
#include "tools/assembly_tree.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

constexpr int short_list_lines = 100'000;
constexpr int long_list_lines = 1'000'000;

std::string short_list;
std::string long_list;

std::string write_list(const std::string& path, int lines) {
  std::FILE* file = std::fopen(path.c_str(), "w");
  std::fputs(test::header_row().c_str(), file);
  for (int i = 1; i < lines; ++i) {
    std::fputs(
        test::item_row(1 + i % 7, "47" + std::to_string(i), i % 3 == 0 ? "Released" : "").c_str(),
        file);
  }
  std::fclose(file);
  return path;
}

/** Fixes the column positions and writes the lists, when they are first used. */
void prepare() {
  if (long_list.empty()) {
    ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
    site().fix_columns();
    short_list = write_list(site().folder.path("short.txt"), short_list_lines);
    long_list = write_list(site().folder.path("long.txt"), long_list_lines);
  }
}

/** A reader that does no more than split lines and allocate the same records. */
assy_entry* read_plainly(const char* path) {
  char line[501];
  assy_entry* last = nullptr;
  std::FILE* file = std::fopen(path, "r+");
  while (std::fgets(line, 500, file) != nullptr) {
    const std::size_t length = std::strlen(line);
    const int level = std::atoi(line);
    if (level < 1 || length < 300) {
      continue;
    }
    const auto cut = [&line](char* field, int position) {
      std::memcpy(field, line + position, 128);
      field[128] = '\0';
    };
    const auto split = [&cut](char* id, char* revision, int position) {
      cut(id, position);
      char* separator = std::strchr(id, '/');
      std::strcpy(revision, separator + 1);
      *separator = '\0';
    };
    auto* entry = static_cast<assy_entry*>(std::malloc(sizeof(assy_entry)));
    split(entry->item_id, entry->item_rev, 7);
    split(entry->new_item_id, entry->new_item_rev, 106);
    cut(entry->new_name, 139);
    entry->dataset_name[0] = '\0';
    std::strcpy(entry->type, "ItemRev");
    std::strcpy(entry->mode, "CLONE");
    entry->level = level;
    entry->next = nullptr;
    entry->child = nullptr;
    entry->parent = nullptr;
    entry->prev = last;
    if (last != nullptr) {
      last->next = entry;
    }
    last = entry;
  }
  std::fclose(file);
  return last;
}

template <typename Read>
void read_list(benchmark::State& state, int lines, Read read) {
  prepare();
  for (auto _ : state) {
    const Stopwatch stopwatch;
    assy_entry* last = read();
    state.SetIterationTime(stopwatch.seconds());
    tool::free_assembly(tool::assembly_root(last));
  }
  state.SetItemsProcessed(state.iterations() * lines);
}

assy_entry* read_with_library(const std::string& list) {
  assy_entry* last = nullptr;
  ZOLP_read_assylist(list.c_str(), &last);
  return last;
}

void library_reads_short_list(benchmark::State& state) {
  read_list(state, short_list_lines, [] { return read_with_library(short_list); });
}

void library_reads_long_list(benchmark::State& state) {
  read_list(state, long_list_lines, [] { return read_with_library(long_list); });
}

void plain_reader_reads_long_list(benchmark::State& state) {
  read_list(state, long_list_lines, [] { return read_plainly(long_list.c_str()); });
}

}  // namespace

void add_release_list_benchmarks() {
  compare(
      {"release list into a tree, a line of 1,000,000", "plain C reader, a line of 1,000,000", 1.2},
      library_reads_long_list, plain_reader_reads_long_list, 1);
  compare({"release list into a tree, a line of 1,000,000 (again)",
           "release list into a tree, a line of 100,000", 1.3},
          library_reads_long_list, library_reads_short_list, 1);
}

}  // namespace bench
