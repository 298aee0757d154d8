// Jobs with many targets and tasks: brought up to date, listed, and run to give a status.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "groups.h"
#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork_host.h"
#include "ratios.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

constexpr int few_targets = 1'000;
constexpr int many_targets = 10'000;
constexpr int targets_per_task = 10;

void require(int status) {
  if (status != ORK_ok) {
    std::abort();
  }
}

/** A review that waits, and plain tasks behind it. */
std::string template_json(const std::string& name, int tasks) {
  std::string json = R"({"name": ")" + name +
                     R"(", "tasks": [{"name": "Check", "type": "review",
                        "signoffs": [{"user": "ada"}, {"pool": {"group": "engineering"}}]})";
  for (int i = 1; i < tasks; ++i) {
    json += R"(, {"name": "Task )" + std::to_string(i) + R"("})";
  }
  return json + "]}";
}

/** A job of one of the two sizes, with its targets. */
struct SizedJob {
  tag job = NULLTAG;
  std::vector<tag> targets;
};

tag create_job(const char* name, const std::vector<tag>& targets) {
  tag process = NULLTAG;
  tag job = NULLTAG;
  const std::vector<int> types(targets.size(), FLOW_target_attachment);
  require(FLOW_find_process_template(name, &process));
  require(FLOW_create_process(name, "", process, static_cast<int>(targets.size()), targets.data(),
                              types.data(), &job));
  return job;
}

SizedJob make_job(const std::string& prefix, int target_count) {
  const std::string name = prefix + " job";
  std::string items;
  for (int i = 0; i < target_count; ++i) {
    items += std::string(i == 0 ? "" : ",") + R"({"id": ")" + prefix + std::to_string(i) +
             R"(", "name": "Target"})";
  }
  require(ork_host_seed((R"({"items": [)" + items + R"(], "process_templates": [)" +
                         template_json(name, target_count / targets_per_task) + "]}")
                            .c_str()));
  SizedJob made;
  for (int i = 0; i < target_count; ++i) {
    require(ork_host_find_item((prefix + std::to_string(i)).c_str(), nullptr,
                               &made.targets.emplace_back()));
  }
  made.job = create_job(name.c_str(), made.targets);
  return made;
}

/** Both jobs, made when they are first wanted, on the site that is open. */
const SizedJob& sized_job(int target_count) {
  static const SizedJob few = make_job("few", few_targets);
  static const SizedJob many = make_job("many", many_targets);
  static const int seeded =
      ork_host_seed(R"({"process_templates": [{"name": "Release", "handlers": [
    {"on": "start", "name": "clear-release-status"},
    {"on": "complete", "name": "set-release-status", "arguments": ["status=Released"]}]}]})");
  require(seeded);
  return target_count == few_targets ? few : many;
}

template <typename Action>
void measure(benchmark::State& state, int target_count, Action action) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  const SizedJob& sized = sized_job(target_count);
  for (auto _ : state) {
    for (const tag target : sized.targets) {
      require(OBJ_unload(target));
    }
    const Stopwatch stopwatch;
    action(sized);
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * target_count);
}

void refresh_and_list(const SizedJob& sized) {
  int count = 0;
  tag* targets = nullptr;
  require(ZOLP_refresh_entire_job(sized.job));
  require(ZOLP_ask_target_objects(sized.job, &count, &targets));
  MEM_free(targets);
}

void refresh_many(benchmark::State& state) {
  measure(state, many_targets, refresh_and_list);
}
void refresh_few(benchmark::State& state) {
  measure(state, few_targets, refresh_and_list);
}

void release(const SizedJob& sized) {
  char name[ZOLP_JOB_NAME_SIZE + 1] = "Release ";
  std::vector<tag> targets = sized.targets;
  require(ZOLP_addReleaseStatusWithTmpJob(static_cast<int>(targets.size()), targets.data(), name,
                                          "Release"));
}

void release_many(benchmark::State& state) {
  measure(state, many_targets, release);
}
void release_few(benchmark::State& state) {
  measure(state, few_targets, release);
}

void create_and_delete(const SizedJob& sized, const char* name) {
  require(ZOLP_deleteJob(create_job(name, sized.targets)));
}

void create_and_delete_many(benchmark::State& state) {
  measure(state, many_targets, [](const SizedJob& sized) { create_and_delete(sized, "many job"); });
}
void create_and_delete_few(benchmark::State& state) {
  measure(state, few_targets, [](const SizedJob& sized) { create_and_delete(sized, "few job"); });
}

}  // namespace

void add_job_benchmarks() {
  compare({"job refreshed and listed, a target of 10,000",
           "job refreshed and listed, a target of 1,000", 1.3},
          refresh_many, refresh_few, 1);
  compare({"status by a temporary job, a target of 10,000",
           "status by a temporary job, a target of 1,000", 1.3},
          release_many, release_few, 1);
  compare(
      {"job made and deleted, a target of 10,000", "job made and deleted, a target of 1,000", 1.3},
      create_and_delete_many, create_and_delete_few, 1);
}

}  // namespace bench
