// The walks, compared with plain recursive models on made-up structures; long and deep structures.

#include "support/small_stack.h"
#include "support/structure_generator.h"
#include "support/structure_site.h"

namespace {

using test::GeneratedStructure;

/** A line as a plain tree has it; the occurrence is shared like the platform's. */
struct Node {
  tag line = NULLTAG;
  int item = 0;
  GeneratedStructure::Child* occurrence = nullptr;
  std::vector<Node> below;
};

struct Descents {
  int limit;
  int counter = 0;

  bool next() { return limit == 0 || ++counter <= limit; }
};

/** Shows made-up structures of many shapes, one after the other. */
class Walks : public testing::Test {
 protected:
  /** Runs a test on each structure. */
  template <typename Test>
  void for_each_structure(const Test& test) {
    for (number = 0; number < 75; ++number) {
      SCOPED_TRACE("structure " + std::to_string(number));
      const std::string prefix = "S" + std::to_string(number) + "-";
      const int n = number;
      structure = GeneratedStructure(
          {static_cast<unsigned>(n), 1 + n % 4, n % 6, 1 + n % 7, false, n % 5 != 0, prefix});
      site.seed(structure.seed());
      top = Node();
      top.line = site.open((prefix + "0").c_str());
      grow(top);
      test();
      site.close();
    }
  }

  void grow(Node& node) {
    auto& children = structure.items[static_cast<std::size_t>(node.item)].children;
    const std::vector<tag> lines = site.children(node.line);
    ASSERT_EQ(lines.size(), children.size());
    for (std::size_t i = 0; i < children.size(); ++i) {
      node.below.push_back({lines[i], children[i].item, &children[i], {}});
      grow(node.below.back());
    }
  }

  /** Every third line, by a number that the structure's own makes. */
  void some_lines(const Node& node, std::vector<tag>& lines) const {
    for (const Node& child : node.below) {
      if ((child.line * 2654435761U + static_cast<unsigned>(number)) % 3 == 0) {
        lines.push_back(child.line);
      }
      some_lines(child, lines);
    }
  }

  void expect_occurrences(const Node& node) const {
    for (const Node& child : node.below) {
      ASSERT_EQ(site.value(child.line, "bl_sequence_no"), child.occurrence->sequence);
      expect_occurrences(child);
    }
  }

