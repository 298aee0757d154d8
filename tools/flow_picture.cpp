#include "flow_picture.h"

#include <map>

#include "jobs.h"

namespace tool {

namespace {

/** Where an arrow begins. */
struct Exit {
  size_t box;
  std::string label;
};
using Exits = std::vector<Exit>;

std::string text_of(const Json& json, const char* member) {
  const auto found = json.find(member);
  return found != json.end() && found->is_string() ? found->get<std::string>() : "";
}

Mark mark_of(const Json& task) {
  static const std::map<std::string, Mark> marks{{"Completed", Mark::done},
                                                 {"Started", Mark::running},
                                                 {"Stopped", Mark::stopped},
                                                 {"Skipped", Mark::left_out}};
  const auto mark = marks.find(text_of(task, "state"));
  return mark != marks.end() ? mark->second : Mark::none;
}

/** What a box says of a task: its name, its state, and who decides or has decided what. */
std::vector<std::string> label_of(const Json& task) {
  std::vector<std::string> lines = {text_of(task, "name")};
  if (const std::string state = text_of(task, "state"); !state.empty()) {
    lines.push_back(state);
  }
  for (const Json& handler : task.value("handlers", Json::array())) {
    lines.push_back("on " + text_of(handler, "on") + ": " + text_of(handler, "name"));
  }
  for (const Json& signoff : task.value("signoffs", Json::array())) {
    if (signoff.is_object()) {
      lines.push_back(text_of(signoff, "member") + ": " + text_of(signoff, "decision"));
    }
  }
  return lines;
}

/** The branch of a condition that a task is on; 0 for none. */
int branch_of(const Json& task) {
  const int result = task.value("on_result", 0);
  return result != 0 ? result : task.value("branch", 0);
}

class FlowChart {
 public:
  explicit FlowChart(Picture& picture) : picture_(picture) {}

  Exits add_all(const Json& tasks, Exits exits) {
    for (const Json& task : tasks) {
      // The team of a review is shown as the review's signoffs.
      if (text_of(task, "type") != "team") {
        exits = add(task, exits);
      }
    }
    return exits;
  }

  void lead(const Exits& exits, size_t box) {
    for (const Exit& exit : exits) {
      picture_.add_arrow(exit.box, box, exit.label);
    }
  }

 private:
  Exits add(const Json& task, const Exits& exits) {
    const bool is_condition = text_of(task, "type") == "condition";
    const size_t box =
        picture_.add_box(label_of(task), is_condition ? Shape::diamond : Shape::box, mark_of(task));
    lead(exits, box);
    const Json tasks = task.value("tasks", Json::array());
    return is_condition ? add_branches(tasks, box) : add_all(tasks, {{box, ""}});
  }

  /** Each branch runs its tasks in their order; a result without a branch goes straight on. */
  Exits add_branches(const Json& tasks, size_t condition) {
    std::map<int, Json> branches;
    for (const Json& task : tasks) {
      branches[branch_of(task)].push_back(task);
    }
    Exits exits;
    for (const auto& [result, branch] : branches) {
      const Exits ends = add_all(branch, {{condition, result_text(result)}});
      exits.insert(exits.end(), ends.begin(), ends.end());
    }
    exits.push_back({condition, branches.empty() ? "" : "otherwise"});
    return exits;
  }

  Picture& picture_;
};

}  // namespace

Picture flow_picture(const std::string& title, const Json& root) {
  Picture picture(title);
  FlowChart chart(picture);
  const std::string state = text_of(root, "state");
  std::vector<std::string> start = {title};
  std::vector<std::string> end = label_of(root);
  end[0] = "end";
  if (!state.empty()) {
    start.push_back(state);
    end.erase(end.begin() + 1);
  }
  const size_t first = picture.add_box(start, Shape::rounded, mark_of(root));
  const Exits exits = chart.add_all(root.value("tasks", Json::array()), {{first, ""}});
  const Mark last = mark_of(root) == Mark::done ? Mark::done : Mark::none;
  chart.lead(exits, picture.add_box(end, Shape::rounded, last));
  return picture;
}

}  // namespace tool
