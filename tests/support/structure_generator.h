/** @file Product structures made up from a number: the same number makes the same structure. */
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace test {

struct StructureShape {
  unsigned number = 1;      /**< which of the structures of this shape */
  int levels = 3;           /**< below the top */
  int children = 4;         /**< of an assembly, at most */
  int pool = 6;             /**< items per level; the fewer, the more often they occur again */
  bool full = false;        /**< whether assemblies have as many children as they may */
  bool numbered = true;     /**< whether each occurrence has a sequence number other than 0 */
  std::string prefix = "I"; /**< of the items' ids */
};

/** Items on levels, each made of items of the next level. Item 0 is the top. */
class GeneratedStructure {
 public:
  struct Child {
    int item;
    std::string quantity;
    std::string sequence;
  };
  struct Item {
    std::string id;
    std::vector<Child> children;
  };

  explicit GeneratedStructure(const StructureShape& shape) : random_(shape.number) {
    items.push_back({shape.prefix + "0", {}});
    int first = 0;  // of the level above
    for (int level = 1; level <= shape.levels; ++level) {
      const int below = static_cast<int>(items.size());
      for (int i = 0; i < shape.pool; ++i) {
        items.push_back({shape.prefix + std::to_string(items.size()), {}});
      }
      for (int parent = first; parent < below; ++parent) {
        add_children(shape, items[static_cast<std::size_t>(parent)], below);
      }
      first = below;
    }
  }

  /** Number of lines below an item. */
  long lines_below(int item = 0) const {
    std::vector<long> below(items.size());
    for (std::size_t i = items.size(); i-- > 0;) {
      for (const Child& child : items[i].children) {
        below[i] += 1 + below[static_cast<std::size_t>(child.item)];
      }
    }
    return below[static_cast<std::size_t>(item)];
  }

  long occurrences() const {
    long count = 0;
    for (const Item& item : items) {
      count += static_cast<long>(item.children.size());
    }
    return count;
  }

  /** A seed with the items, a revision "A" of each, and the structures. */
  std::string seed() const {
    std::string made = R"({"items": [)";
    for (const Item& item : items) {
      made += &item == &items.front() ? "" : ",";
      made += R"({"id": ")" + item.id + R"(", "name": "Part", "revisions": [{"id": "A"}]})";
    }
    made += R"(], "structures": [)";
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
      if (!item->children.empty()) {
        made += made.back() == '[' ? "" : ",";
        made += structure_seed(*item);
      }
    }
    return made + "]}";
  }

  std::vector<Item> items;

 private:
  int random(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

  void add_children(const StructureShape& shape, Item& parent, int below) {
    const int count = shape.full ? shape.children : random(shape.children + 1);
    for (int i = 0; i < count; ++i) {
      static constexpr const char* quantities[] = {"", "1", "2", "0.5"};
      const int sequence = shape.full ? i + 1 : random(shape.children + 2) + shape.numbered;
      parent.children.push_back({below + random(shape.pool), quantities[random(4)],
                                 sequence == 0 ? "" : std::to_string(sequence * 10)});
    }
  }

  std::string structure_seed(const Item& item) const {
    std::string made = R"({"item": ")" + item.id + R"(", "revision": "A", "lines": [)";
    for (const Child& child : item.children) {
      made += made.back() == '[' ? "" : ",";
      made += R"({"item": ")" + items[static_cast<std::size_t>(child.item)].id +
              R"(", "quantity": ")" + child.quantity + R"(", "sequence": ")" + child.sequence +
              R"("})";
    }
    return made + "]}";
  }

  std::mt19937 random_;
};

}  // namespace test
