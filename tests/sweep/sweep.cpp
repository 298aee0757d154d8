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
#include <sstream>

#include "heap.h"
#include "process.h"
#include "support/trace_capture.h"
#include "zolp_basetool.h"

#if !defined(_WIN32)
extern "C" {
/** Looks for blocks of the C heap that nothing points to; there with the leak checker only. */
[[gnu::weak]] int __lsan_do_recoverable_leak_check(void);
}
#endif

namespace sweep {

namespace {

// ------------------------------------------------------------------------------ one run

/** What is to fail in a run: a call, an allocation, a request to the C heap, or nothing. */
struct Fault {
  const Step* step = nullptr;
  int nth_call = 0;               /**< which call of the step's operation */
  std::size_t at_step = 0;        /**< index of the step */
  int allocation = 0;             /**< which allocation, from 1 */
  std::size_t own_allocation = 0; /**< which of the library's own it is, if it is one */
  int heap_request = 0;           /**< which request to the C heap, from 1 */
};

/** How a run ended, as its process's exit code. */
enum Ending { as_promised = 0, otherwise = 10, none_such = 11, own_allocation = 12 };

std::string locks() {
  char* json = nullptr;
  prepared(ork_host_describe("locks", &json), "locks");
  const std::string text = json;
  MEM_free(json);
  return text;
}

class Trial : public Run {
 public:
  explicit Trial(const Fault& fault)
      // The capture asks the C heap, too.
      : fault_(fault), trace_(fault.heap_request > 0 ? ZOLP_LEVEL_OFF : ZOLP_LEVEL_DEBUG) {}

  /** Makes the call of a case. `locks_before` are those that do not count. */
  void make(const Case& tried, const std::string& locks_before) {
    const int blocks_before = static_cast<int>(ork_host_block_count());
    const int depth_before = ZOLP_GetTraceDepth();
    tried.make_call(*this);
    for (const std::string& output : outputs_) {
      outcome.outputs += (&output == &outputs_.front() ? "" : "|") + output;
    }
    outcome.open_levels -= depth_before;
    outcome.kept_blocks = static_cast<int>(ork_host_block_count()) - blocks_before;
    outcome.holds_locks = locks() != locks_before;
  }

  Outcome outcome;
  std::vector<std::string> calls;
  std::optional<std::size_t> out_of_memory; /**< index of the call whose allocation failed */
  bool is_past_end = false;                 /**< what was to fail was not reached */
  bool shows_failure = false; /**< an error line of the trace has the failed call's status */

 private:
  void starts() override {
    ork_host_start_journal();
    if (fault_.step != nullptr) {
      ork_host_fail_call(fault_.step->operation.c_str(), fault_.nth_call, injected_status);
    } else if (fault_.allocation > 0) {
      ork_host_fail_allocation(fault_.allocation);
    }
    refuse_heap_request(fault_.heap_request);
  }

  void returned(int status) override {
    is_past_end = fault_.heap_request > 0 && !stop_refusing_heap_requests();
    outcome.status = status;
    outcome.open_levels = ZOLP_GetTraceDepth();
    // A fault that the call did not reach meets one of as many allocations.
    for (int i = 0; i < fault_.allocation && !is_past_end; ++i) {
      void* probe = MEM_alloc(1);
      is_past_end = probe == nullptr;
      MEM_free(probe);
    }
    ork_host_stop_journal();
    ork_host_clear_faults();
    const char* operation = nullptr;
    int call_status = ORK_ok;
    for (int i = 0; ork_host_journal_entry(i, &operation, &call_status) != 0; ++i) {
      calls.emplace_back(operation);
      if (call_status == ORK_out_of_memory && !out_of_memory) {
        out_of_memory = static_cast<std::size_t>(i);
      }
    }
    const int failure = fault_.step != nullptr ? injected_status : ORK_out_of_memory;
    shows_failure = trace_.has("returned " + std::to_string(failure) + " ") ||
                    trace_.has("##ORK_err_" + std::to_string(failure) + ":");
  }

