/**
 * @file
 * The fault sweep: what each exported function promises for the failure of each platform call that
 * it makes and of each allocation, as tables that `sweep.cpp` tries out one fault at a time.
 *
 * A case is one prepared good call. Its steps are the platform calls that the function makes, in
 * their order, each with what its failure leads to. Its allocations are those that the library
 * makes itself; one that fails inside a platform call fails that call.
 */
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ork/ork.h"

namespace sweep {

/** The status of an injected failure; the platform has no such code. */
constexpr int injected_status = 987654;

/** What a caller sees of one call. */
struct Outcome {
  int status = 0;
  std::string outputs;      /**< out-parameters and effects, as the case's call words them */
  int open_levels = 0;      /**< levels of indentation that stayed open */
  int kept_blocks = 0;      /**< platform blocks that nobody has freed */
  bool holds_locks = false; /**< objects are locked that were not locked before */
};

/** What the calls after a failed one are. */
enum class Then {
  ends,    /**< none */
  goes_on, /**< the same as in the good call */
  differs  /**< those of `Step::calls_after` */
};

/** A platform call and what its failure leads to. */
struct Step {
  std::string operation;
  Outcome outcome;
  enum class Returns { failure, good, own };
  Returns returns = Returns::failure; /**< the failed call's status, the good one's, or its own */
  Then then = Then::ends;
  std::vector<std::string> calls_after;
  bool is_wrapped = true;  /**< the failure is written to the trace as an error */
  bool is_recorded = true; /**< the journal has the call; operations on errors are not recorded */

  Step& open(int levels) {
    outcome.open_levels = levels;
    return *this;
  }
  Step& keeps(int blocks) {
    outcome.kept_blocks = blocks;
    return *this;
  }
  Step& locks() {
    outcome.holds_locks = true;
    return *this;
  }
  Step& goes_on() {
    then = Then::goes_on;
    return *this;
  }
  Step& calls(std::vector<std::string> operations) {
    then = Then::differs;
    calls_after = std::move(operations);
    return *this;
  }
  Step& unwrapped() {
    is_wrapped = false;
    return *this;
  }
  Step& unrecorded() {
    is_recorded = false;
    return *this;
  }
};

/** The function ends and returns the failed call's status; its frame is closed. */
Step passes(const char* operation, const char* outputs = "");

/** The same with its frame left open, as after each guarded call. */
Step aborts(const char* operation, const char* outputs = "");

/** The function ends and returns a status of its own. */
Step answers(const char* operation, int status, const char* outputs = "");

/** The function goes on and returns what it returns anyway. */
Step ignores(const char* operation, const char* outputs = "");

/** What an allocation of the library's own leads to when it fails. */
Outcome exhausted(int status, const char* outputs = "", int open_levels = 0);

/** One run of a case: what its call fills in. */
class Run {
 public:
  virtual ~Run() = default;

  /**
   * Makes the tested call: what the platform does in it is recorded, and the fault is there for it
   * alone. The status is what the function returns, or 0 where that is no number.
   */
  template <typename Function, typename... Arguments>
  auto call(const Function& function, Arguments&&... arguments) {
    using Result = std::invoke_result_t<Function, Arguments...>;
    starts();
    if constexpr (std::is_void_v<Result>) {
      function(std::forward<Arguments>(arguments)...);
      returned(0);
    } else {
      const Result result = function(std::forward<Arguments>(arguments)...);
      if constexpr (std::is_integral_v<Result>) {
        returned(static_cast<int>(result));
      } else {
        returned(0);
      }
      return result;
    }
  }

  /** Name of an object of the site; "0" for none, "untouched" for the preset tag. */
  std::string name(tag object) const;

  /** Appends an output. */
  Run& out(std::string_view text);
  Run& out(const char* text);
  Run& out(int value);
  Run& out_tag(tag object);

  /** Appends the elements of an array as one output; "null" for null, and see `untouched`. */
  Run& out_tags(int count, const tag* objects);
  Run& out_texts(int count, char* const* texts);

  /** Which run of the process this is, from 0: a number for names that must differ. */
  int number = 0;

 protected:
  virtual void starts() = 0;
  virtual void returned(int status) = 0;

  std::vector<std::string> outputs_;
};

/** A prepared good call. */
class Case {
 public:
  Case(const char* name, const char* which) : function(name), what(which) {}

  Case& good(Outcome outcome) {
    good_outcome = std::move(outcome);
    return *this;
  }
  Case& steps(std::vector<Step> in_their_order) {
    all_steps = std::move(in_their_order);
    return *this;
  }

  /** What the failures of the library's own allocations lead to, in their order. */
  Case& allocations(std::vector<Outcome> outcomes) {
    own_allocations = std::move(outcomes);
    return *this;
  }

  /** What the call leaves where it makes do without memory of the C heap, with a good status. */
  Case& makes_do(const char* outputs) {
    made_do_outputs = outputs;
    return *this;
  }
  Case& call(std::function<void(Run&)> tested) {
    make_call = std::move(tested);
    return *this;
  }

  /** Brings about what the call needs. */
  Case& prepare(std::function<void()> preparation) {
    make_ready = std::move(preparation);
    return *this;
  }

  /** Brings it about once more, after a faulty call. */
  Case& again(std::function<void()> preparation) {
    make_ready_again = std::move(preparation);
    return *this;
  }

  const char* function; /**< its exported name */
  const char* what;     /**< which of its good calls; may be empty */
  Outcome good_outcome;
  std::vector<Step> all_steps;
  std::vector<Outcome> own_allocations;
  const char* made_do_outputs = nullptr;
  std::function<void(Run&)> make_call;
  std::function<void()> make_ready;
  std::function<void()> make_ready_again;
};

class Cases {
 public:
  Case& add(const char* function, const char* what) { return all.emplace_back(function, what); }

  std::deque<Case> all;
};

/** One list behind the other: of steps, or of operations. */
template <typename T>
std::vector<T> joined(std::vector<T> first, const std::vector<T>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/** A tag that no function hands out: what an out-parameter is set to before the call. */
constexpr tag untouched_tag = 0x7fffffff;
constexpr int untouched_number = 99;

/** An array that no function hands out. */
template <typename T>
T* untouched() {
  static T block{};
  return &block;
}

/** An object of the site by its name in the tables, for example "100/A". */
tag object(const std::string& name);

/** Requires that a preparation succeeded; ends the run otherwise. */
void prepared(int status, const char* what);

/** Logs in as another user of the site. */
void log_in_as(const char* user);

/** Path of a file of this run's own. */
std::string path(const std::string& name);

/** Contents of a file; "none" when there is no such file. */
std::string contents(const std::string& path);

/** Opens the site on which all runs start: filled, with a session of the designer "ada". */
void open_site();

// The tables, by family.
void add_session_cases(Cases& cases);
void add_preference_cases(Cases& cases);
void add_text_and_array_cases(Cases& cases);
void add_access_cases(Cases& cases);
void add_relation_cases(Cases& cases);
void add_type_cases(Cases& cases);
void add_list_cases(Cases& cases);
void add_workflow_cases(Cases& cases);
void add_dataset_cases(Cases& cases);
void add_filter_cases(Cases& cases);
void add_structure_cases(Cases& cases);

}  // namespace sweep