  test::StructureSite site;
  test::TraceCapture trace{ZOLP_LEVEL_OFF};
  int number = 0;
  GeneratedStructure structure{{}};
  Node top;
};

void add(std::vector<tag>& list, tag element) {
  if (std::find(list.begin(), list.end(), element) == list.end()) {
    list.push_back(element);
  }
}

int model_size(const Node& node, Descents& descents) {
  int size = 1;
  for (const Node& child : node.below) {
    size += descents.next() ? model_size(child, descents) : 0;
  }
  return size;
}

void model_exclude(const Node& node, Descents& descents, const std::vector<tag>& exclude,
                   std::vector<tag>& list) {
  for (const Node& child : node.below) {
    if (std::find(exclude.begin(), exclude.end(), child.line) == exclude.end()) {
      add(list, child.line);
    }
    if (descents.next()) {
      model_exclude(child, descents, exclude, list);
    }
  }
}

bool model_numbers(const Node& node, Descents& descents, std::vector<tag>& list) {
  for (const Node& child : node.below) {
    const int number = std::atoi(child.occurrence->sequence.c_str());
    if (number == 0) {
      return false;
    }
    add(list, static_cast<tag>(number));
    if (descents.next() && !model_numbers(child, descents, list)) {
      return false;
    }
  }
  return true;
}

TEST_F(Walks, CollectWhatAPlainWalkCollects) {
  for_each_structure([&] {
    for (const int limit : {0, 1, 7}) {
      Descents descents{limit};
      int counter = 0;
      int size = 0;
      EXPECT_EQ(ZOLP_getSizeOfPS(top.line, limit, &counter, &size), 0);
      EXPECT_EQ(size, model_size(top, descents));
      EXPECT_EQ(counter, descents.counter);

      std::vector<tag> exclude;
      some_lines(top, exclude);
      std::vector<tag> expected;
      List lines;
      descents.counter = counter = 0;
      model_exclude(top, descents, exclude, expected);
      EXPECT_EQ(ZOLP_excludeListFromBom(top.line, &counter, limit, static_cast<int>(exclude.size()),
                                        exclude.data(), &lines.count, &lines.array),
                0);
      EXPECT_EQ(lines.tags(), expected);

      List numbers;
      expected.clear();
      descents.counter = counter = 0;
      const bool is_complete = model_numbers(top, descents, expected);
      EXPECT_EQ(ZOLP_getSeqNoListOfBom(top.line, limit, &counter, &numbers.count, &numbers.array),
                is_complete ? 0 : 1);
      EXPECT_EQ(numbers.tags(), expected);
    }
  });
}

void model_export(const Node& node, const std::function<tag(int)>& object, std::vector<tag>& list) {
  for (const Node& child : node.below) {
    add(list, object(node.item));
    model_export(child, object, list);
  }
}

TEST_F(Walks, ExportAndFindWhatAPlainWalkDoes) {
  for_each_structure([&] {
    std::map<int, tag> items;
    std::map<int, tag> revisions;
    for (std::size_t i = 0; i < structure.items.size(); ++i) {
      items[static_cast<int>(i)] = site.find(structure.items[i].id.c_str());
      revisions[static_cast<int>(i)] = site.find(structure.items[i].id.c_str(), "A");
    }
    for (const bool wants_items : {true, false}) {
      std::vector<tag> expected;
      List objects;
      model_export(
          top, [&](int item) { return (wants_items ? items : revisions)[item]; }, expected);
      EXPECT_EQ(ZOLP_exportObjectsFromBom(top.line, wants_items ? "Item" : "ItemRevision", nullptr,
                                          0, &objects.count, &objects.array),
                0);
      EXPECT_EQ(objects.tags(), expected);
    }
    for (const Node& child : top.below) {
      for (const Node& wanted : child.below) {
        logical found = 0;
        EXPECT_EQ(ZOLP_existObjectInBom(wanted.line, child.line, &found), 0);
        EXPECT_EQ(found, 1);
        ZOLP_existObjectInBom(wanted.line, top.line, &found);
        const bool is_direct =
            std::any_of(top.below.begin(), top.below.end(),
                        [&](const Node& direct) { return direct.item == wanted.item; });
        EXPECT_EQ(found, is_direct ? 1 : 0);
      }
    }
  });
}

void model_resequence(Node& node, int number, int step, int max_depth, int& depth,
                      const std::vector<tag>& not_desired) {
  const std::size_t passes = std::max<std::size_t>(not_desired.size(), 1);
  for (std::size_t k = 0; k < passes; ++k) {
    for (std::size_t i = 0; i < node.below.size(); ++i) {
      Node& child = node.below[i];
      if (!not_desired.empty() && child.line == not_desired[k]) {
        continue;
      }
      const auto first =
          std::find_if(node.below.begin(), node.below.begin() + static_cast<std::ptrdiff_t>(i),
                       [&](const Node& earlier) { return earlier.item == child.item; });
      if (first != node.below.begin() + static_cast<std::ptrdiff_t>(i)) {
        child.occurrence->sequence = first->occurrence->sequence;
      } else {
        child.occurrence->sequence = std::to_string(number);
        number += step;
      }
    }
  }
  if (max_depth != 0 && ++depth > max_depth) {
    return;
  }
  for (Node& child : node.below) {
    model_resequence(child, number, step, max_depth, depth, not_desired);
  }
}

TEST_F(Walks, NumberAsAPlainWalkDoes) {
  for_each_structure([&] {
    std::vector<tag> some;
    some_lines(top, some);
    some.resize(std::min<std::size_t>(some.size(), 3));
    for (const auto& [max_depth, not_desired] :
         {std::pair{0, std::vector<tag>()}, {-1, {}}, {1, {}}, {3, {}}, {0, some}}) {
      int start = 5;
      int step = 3;
      int depth = 0;
      int model_depth = 0;
      std::vector<tag> lines = not_desired;
      EXPECT_EQ(ZOLP_resequence_bom(top.line, &start, &step, 1, max_depth, &depth, lines.data(),
                                    static_cast<int>(lines.size())),
                0);
      model_resequence(top, start, step, max_depth, model_depth, not_desired);
      EXPECT_EQ(depth, model_depth);
      expect_occurrences(top);
    }
  });
}

// ------------------------------------------------------------------------------- long and deep

TEST(StructureScale, TwoThousandLevels) {
  constexpr int levels = 2000;
  test::StructureSite site;
  test::TraceCapture trace{ZOLP_LEVEL_OFF};
  GeneratedStructure chain({1, levels, 1, 1, true});
  site.seed(chain.seed());
  const tag top = site.open("I0");
  test::on_small_stack([&] {
    int counter = 0;
    int size = 0;
    EXPECT_EQ(ZOLP_getSizeOfPS(top, 0, &counter, &size), 0);
    EXPECT_EQ(size, levels + 1);
    int start = 1;
    int step = 1;
    EXPECT_EQ(ZOLP_resequence_bom(top, &start, &step, 1, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(ZOLP_pack_bom(top, 1), 0);
    EXPECT_EQ(ZOLP_get_max_depth_of_ps(top, 0, &size), 0);
    logical found = 1;
    EXPECT_EQ(ZOLP_existObjectInBom(top, top, &found), 0);
    List lines, numbers, items, datasets;
    EXPECT_EQ(ZOLP_excludeListFromBom(top, &counter, 0, 0, nullptr, &lines.count, &lines.array), 0);
    EXPECT_EQ(lines.count, levels);
    EXPECT_EQ(ZOLP_getSeqNoListOfBom(top, 0, &counter, &numbers.count, &numbers.array), 0);
    EXPECT_EQ(numbers.count, levels);
    for (const auto& [class_name, list] : {std::pair{"Item", &items}, {"Dataset", &datasets}}) {
      EXPECT_EQ(ZOLP_exportObjectsFromBom(top, class_name, nullptr, 0, &list->count, &list->array),
                0);
    }
    EXPECT_EQ(items.count, levels);
  });
}

TEST(StructureScale, ManySiblingsAndNumbers) {
  test::StructureSite site;
  test::TraceCapture trace{ZOLP_LEVEL_OFF};
  constexpr int pairs = 300;
  std::string description = "T:";
  for (int i = 0; i < pairs; ++i) {
    const std::string id = "P" + std::to_string(i);
    description += " " + id + " " + id;
  }
  const tag top = site.show(description);
  constexpr int used = 20'000;
  std::vector<tag> numbers(used);
  for (int i = 0; i < used; ++i) {
    numbers[static_cast<std::size_t>(i)] = static_cast<tag>(i + 1);
  }
  test::on_small_stack([&] {
    EXPECT_EQ(ZOLP_pack_bom(top, 1), 0);  // begins anew for each pair
    int number = 1;
    EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, 1, used, numbers.data()), 0);
    EXPECT_EQ(number, used + 1);
  });
  EXPECT_EQ(site.children(top).size(), static_cast<std::size_t>(pairs));
}

TEST(StructureScale, NumberingIsLinearInTheSiblings) {
  test::StructureSite site;
  test::TraceCapture trace{ZOLP_LEVEL_OFF};
  constexpr std::size_t siblings = 10'000;
  GeneratedStructure wide({1, 1, static_cast<int>(siblings), 2000, true});
  site.seed(wide.seed());
  const tag top = site.open("I0");
  int start = 1;
  int step = 1;
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_resequence_bom(top, &start, &step, 0, 0, nullptr, nullptr, 0), 0);
  ork_host_stop_journal();
  EXPECT_LE(test::Site::journal().size(), 1 + 5 * siblings);
}

}  // namespace
