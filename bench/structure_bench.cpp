// Walks over a product structure of a hundred thousand lines, against the platform operations that
// each of them must make, and against structures a tenth as large.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "groups.h"
#include "ork/bomw.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork_host.h"
#include "ratios.h"
#include "support/structure_generator.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

void require(int status) {
  if (status != ORK_ok) {
    std::abort();
  }
}

struct Shown {
  tag window = NULLTAG;
  tag top = NULLTAG;
  long lines = 0;
};

Shown large;  // 111,110 lines
Shown small;  // 11,110 lines

/** Ten children a line, made of a hundred items a level; all of it is opened. */
Shown show(const std::string& prefix, int levels) {
  const test::GeneratedStructure structure({1, levels, 10, 100, true, true, prefix});
  require(ork_host_seed(structure.seed().c_str()));
  Shown shown;
  tag revision = NULLTAG;
  require(ork_host_find_item((prefix + "0").c_str(), "A", &revision));
  require(BOMW_create_window(&shown.window));
  require(BOMW_set_window_top_line(shown.window, revision, NULLTAG, NULLTAG, &shown.top));
  int size = 0;
  require(ZOLP_getSizeOfPS(shown.top, 0, nullptr, &size));
  shown.lines = structure.lines_below();
  if (size != shown.lines + 1) {
    std::abort();
  }
  return shown;
}

template <typename Walk>
void measure(benchmark::State& state, const Shown& shown, Walk walk) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  for (auto _ : state) {
    const Stopwatch stopwatch;
    walk(shown.top);
    state.SetIterationTime(stopwatch.seconds());
    require(BOMW_save_window(shown.window));
  }
  state.SetItemsProcessed(state.iterations() * shown.lines);
}

template <auto Walk>
void on_large(benchmark::State& state) {
  measure(state, large, Walk);
}
/** The same while the walk is recorded, in a file that is full already, as with a server, or new.
 */
template <auto Walk, bool IsNew>
void on_large_recorded(benchmark::State& state) {
  const std::string path = (std::filesystem::temp_directory_path() / "zolp-bench-walk").string();
  ZOLP_SetTraceRecording(path.c_str(), 0);
  if (!IsNew) {
    Walk(large.top);
  }
  measure(state, large, Walk);
  ZOLP_SetTraceRecording(nullptr, 0);
  std::filesystem::remove(path);
}

template <auto Walk>
void on_small(benchmark::State& state) {
  measure(state, small, Walk);
}

/** Calls something for each line below a line, and each of the walks below calls itself so. */
template <typename Visit>
void for_each_child(tag line, Visit visit) {
  int count = 0;
  tag* children = nullptr;
  require(BOMW_line_get_child_lines(line, &count, &children));
  for (int i = 0; i < count; ++i) {
    visit(children[i]);
  }
  MEM_free(children);
}

tag plain_tag(tag line, const char* name) {
  int attribute = 0;
  tag value = NULLTAG;
  require(BOMW_line_look_up_attribute(name, &attribute));
  require(BOMW_line_get_attribute_tag(line, attribute, &value));
  return value;
}

// ------------------------------------------------------------------------------- size and depth

void library_size(tag top) {
  int size = 0;
  require(ZOLP_getSizeOfPS(top, 0, nullptr, &size));
}

void library_depth(tag top) {
  int depth = 0;
  require(ZOLP_get_max_depth_of_ps(top, 0, &depth));
}

void plain_children(tag line) {
  for_each_child(line, plain_children);
}

// --------------------------------------------------------------------------------- resequencing

void library_resequence(tag top) {
  static int start = 0;
  start += 7;  // so that each run sets other numbers
  int increment = 10;
  require(ZOLP_resequence_bom(top, &start, &increment, 1, 0, nullptr, nullptr, 0));
}

void copy_number(tag from, tag to) {
  char* own = nullptr;
  char* earlier = nullptr;
  require(OBJ_get_value_string(to, "bl_sequence_no", &own));
  require(OBJ_get_value_string(from, "bl_sequence_no", &earlier));
  require(OBJ_set_value_string(to, "bl_sequence_no", earlier));
  MEM_free(own);
  MEM_free(earlier);
}

void plain_numbers(tag line, int number) {
  int count = 0;
  tag* children = nullptr;
  tag revisions[10];
  require(BOMW_line_get_child_lines(line, &count, &children));
  for (int i = 0; i < count; ++i) {
    revisions[i] = plain_tag(children[i], "bl_revision");
    const auto first = std::find(revisions, revisions + i, revisions[i]) - revisions;
    if (first < i) {
      copy_number(children[first], children[i]);
    } else {
      require(OBJ_set_value_string(children[i], "bl_sequence_no", std::to_string(number).c_str()));
      number += 10;
    }
  }
  for (int i = 0; i < count; ++i) {
    plain_numbers(children[i], number);
  }
  MEM_free(children);
}

