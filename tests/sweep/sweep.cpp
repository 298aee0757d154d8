// Tries out the tables: each case once as it is, once for each of its platform calls with that call
// failing, and once for each allocation with that one failing. What the library asks the C heap for
// is refused as well, request by request. Every run is a process of its own, so that a crash ends
// one run, and flags that live as long as a process start anew. Writes a matrix of what was tried
// and what held.
//
//     fault_sweep [FUNCTION]
//     fault_sweep --run CASE STEP ALLOCATION OWN REQUEST   makes one run (see words_of)

#include "sweep.h"

#include <set>

#include "heap.h"
#include "process.h"
#include "trial.h"

namespace sweep {

namespace {

/** The fault of a case's step. */
Fault failing_step(const Case& tried, std::size_t at) {
  const Step& step = tried.all_steps[at];
  const auto end = tried.all_steps.begin() + static_cast<std::ptrdiff_t>(at);
  const auto earlier = std::count_if(tried.all_steps.begin(), end, [&](const Step& other) {
    return other.operation == step.operation;
  });
  return {.step = &step, .nth_call = static_cast<int>(earlier) + 1, .at_step = at};
}

/** A run in words: the numbers of its case, of the failing step or -1, and of what else fails. */
std::vector<std::string> words_of(std::size_t number, const Fault& fault) {
  return {"--run",
          std::to_string(number),
          fault.step != nullptr ? std::to_string(fault.at_step) : "-1",
          std::to_string(fault.allocation),
          std::to_string(fault.own_allocation),
          std::to_string(fault.heap_request)};
}

/** Makes the run of such words, in this process. */
int run_in_words(const Cases& cases, const std::vector<std::string>& words) {
  const Case& tried = cases.all.at(std::stoul(words.at(1)));
  const int step = std::stoi(words.at(2));
  return run(tried, step >= 0 ? failing_step(tried, static_cast<std::size_t>(step))
                              : Fault{.allocation = std::stoi(words.at(3)),
                                      .own_allocation = std::stoul(words.at(4)),
                                      .heap_request = std::stoi(words.at(5))});
}

/** What was tried of a case. */
struct Tally {
  const Case* tried = nullptr;
  std::size_t number = 0; /**< which case it is */
  int call_faults = 0;
  int allocation_faults = 0;
  int refused_requests = 0;
  int runs = 0;
  int held = 0;

  void count(int ending) {
    ++runs;
    held += ending == as_promised || ending == own_allocation ? 1 : 0;
  }

