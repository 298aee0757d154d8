#include "structure_picture.h"

#include <deque>
#include <map>
#include <string>

#include "structure.h"

namespace tool {

namespace {

std::string id_of(const Line& line) {
  return line.item + "/" + (line.revision.empty() ? "?" : line.revision);
}

std::vector<std::string> label_of(const Line& line) {
  std::vector<std::string> label = {id_of(line)};
  if (!line.name.empty()) {
    label.push_back(line.name);
  }
  for (const std::string& status : line.statuses) {
    label.push_back("[" + status + "]");
  }
  if (line.has_hidden) {
    label.push_back("...");
  }
  return label;
}

/** "10: x2" */
std::string label_of_use(const Line& line) {
  const std::string quantity = line.quantity.empty() ? "" : "x" + line.quantity;
  return line.sequence + (line.sequence.empty() || quantity.empty() ? "" : ": ") + quantity;
}

}  // namespace

Picture structure_picture(tag top, int depth) {
  struct Assembly {
    size_t box;
    int depth;
    std::vector<tag> below;
  };
  std::vector<tag> below;
  const Line first = read_line(top, depth, &below);
  Picture picture(id_of(first));
  std::map<std::string, size_t> boxes;
  boxes[id_of(first)] = picture.add_box(label_of(first));
  // Level by level: a revision is met first where the most of what is below it is to be shown.
  std::deque<Assembly> assemblies = {{boxes[id_of(first)], depth, below}};
  while (!assemblies.empty()) {
    const Assembly assembly = std::move(assemblies.front());
    assemblies.pop_front();
    for (const tag child : assembly.below) {
      const Line line = read_line(child, assembly.depth - 1, &below);
      const auto [known, is_new] = boxes.emplace(id_of(line), 0);
      if (is_new) {
        known->second = picture.add_box(label_of(line));
        assemblies.push_back({known->second, assembly.depth - 1, below});
      }
      picture.add_arrow(assembly.box, known->second, label_of_use(line));
    }
  }
  return picture;
}

}  // namespace tool
