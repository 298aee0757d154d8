#include "trial.h"

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

}  // namespace

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

namespace {

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

}  // namespace

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

}  // namespace sweep
