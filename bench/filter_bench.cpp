// Filters: a pattern that was seen before, and a filter call beside the reads that it makes.

#include <regex.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "groups.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork_host.h"
#include "patterns.h"
#include "ratios.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

/** A hundred patterns as filters make them, and a value for each; every second one matches. */
struct Samples {
  Samples() {
    for (int i = 0; i < 100; ++i) {
      const std::string number = std::to_string(100 + i);
      patterns.push_back("Gear(box)?-" + number + "[A-C]");
      values.push_back("Helical Gearbox-" + number + (i % 2 == 0 ? "B" : "D"));
    }
  }
  std::vector<std::string> patterns;
  std::vector<std::string> values;
};

template <typename Match>
void match_samples(benchmark::State& state, Match match) {
  const Samples samples;
  constexpr int rounds = 100;
  int found = 0;
  const auto all = [&](int times) {
    for (int round = 0; round < times; ++round) {
      for (std::size_t i = 0; i < samples.patterns.size(); ++i) {
        found += match(samples.patterns[i].c_str(), samples.values[i].c_str()) ? 1 : 0;
      }
    }
  };
  all(1);
  for (auto _ : state) {
    const Stopwatch stopwatch;
    all(rounds);
    state.SetIterationTime(stopwatch.seconds());
  }
  benchmark::DoNotOptimize(found);
  state.SetItemsProcessed(state.iterations() * rounds *
                          static_cast<std::int64_t>(samples.patterns.size()));
}

void match_known_patterns(benchmark::State& state) {
  match_samples(state, [](const char* pattern, const char* value) {
    return orktool::Pattern::find(pattern)->matches(value);
  });
}

void compile_and_match(benchmark::State& state) {
  match_samples(state, [](const char* pattern, const char* value) {
    regex_t compiled{};
    const bool matches = regcomp(&compiled, pattern, REG_EXTENDED) == 0 &&
                         regexec(&compiled, value, 0, nullptr, 0) == 0;
    regfree(&compiled);
    return matches;
  });
}

/** An item on the site that is open, made when it is first wanted. */
tag filtered_item() {
  static const tag item = [] {
    tag found = NULLTAG;
    const bool is_made =
        ork_host_seed(R"({"items": [{"id": "F1", "name": "Helical Gearbox-100B"}]})") == ORK_ok &&
        ork_host_find_item("F1", nullptr, &found) == ORK_ok;
    if (!is_made) {
      std::abort();
    }
    return found;
  }();
  return item;
}

template <typename Use>
void use_item(benchmark::State& state, Use use) {
  constexpr int calls = 10'000;
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  const tag item = filtered_item();
  for (auto _ : state) {
    const Stopwatch stopwatch;
    for (int i = 0; i < calls; ++i) {
      use(item);
    }
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

void filter_an_object(benchmark::State& state) {
  use_item(state, [](tag item) {
    bool match = false;
    ZOLP_ApplyRegExpFilter(item, "Gear", "Item", &match);
    benchmark::DoNotOptimize(match);
  });
}

/** The reads that the filter makes; gives each value to `use`. */
template <typename Use>
void read_name_and_type(tag item, Use use) {
  for (const char* property : {"object_name", "object_type"}) {
    char* value = nullptr;
    if (OBJ_get_value_string(item, property, &value) != ORK_ok) {
      std::abort();
    }
    use(value);
    MEM_free(value);
  }
}

void read_an_object(benchmark::State& state) {
  use_item(state, [](tag item) {
    read_name_and_type(item, [](char* value) { benchmark::DoNotOptimize(value); });
  });
}

void read_and_match_an_object(benchmark::State& state) {
  regex_t name{};
  regex_t type{};
  if (regcomp(&name, "Gear", REG_EXTENDED) != 0 || regcomp(&type, "Item", REG_EXTENDED) != 0) {
    std::abort();
  }
  use_item(state, [&](tag item) {
    const regex_t* pattern = &name;
    read_name_and_type(item, [&pattern, &type](char* value) {
      benchmark::DoNotOptimize(regexec(pattern, value, 0, nullptr, 0));
      pattern = &type;
    });
  });
  regfree(&name);
  regfree(&type);
}

}  // namespace

void add_filter_benchmarks() {
  compare({"pattern seen before, looked up and matched", "compiled, matched and freed", 0.1},
          match_known_patterns, compile_and_match, 3);
  compare({"filter on name and type", "the same reads", 1.5}, filter_an_object, read_an_object, 5);
  compare({"filter on name and type (again)", "the same reads and regexec", 1.2}, filter_an_object,
          read_and_match_an_object, 5);
}

}  // namespace bench