  const Fault& fault_;
  test::TraceCapture trace_;
};

std::string listed(const std::vector<std::string>& calls) {
  std::string text;
  for (const std::string& call : calls) {
    text += (text.empty() ? "" : ", ") + call;
  }
  return text.empty() ? "no calls" : text;
}

/** What differs between a promise and what came. */
class Differences {
 public:
  explicit Differences(std::string when) : when_(std::move(when)) {}

  template <typename Value>
  void compare(const char* what, const Value& promised, const Value& came) {
    if (promised == came) {
      return;
    }
    if constexpr (std::is_same_v<Value, std::string>) {
      say(std::string(what) + " \"" + came + "\" instead of \"" + promised + "\"");
    } else {
      say(std::string(what) + " " + std::to_string(came) + " instead of " +
          std::to_string(promised));
    }
  }

  void compare_calls(const std::vector<std::string>& promised,
                     const std::vector<std::string>& came) {
    if (promised != came) {
      say("calls " + listed(came) + "\n      instead of " + listed(promised));
    }
  }

  void compare(const Outcome& promised, const Outcome& came) {
    compare("status", promised.status, came.status);
    compare("outputs", promised.outputs, came.outputs);
    compare("open levels", promised.open_levels, came.open_levels);
    compare("kept blocks", promised.kept_blocks, came.kept_blocks);
    compare("locks held", promised.holds_locks, came.holds_locks);
  }

  void say(const std::string& difference) {
    std::fprintf(stderr, "%s: %s\n", when_.c_str(), difference.c_str());
    any_ = true;
  }

  bool any() const { return any_; }