void plain_resequence(tag top) {
  static int start = 3;
  start += 7;
  plain_numbers(top, start);
}

// --------------------------------------------------------------------------------------- packing

void library_pack(tag top) {
  require(ZOLP_pack_bom(top, 1));
}

/** What packing takes where nothing is left to merge: the children are read again for each. */
void plain_pack(tag line) {
  for_each_child(line, [line](tag child) {
    require(BOMW_line_pack(child));
    for_each_child(line, [](tag) {});
    plain_pack(child);
  });
}

// -------------------------------------------------------------------------- finding, collecting

void library_exist(tag top) {
  logical found = 0;
  require(ZOLP_existObjectInBom(top, top, &found));
}

void plain_exist_below(tag wanted, tag line) {
  const tag revision = plain_tag(wanted, "bl_revision");
  for_each_child(line, [wanted, revision](tag child) {
    if (plain_tag(child, "bl_revision") == revision) {
      std::abort();  // the top does not occur in itself
    }
    plain_exist_below(wanted, child);
  });
}

void plain_exist(tag top) {
  plain_exist_below(top, top);
}

void library_numbers(tag top) {
  int count = 0;
  tag* list = nullptr;
  require(ZOLP_getSeqNoListOfBom(top, 0, nullptr, &count, &list));
  MEM_free(list);
}

void add_once(std::vector<tag>& list, tag element) {
  if (std::find(list.begin(), list.end(), element) == list.end()) {
    list.push_back(element);
  }
}

void plain_list_numbers(tag line, std::vector<tag>& list) {
  for_each_child(line, [&list](tag child) {
    char* text = nullptr;
    require(OBJ_get_value_string(child, "bl_sequence_no", &text));
    add_once(list, static_cast<tag>(std::atoi(text)));
    MEM_free(text);
    plain_list_numbers(child, list);
  });
}

void plain_sequence_numbers(tag top) {
  std::vector<tag> list;
  plain_list_numbers(top, list);
}

void library_exclude(tag top) {
  int count = 0;
  tag* list = nullptr;
  require(ZOLP_excludeListFromBom(top, nullptr, 0, 0, nullptr, &count, &list));
  MEM_free(list);
}

void plain_list_lines(tag line, std::vector<tag>& list) {
  for_each_child(line, [&list](tag child) {
    add_once(list, child);
    plain_list_lines(child, list);
  });
}

void plain_lines(tag top) {
  std::vector<tag> list;
  plain_list_lines(top, list);
}

void library_export(tag top) {
  int count = 0;
  tag* list = nullptr;
  require(ZOLP_exportObjectsFromBom(top, "Item", nullptr, 0, &count, &list));
  MEM_free(list);
}

void plain_list_items(tag line, std::vector<tag>& list) {
  for_each_child(line, [line, &list](tag child) {
    const tag item = plain_tag(line, "bl_item");
    logical valid = 0;
    require(STORE_is_tag_valid(item, &valid));
    add_once(list, item);
    plain_list_items(child, list);
  });
}

void plain_export(tag top) {
  std::vector<tag> list;
  plain_list_items(top, list);
}

template <auto Library, auto Plain>
void compare_walk(const std::string& name, double at_most, double growth) {
  compare({name + ", a line of 111,110", name + ", its operations", at_most}, on_large<Library>,
          on_large<Plain>, 1);
  compare({name + ", a line of 111,110 (growth)", name + ", a line of 11,110", growth},
          on_large<Library>, on_small<Library>, 1);
}

}  // namespace

void add_structure_benchmarks() {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  large = show("large-", 5);
  small = show("small-", 4);
  compare_walk<library_size, plain_children>("size of a structure", 1.15, 1.3);
  // A frame and a platform call for each line, at 30 ns each.
  compare({"depth of a structure, recorded, a line of 111,110",
           "depth of a structure, neither shown nor recorded", 1.0, 60},
          on_large_recorded<library_depth, false>, on_large<library_depth>, 1);
  compare({"depth of a structure, newly recorded, a line of 111,110",
           "depth of a structure, neither shown nor recorded", 1.0, 60},
          on_large_recorded<library_depth, true>, on_large<library_depth>, 1);
  compare_walk<library_depth, plain_children>("depth of a structure", 1.15, 1.3);
  compare_walk<library_resequence, plain_resequence>("structure resequenced", 1.3, 1.3);
  compare_walk<library_pack, plain_pack>("structure packed", 1.3, 1.3);
  compare_walk<library_exist, plain_exist>("object sought in a structure", 1.3, 1.3);
  compare_walk<library_numbers, plain_sequence_numbers>("sequence numbers listed", 1.3, 1.3);
  // Their lists grow with the structure, and each addition searches them: a line of one that is ten
  // times as large takes up to ten times as long.
  compare_walk<library_export, plain_export>("items of a structure", 1.3, 10);
  compare_walk<library_exclude, plain_lines>("lines of a structure", 1.3, 10);
}

}  // namespace bench
