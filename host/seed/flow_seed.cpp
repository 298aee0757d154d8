#include "flow_seed.h"

#include <limits>

#include "flow_engine.h"
#include "ork/flow.h"
#include "seed_writer.h"

namespace host {

namespace {

/** How deep tasks may be nested; the engine and the tree of `zolp job show` follow them down. */
constexpr int max_depth = 32;

constexpr int max_number = std::numeric_limits<int>::max();

class ProcessTemplateSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  void take(const Node& node) {
    node.allow_only({"name", "description", "handlers", "tasks"});
    const Node name = node.at("name");
    const tag process = ensure(name, "ProcessTemplate", {{"template_name", name.name()}});
    put_text(node, "description", process, "template_desc");
    const tag root = take_task(node, store_.reference(process, "root_template"), eFLOWRootTask);
    take_sub_tasks(node, root, sub_tasks_of(node, "tasks", 0), 1);
    put(node, process, "root_template", root);
  }

 private:
  /** A sub-task of the seed and the result that leads to it; 0 outside of branches. */
  struct SubTask {
    Node node;
    int branch;
  };

  static std::vector<SubTask> sub_tasks_of(const Node& owner, const char* member, int branch) {
    std::vector<SubTask> tasks;
    for (const Node& node : owner.items_of(member)) {
      tasks.push_back({node, branch});
    }
    return tasks;
  }

  /** The task template, without what is below it. One of another type is not changed into it. */
  tag take_task(const Node& node, tag known, int type) {
    const std::string name = node.at("name").name();
    const bool is_same = known != NULLTAG && store_.integer(known, "task_type") == type;
    const tag task =
        is_same ? known : make(node, "TaskTemplate", {{"object_name", name}, {"task_type", type}});
    put(node.at("name"), task, "object_name", name);
    take_handlers(node, task);
    return task;
  }

  void take_handlers(const Node& owner, tag task) {
    Values names;
    Values actions;
    Values arguments;
    for (const Node& node : owner.items_of("handlers")) {
      node.allow_only({"on", "name", "arguments"});
      const Node on = node.at("on");
      if (on.text() != "start" && on.text() != "complete") {
        on.refuse("expected start or complete");
      }
      names.emplace_back(node.at("name").name());
      actions.emplace_back(on.text() == "start" ? int{FLOW_start_action}
                                                : int{FLOW_complete_action});
      arguments.emplace_back(arguments_of(node));
    }
    put_list(owner, task, "handler_names", names);
    put_list(owner, task, "handler_actions", actions);
    put_list(owner, task, "handler_arguments", arguments);
  }

  static std::string arguments_of(const Node& handler) {
    std::string lines;
    for (const Node& node : handler.items_of("arguments")) {
      const std::string line = node.text();
      if (line.find('\n') != std::string::npos) {
        node.refuse("must not contain a line feed");
      }
      lines += (lines.empty() ? "" : "\n") + line;
    }
    return lines;
  }

  void take_sub_tasks(const Node& owner, tag task, const std::vector<SubTask>& wanted, int depth) {
    if (depth > max_depth) {
      owner.refuse("the tasks are nested more than " + std::to_string(max_depth) + " deep");
    }
    const std::vector<tag> known = flow::references(task, "sub_tasks");
    Values taken;
    for (const SubTask& sub_task : wanted) {
      const tag held = taken.size() < known.size() ? known[taken.size()] : NULLTAG;
      taken.emplace_back(take_sub_task(sub_task, held, depth));
    }
    replace_sub_tasks(owner, task, known, taken);
  }

  /** Those that are known and were not taken go. */
  void replace_sub_tasks(const Node& owner, tag task, const std::vector<tag>& known,
                         const Values& taken) {
    put_list(owner, task, "sub_tasks", taken);
    for (const tag held : known) {
      if (std::find(taken.begin(), taken.end(), Scalar(held)) != taken.end()) {
        continue;
      }
      const std::vector<tag> parts = flow::tasks_from(held);
      store_.lock(held);
      store_.remove(held, {parts.begin() + 1, parts.end()});
    }
  }

