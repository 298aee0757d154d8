#include "cycles.h"

#include <algorithm>

namespace host {

namespace {

enum class Visit { unseen, under_way, done };

/** Depth first, without recursion: a structure may be as deep as it has objects. */
class Search {
 public:
  explicit Search(const ObjectsBelow& below) : below_(below) {}

  void from(tag top) {
    enter(top);
    while (!path_.empty()) {
      Step& step = path_.back();
      const auto found = below_.find(step.object);
      if (found == below_.end() || step.next == found->second.size()) {
        progress_[step.object] = Visit::done;
        path_.pop_back();
        continue;
      }
      const tag child = found->second[step.next++];
      if (progress_[child] == Visit::unseen) {
        enter(child);
      } else if (progress_[child] == Visit::under_way) {
        note_cycle(child);
      }
    }
  }

  bool has_seen(tag object) { return progress_[object] != Visit::unseen; }
  std::vector<std::vector<tag>> take() { return std::move(cycles_); }

 private:
  struct Step {
    tag object;
    std::size_t next; /**< of the objects below it */
  };

  void enter(tag object) {
    progress_[object] = Visit::under_way;
    path_.push_back({object, 0});
  }

  void note_cycle(tag top) {
    const auto start = std::find_if(path_.begin(), path_.end(),
                                    [top](const Step& step) { return step.object == top; });
    std::vector<tag>& cycle = cycles_.emplace_back();
    for (auto step = start; step != path_.end(); ++step) {
      cycle.push_back(step->object);
    }
    cycle.push_back(top);
  }

  const ObjectsBelow& below_;
  std::unordered_map<tag, Visit> progress_;
  std::vector<Step> path_;
  std::vector<std::vector<tag>> cycles_;
};

}  // namespace

std::vector<std::vector<tag>> find_cycles(const ObjectsBelow& below) {
  std::vector<tag> tops;
  for (const auto& [object, children] : below) {
    tops.push_back(object);
  }
  std::sort(tops.begin(), tops.end());  // the same cycles in the same order every time
  Search search(below);
  for (const tag top : tops) {
    if (!search.has_seen(top)) {
      search.from(top);
    }
  }
  return search.take();
}

}  // namespace host