 private:
  std::string when_;
  bool any_ = false;
};

std::vector<std::string> recorded_calls(const Case& tried) {
  std::vector<std::string> calls;
  for (const Step& step : tried.all_steps) {
    if (step.is_recorded) {
      calls.push_back(step.operation);
    }
  }
  return calls;
}

/** What a step promises for a failure of its call with a status. */
Outcome promise_of(const Case& tried, const Step& step, int failure) {
  Outcome promised = step.outcome;
  if (step.returns == Step::Returns::failure) {
    promised.status = failure;
  } else if (step.returns == Step::Returns::good) {
    promised.status = tried.good_outcome.status;
  }
  return promised;
}

void check_failed_call(const Case& tried, const Trial& trial, std::size_t at, int failure,
                       Differences& differences) {
  const Step& step = tried.all_steps[at];
  differences.compare(promise_of(tried, step, failure), trial.outcome);
  if (step.is_wrapped != trial.shows_failure) {
    differences.say(step.is_wrapped ? "no error line in the trace" : "an error line in the trace");
  }
  std::vector<std::string> promised = recorded_calls(tried);
  if (step.then != Then::goes_on) {
    const auto unrecorded = std::count_if(
        tried.all_steps.begin(), tried.all_steps.begin() + static_cast<std::ptrdiff_t>(at + 1),
        [](const Step& other) { return !other.is_recorded; });
    promised.resize(at + 1 - static_cast<std::size_t>(unrecorded));
  }
  promised.insert(promised.end(), step.calls_after.begin(), step.calls_after.end());
  differences.compare_calls(promised, trial.calls);
}

/** Index of the step behind the n-th recorded call. */
std::size_t step_of_call(const Case& tried, std::size_t call) {
  std::size_t step = 0;
  for (std::size_t recorded = 0; step < tried.all_steps.size(); ++step) {
    if (tried.all_steps[step].is_recorded && recorded++ == call) {
      break;
    }
  }
  return step;
}

std::string words(const Case& tried, const Fault& fault) {
  if (fault.step != nullptr) {
    return tried.title() + ": failing " + fault.step->operation + ", step " +
           std::to_string(fault.at_step + 1);
  }
  if (fault.heap_request > 0) {
    return tried.title() + ": refused heap request " + std::to_string(fault.heap_request);
  }
  return tried.title() + (fault.allocation > 0
                              ? ": failing allocation " + std::to_string(fault.allocation)
                              : ": good call");
}

/** Checks a run with a failing allocation. Returns whether it was one of the library's own. */
bool check_failed_allocation(const Case& tried, const Trial& trial, const Fault& fault,
                             Differences& differences) {
  if (trial.out_of_memory) {
    const std::size_t step = step_of_call(tried, *trial.out_of_memory);
    if (step < tried.all_steps.size()) {
      check_failed_call(tried, trial, step, ORK_out_of_memory, differences);
    } else {
      differences.say("a call beyond the table's steps");
    }
    return false;
  }
  if (fault.own_allocation < tried.own_allocations.size()) {
    differences.compare(tried.own_allocations[fault.own_allocation], trial.outcome);
  } else {
    differences.say("the table has no such allocation of the library's own");
  }
  return true;
}

/** Where a call says that all went well although a request was refused, all must have done so. */
void check_refused_request(const Case& tried, const Trial& trial, Differences& differences) {
  const bool is_made_do = tried.made_do_outputs && trial.outcome.outputs == *tried.made_do_outputs;
  if (trial.outcome.status == tried.good_outcome.status && !is_made_do) {
    differences.compare(tried.good_outcome, trial.outcome);
  }
}

/** Whether blocks of the C heap are lost, as far as somebody looks for them. */
bool has_leaks() {
#if defined(_WIN32)
  return false;
#else
  return __lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0;
#endif
}

/** Makes one run, in its process. */
int run(const Case& tried, const Fault& fault) {
  if (!silence_standard_output()) {
    return otherwise;
  }
  if (tried.make_ready) {
    tried.make_ready();
  }
  const std::string locks_before = locks();
  Differences differences(words(tried, fault));
  Ending ending = as_promised;
  {
    Trial trial(fault);
    trial.make(tried, locks_before);
    if (fault.step != nullptr) {
      check_failed_call(tried, trial, fault.at_step, injected_status, differences);
    } else if (trial.is_past_end) {
      return none_such;
    } else if (fault.heap_request > 0) {
      check_refused_request(tried, trial, differences);
    } else if (fault.allocation > 0) {
      ending = check_failed_allocation(tried, trial, fault, differences) ? own_allocation : ending;
    } else {
      differences.compare(tried.good_outcome, trial.outcome);
      differences.compare_calls(recorded_calls(tried), trial.calls);
    }
  }
  if (tried.make_ready_again) {
    tried.make_ready_again();
  }
  const Fault none;
  Trial second(none);
  second.number = 1;
  second.make(tried, locks());
  Differences later(words(tried, fault) + ", then a good call");
  later.compare(tried.good_outcome, second.outcome);
  if (has_leaks()) {
    later.say("leaks blocks of the C heap");
  }
  return differences.any() || later.any() ? otherwise : ending;
}

// ---------------------------------------------------------------------------- all runs

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

/** Reads the table of promises. @return whether each case has its own there, and nothing else is.
 */
bool take_promises(Cases& cases) {
  std::map<std::string, Case*> by_title;
  for (Case& one : cases.all) {
    by_title[one.title()] = &one;
  }
  std::ifstream table(SWEEP_PROMISES);
  Case* of = nullptr;
  bool fits = true;
  std::string promise;
  const auto take = [&] {
    if (of != nullptr && !promise.empty()) {
      of->promise(promise);
    }
    promise.clear();
  };
  for (std::string line; std::getline(table, line);) {
    if (line.starts_with("   ")) {
      promise += line;
      continue;
    }
    take();
    if (line.starts_with("  ")) {
      promise = line;
    } else if (!line.empty() && line[0] != '#') {
      const auto found = by_title.extract(line);
      fits = fits && !found.empty();
      of = found.empty() ? nullptr : found.mapped();
    }
  }
  take();
  for (const auto& [title, without] : by_title) {
    std::fprintf(stderr, "%s: nothing is promised\n", title.c_str());
  }
  return fits && by_title.empty();
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

// -------------------------------------------------------------------------- parts of tables

namespace {

/** A status as the tables have it, by number or by name. */
int status_named(const std::string& name) {
  static const std::map<std::string, int> known = {
      {"ORK_invalid_argument", ORK_invalid_argument},
      {"DATE_wrong_text", DATE_wrong_text},
      {"STORE_not_locked", STORE_not_locked},
      {"STORE_refers_to_unsaved", STORE_refers_to_unsaved},
      {"STORE_unknown_attribute", STORE_unknown_attribute},
      {"STORE_unknown_tag", STORE_unknown_tag}};
  const auto found = known.find(name);
  return found != known.end() ? found->second : std::stoi(name);
}

std::string outputs_in(const std::string& text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \n"), text.size());
  std::string outputs = text.substr(begin, text.find_last_not_of(" \n") + 1 - begin);
  for (std::size_t at = 0; (at = outputs.find("\\n", at)) != std::string::npos; ++at) {
    outputs.replace(at, 2, "\n");
  }
  return outputs;
}

}  // namespace

void Case::promise(const std::string& line) {
  const std::size_t colon = std::min(line.find(':'), line.size());
  std::istringstream words(line.substr(0, colon));
  Step promised;
  Outcome& outcome = promised.outcome;
  outcome.outputs = outputs_in(line.substr(std::min(colon + 1, line.size())));
  std::string kind;
  std::string word;
  words >> kind;
  if (kind == "good" || kind == "answers" || kind == "exhausted") {
    words >> word;
    outcome.status = status_named(word);
  }
  promised.returns = kind == "answers"   ? Step::Returns::own
                     : kind == "ignores" ? Step::Returns::good
                                         : Step::Returns::failure;
  promised.then = kind == "ignores" ? Then::goes_on : Then::ends;
  outcome.open_levels = kind == "aborts" ? 1 : 0;
  std::vector<std::string> operations;
  std::size_t times = 1;
  while (words >> word) {
    if (promised.then == Then::differs) {
      promised.calls_after.push_back(word);
    } else if (word == "then") {
      promised.then = Then::differs;
    } else if (word == "goes_on") {
      promised.then = Then::goes_on;
    } else if (word == "locked") {
      outcome.holds_locks = true;
    } else if (word == "unwrapped") {
      promised.is_wrapped = false;
    } else if (word == "unrecorded") {
      promised.is_recorded = false;
    } else if (word == "keeps") {
      words >> outcome.kept_blocks;
    } else if (word[0] == '+') {
      outcome.open_levels = std::stoi(word);
    } else if (word[0] == 'x') {
      times = std::stoul(word.substr(1));
      if (!operations.empty()) {
        operations.insert(operations.end(), times - 1, std::string(operations.back()));
      }
    } else {
      operations.push_back(word);
    }
  }
  if (kind == "good") {
    good_outcome = outcome;
  } else if (kind == "makes_do") {
    made_do_outputs = outcome.outputs;
  } else if (kind == "exhausted") {
    own_allocations.insert(own_allocations.end(), times, outcome);
  } else {
    const bool is_known =
        kind == "passes" || kind == "aborts" || kind == "answers" || kind == "ignores";
    prepared(is_known && !operations.empty() ? ORK_ok : 1, (title() + ": " + line).c_str());
    for (const std::string& operation : operations) {
      promised.operation = operation;
      all_steps.push_back(promised);
    }
  }
}

Run& Run::out(std::string_view text) {
  outputs_.emplace_back(text);
  return *this;
}

Run& Run::out(const char* text) {
  return out(std::string_view(text != nullptr ? text : "null"));
}

Run& Run::out(int value) {
  return out(std::string_view(std::to_string(value)));
}

Run& Run::out_tag(tag object) {
  return out(std::string_view(name(object)));
}

namespace {

/** Joins the elements of an array with blanks. */
template <typename Element, typename Name>
std::string joined(int count, const Element* array, Name name) {
  if (array == nullptr) {
    return "null";
  }
  if (array == untouched<Element>()) {
    return "untouched";
  }
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += (i == 0 ? "" : " ") + std::string(name(array[i]));
  }
  return text;
}

}  // namespace

Run& Run::out_tags(int count, const tag* objects) {
  return out(std::string_view(joined(count, objects, [this](tag one) { return name(one); })));
}

Run& Run::out_texts(int count, char* const* texts) {
  return out(std::string_view(
      joined(count, texts, [](const char* text) { return text != nullptr ? text : "null"; })));
}

}  // namespace sweep

int main(int count, char** arguments) {
  return sweep::sweep({arguments + 1, arguments + count});
}
