/** @file `zolp job template`: one process template, or the names of all. */
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "commands/job.h"
#include "error.h"
#include "flow_picture.h"
#include "site.h"
#include "text.h"

namespace tool {

namespace {

struct TemplateOptions {
  std::string site, name;
  bool json = false;
  PictureOptions picture;
};

/** A task with those below it in one list, and on which result of a condition each is. */
Json with_branches(Json task) {
  Json tasks = task.value("tasks", Json::array());
  for (const Json& branch : task.value("branches", Json::array())) {
    const Json& result = branch["result"];
    for (Json on_result : branch.value("tasks", Json::array())) {
      on_result["branch"] = result.is_boolean() ? Json(result ? 1 : 2) : result;
      tasks.push_back(std::move(on_result));
    }
  }
  for (Json& below : tasks) {
    below = with_branches(std::move(below));
  }
  task.erase("signoffs");
  task["tasks"] = std::move(tasks);
  return task;
}

void print_tasks(const Json& tasks, const std::string& indent) {
  for (const Json& task : tasks) {
    const bool is_last = &task == &tasks.back();
    std::string line = task["name"].get<std::string>();
    if (const int result = task.value("branch", 0); result != 0) {
      line = "on " + result_text(result) + ": " + line;
    }
    if (const std::string type = task.value("type", "task"); type != "task") {
      line += "  (" + type + ")";
    }
    std::printf("%s%s%s\n", indent.c_str(), is_last ? "└── " : "├── ", printable(line).c_str());
    print_tasks(task.value("tasks", Json::array()), indent + (is_last ? "    " : "│   "));
  }
}

void list_templates(const Json& templates, bool as_json) {
  if (as_json) {
    return print_json(templates);
  }
  Table table({"name", "description"});
  for (const Json& process : templates) {
    table.add_row({process["name"], process.value("description", "")});
  }
  table.print();
}

void show_template(const TemplateOptions& options) {
  const Site site(site_file(options.site));
  const Json templates = Json::parse(site.describe("process_templates"));
  if (options.name.empty() && !options.picture.wanted()) {
    return list_templates(templates, options.json);
  }
  const auto found = std::find_if(templates.begin(), templates.end(), [&](const Json& process) {
    return process["name"] == options.name;
  });
  if (options.name.empty()) {
    throw usage_error("no process template is named", "name the one to draw");
  }
  if (found == templates.end()) {
    throw Error("there is no process template " + options.name,
                "see \"zolp job template\" for what there is");
  }
  if (options.picture.wanted()) {
    print_picture(flow_picture(options.name, with_branches(*found)), options.picture);
  } else if (options.json) {
    print_json(*found);
  } else {
    std::puts(printable(options.name).c_str());
    print_tasks(with_branches(*found)["tasks"], "");
  }
}

}  // namespace

void add_job_template(CommandParser& group) {
  CommandParser& command =
      group.add_command("template", "Print a process template, or the names of all");
  const auto options = std::make_shared<TemplateOptions>();
  command.add_option("TEMPLATE", options->name, "Name of the template; all when left out")
      .type_name("");
  command.add_option("--host", options->site, "The site's file; ORK_HOST_DB when left out")
      .type_name("FILE");
  command.add_flag("--json", options->json, "Print JSON");
  add_picture_options(command, options->picture);
  command.footer("\nExample: zolp job template 'Release of parts' --mermaid --host site.db");
  command.callback([options] { show_template(*options); });
}

}  // namespace tool