  int run_in_process(const Fault& fault) const {
    const int ending = in_process([&] { return run(*tried, fault); }, words_of(number, fault));
    if (ending == crashed) {
      std::fprintf(stderr, "%s: crashed\n", words(*tried, fault).c_str());
    }
    return ending;
  }
};

void try_calls(Tally& tally) {
  for (std::size_t i = 0; i < tally.tried->all_steps.size(); ++i) {
    ++tally.call_faults;
    tally.count(tally.run_in_process(failing_step(*tally.tried, i)));
  }
}

void try_allocations(Tally& tally) {
  std::size_t own_allocations = 0;
  for (int nth = 1;; ++nth) {
    const int ending = tally.run_in_process({.allocation = nth, .own_allocation = own_allocations});
    if (ending == none_such) {
      break;
    }
    ++tally.allocation_faults;
    tally.count(ending);
    if (ending != as_promised && ending != own_allocation) {
      break;
    }
    own_allocations += ending == own_allocation ? 1 : 0;
  }
  if (tally.runs == tally.held && own_allocations != tally.tried->own_allocations.size()) {
    std::fprintf(stderr, "%s: %zu allocations of its own, where the table has %zu\n",
                 tally.tried->title().c_str(), own_allocations,
                 tally.tried->own_allocations.size());
    --tally.held;
  }
}

void try_heap_requests(Tally& tally) {
  for (int nth = 1; can_refuse_heap_requests(); ++nth) {
    const int ending = tally.run_in_process({.heap_request = nth});
    if (ending == none_such) {
      break;
    }
    ++tally.refused_requests;
    tally.count(ending);
  }
}

Tally try_case(const Case& tried, std::size_t number) {
  Tally tally{&tried, number};
  tally.count(tally.run_in_process({}));
  if (tally.held == tally.runs) {
    try_calls(tally);
    try_allocations(tally);
    try_heap_requests(tally);
  }
  return tally;
}

void write_matrix(const std::vector<Tally>& tallies) {
  std::ofstream report(SWEEP_REPORT);
  report << "# Fault sweep\n\n| good call | platform calls | failed calls | failed allocations | "
            "refused heap requests | held |\n|---|--:|--:|--:|--:|---|\n";
  Tally sum;
  for (const Tally& tally : tallies) {
    report << "| " << tally.tried->title() << " | " << tally.tried->all_steps.size() << " | "
           << tally.call_faults << " | " << tally.allocation_faults << " | "
           << tally.refused_requests << " | " << tally.held << " of " << tally.runs << " |\n";
    sum.call_faults += tally.call_faults;
    sum.allocation_faults += tally.allocation_faults;
    sum.refused_requests += tally.refused_requests;
    sum.runs += tally.runs;
    sum.held += tally.held;
  }
  std::printf(
      "%zu good calls, %d failed calls, %d failed allocations, %d refused heap requests: %d of %d "
      "runs went as promised\n%s\n",
      tallies.size(), sum.call_faults, sum.allocation_faults, sum.refused_requests, sum.held,
      sum.runs, SWEEP_REPORT);
}

// ------------------------------------------------------------------------------ coverage

/** The functions that the library exports, as its list of exports names them. */
std::set<std::string> exported_functions() {
  std::ifstream list(SWEEP_EXPORTS);
  std::set<std::string> names;
  for (std::string line; std::getline(list, line);) {
    const std::size_t begin = line.find_first_not_of(" \"");
    const std::size_t end = line.find_last_not_of("\"; ");
    const bool is_name = begin != std::string::npos && line.ends_with(';') && line[begin] != '*' &&
                         line[begin] != '}';
    if (is_name) {
      names.insert(line.substr(begin, end + 1 - begin));
    }
  }
  return names;
}

/** Functions that neither call the platform nor allocate. */
const std::vector<std::string> functions_without_a_case = {
    "CZOLP_ParamLine::operator=(CZOLP_ParamLine const&)",
    "CZOLP_String::operator=(CZOLP_String const&)",
    "ZOLP_GetTime",
    "ZOLP_RepSpecialChar",
    "ZOLP_Version",
    "ZOLP_ifStringInArray",
    "ZOLP_searchElement",
    "ZOLP_searchElementInArray",
    "ZOLP_splitToFirstSeparator",
    "string_to_lower"};

/** Requires that each exported function has a case, but for those that are listed. */
bool is_complete(const Cases& cases) {
  std::set<std::string> missing = exported_functions();
  bool complete = missing.size() > 50;
  for (const Case& one : cases.all) {
    missing.erase(one.function);
  }
  for (const std::string& function : functions_without_a_case) {
    if (missing.erase(function) == 0) {
      std::fprintf(stderr, "%s has a case, or is not exported: take it off the list\n",
                   function.c_str());
      complete = false;
    }
  }
  for (const std::string& function : missing) {
    std::fprintf(stderr, "%s has no case\n", function.c_str());
    complete = false;
  }
  return complete;
}

int sweep(const std::vector<std::string>& arguments) {
  open_site();
  Cases cases;
  add_session_cases(cases);
  add_preference_cases(cases);
  add_text_and_array_cases(cases);
  add_access_cases(cases);
  add_relation_cases(cases);
  add_type_cases(cases);
  add_list_cases(cases);
  add_workflow_cases(cases);
  add_dataset_cases(cases);
  add_filter_cases(cases);
  add_structure_cases(cases);
  const bool all_promised = take_promises(cases);
  if (!arguments.empty() && arguments[0] == "--run") {
    return run_in_words(cases, arguments);
  }
  const std::string wanted = arguments.empty() ? "" : arguments[0];
  std::vector<Tally> tallies;
  for (std::size_t i = 0; i < cases.all.size(); ++i) {
    if (wanted.empty() || wanted == cases.all[i].function) {
      tallies.push_back(try_case(cases.all[i], i));
    }
  }
  write_matrix(tallies);
  const bool held = std::all_of(tallies.begin(), tallies.end(),
                                [](const Tally& tally) { return tally.held == tally.runs; });
  const bool complete = !wanted.empty() || is_complete(cases);
  return held && complete && all_promised && !tallies.empty() ? 0 : 1;
}

}  // namespace

}  // namespace sweep

int main(int count, char** arguments) {
  return sweep::sweep({arguments + 1, arguments + count});
}
