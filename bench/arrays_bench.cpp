// Arrays of tags: search, growth and the removal of repeated tags.

#include <algorithm>
#include <numeric>
#include <vector>

#include "groups.h"
#include "ork/mem.h"
#include "ratios.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

constexpr int array_size = 100'000;

std::vector<tag> numbered_tags(int count) {
  std::vector<tag> tags(static_cast<std::size_t>(count));
  std::iota(tags.begin(), tags.end(), 1);
  return tags;
}

/** Searches each of a hundred tags from all over a large array. */
template <typename Search>
void search_array(benchmark::State& state, Search search) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  const std::vector<tag> tags = numbered_tags(array_size);
  constexpr tag step = 1000;
  for (auto _ : state) {
    const Stopwatch stopwatch;
    for (tag element = step; element <= array_size; element += step) {
      benchmark::DoNotOptimize(search(tags, element));
    }
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * array_size / step);
}

void search_with_library(benchmark::State& state) {
  search_array(state, [](const std::vector<tag>& tags, tag element) {
    logical found = 0;
    ZOLP_searchElementInArray(element, tags.data(), array_size, &found);
    return found;
  });
}

void search_with_find(benchmark::State& state) {
  search_array(state, [](const std::vector<tag>& tags, tag element) {
    return static_cast<logical>(std::find(tags.begin(), tags.end(), element) != tags.end());
  });
}

void add_distinct_tags(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  for (auto _ : state) {
    int count = 0;
    tag* array = nullptr;
    const Stopwatch stopwatch;
    for (tag element = 1; element <= array_size; ++element) {
      ZOLP_addElement(element, &count, &array);
    }
    state.SetIterationTime(stopwatch.seconds());
    MEM_free(array);
  }
  state.SetItemsProcessed(state.iterations() * array_size);
}

void find_and_push_back(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<tag> tags;
    const Stopwatch stopwatch;
    for (tag element = 1; element <= array_size; ++element) {
      if (std::find(tags.begin(), tags.end(), element) == tags.end()) {
        tags.push_back(element);
      }
    }
    state.SetIterationTime(stopwatch.seconds());
    benchmark::DoNotOptimize(tags.data());
  }
  state.SetItemsProcessed(state.iterations() * array_size);
}

/** Removes repetitions from an array half of whose tags stand in it twice. */
void eliminate(benchmark::State& state, int size) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  const std::vector<tag> distinct = numbered_tags(size / 2);
  std::vector<tag> all = distinct;
  all.insert(all.end(), distinct.begin(), distinct.end());
  for (auto _ : state) {
    std::vector<tag> tags = all;
    int count = size;
    const Stopwatch stopwatch;
    ZOLP_eliminateRedundances(tags.data(), &count);
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * size);
}

void eliminate_from_large_array(benchmark::State& state) {
  eliminate(state, array_size);
}
void eliminate_from_small_array(benchmark::State& state) {
  eliminate(state, array_size / 10);
}

}  // namespace

void add_array_benchmarks() {
  compare({"search in 100,000 tags", "std::find in the same tags", 1.1}, search_with_library,
          search_with_find, 50);
  compare({"100,000 distinct tags added to an array", "std::find and push_back for each", 1.1},
          add_distinct_tags, find_and_push_back, 1);
  compare({"repeated tags eliminated, a tag of 100,000",
           "repeated tags eliminated, a tag of 10,000", 2.0},
          eliminate_from_large_array, eliminate_from_small_array, 20);
}

}  // namespace bench