  tag take_sub_task(const SubTask& sub_task, tag held, int depth) {
    const Node& node = sub_task.node;
    const auto type = node.find("type");
    const std::string type_name = type ? type->text() : "task";
    tag task = NULLTAG;
    if (type_name == "task") {
      node.allow_only({"name", "type", "handlers", "tasks"});
      task = take_task(node, held, eFLOWPlainTask);
      take_sub_tasks(node, task, sub_tasks_of(node, "tasks", 0), depth + 1);
    } else if (type_name == "condition") {
      node.allow_only({"name", "type", "handlers", "branches"});
      task = take_task(node, held, eFLOWConditionTask);
      take_sub_tasks(node, task, branches_of(node), depth + 1);
    } else if (type_name == "review") {
      node.allow_only({"name", "type", "handlers", "quorum", "signoffs"});
      task = take_task(node, held, eFLOWReviewTask);
      take_team(node, task);
    } else {
      type->refuse("expected task, review or condition");
    }
    put(node, task, "branch", sub_task.branch);
    return task;
  }

  static std::vector<SubTask> branches_of(const Node& node) {
    std::vector<SubTask> tasks;
    for (const Node& branch : node.items_of("branches")) {
      branch.allow_only({"result", "tasks"});
      const std::vector<SubTask> more =
          sub_tasks_of(branch, "tasks", result_of(branch.at("result")));
      tasks.insert(tasks.end(), more.begin(), more.end());
    }
    return tasks;
  }

  static int result_of(const Node& node) {
    if (!node.is_logical()) {
      return node.number_up_to(max_number);
    }
    return node.logical_value() ? FLOW_condition_true : FLOW_condition_false;
  }

  /** A review has one sub-task, which holds its signoffs; without signoffs it has none. */
  void take_team(const Node& node, tag review) {
    Values members;
    for (const Node& member : node.items_of("signoffs")) {
      members.emplace_back(member.find("pool") ? find_object(member) : find_member(member));
    }
    const auto quorum = node.find("quorum");
    const int needed = quorum ? quorum->number_up_to(max_number) : 0;
    if (quorum && static_cast<std::size_t>(needed) > members.size()) {
      quorum->refuse("there are not as many signoffs");
    }
    put(node, review, "quorum", needed);
    const std::vector<tag> known = flow::references(review, "sub_tasks");
    Values sub_tasks;
    if (!members.empty()) {
      sub_tasks.emplace_back(take_team_task(node, known.empty() ? NULLTAG : known.front()));
      put_list(node, std::get<tag>(sub_tasks.front()), "signoff_members", members);
    }
    replace_sub_tasks(node, review, known, sub_tasks);
  }

  tag take_team_task(const Node& node, tag known) {
    return known != NULLTAG ? known
                            : make(node, "TaskTemplate",
                                   {{"object_name", std::string(flow::team_task_name)},
                                    {"task_type", int{eFLOWSelectSignoffTask}}});
  }

  /** {"user": id}, with "group" and "role" where the user has several memberships. */
  tag find_member(const Node& node) {
    node.allow_only({"user", "group", "role"});
    Store::Criteria wanted = {{"member_user", find_user(node.at("user"))}};
    if (const auto group = node.find("group")) {
      wanted.emplace_back("member_group", find_group(*group));
    }
    if (const auto role = node.find("role")) {
      wanted.emplace_back("member_role", find_role(*role));
    }
    const tag member = store_.find_one("GroupMember", wanted);
    if (member == NULLTAG) {
      node.refuse("the user has no such membership");
    }
    return member;
  }
};

}  // namespace

void take_process_template(SeedRun& run, const Node& node) {
  ProcessTemplateSeeder(run).take(node);
}

}  // namespace host
