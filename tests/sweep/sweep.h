/**
 * @file
 * The fault sweep: what each exported function promises for the failure of each platform call that
 * it makes and of each allocation, as tables that `sweep.cpp` tries out one fault at a time.
 *
 * A case is one prepared good call. What is promised for it stands in `promises.txt`, by the case's
 * title, and there is also what the table's words mean.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/date.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/folder.h"
#include "ork/form.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "ork/text.h"
#include "ork/type.h"
#include "ork/wso.h"
#include "ork_host.h"
#include "zolp_orktool.h"

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
};

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

  /** Its name in the table of promises. */
  std::string title() const { return std::string(function) + (*what != '\0' ? ", " : "") + what; }

  /** Takes a line of that table. */
  void promise(const std::string& line);

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
  /** What the call leaves where it makes do without memory of the C heap, with a good status. */
  std::optional<std::string> made_do_outputs;
  std::function<void(Run&)> make_call;
  std::function<void()> make_ready;
  std::function<void()> make_ready_again;
};

class Cases {
 public:
  Case& add(const char* function, const char* what = "") {
    return all.emplace_back(function, what);
  }

  std::deque<Case> all;
};

/** Reads the table of promises. @return whether each case has its own there, and nothing else is.
 */
bool take_promises(Cases& cases);

/** A tag that no function hands out: what an out-parameter is set to before the call. */
constexpr tag untouched_tag = 0x7fffffff;
constexpr int untouched_number = 99;

/** An array that no function hands out. */
template <typename T>
T* untouched() {
  static T block{};
  return &block;
}

/** Stands for an output among the inputs of `outputs_of`. */
struct Out {};
constexpr Out out;

/** One argument of a call: an input as it is, or made by a function at the time of the call. */
template <typename Parameter, typename Input>
class Argument {
 public:
  Argument(Run& run, const Input& input) : value_(make(run, input)) {}

  auto pass() {
    if constexpr (std::is_same_v<decltype(value_), std::string>) {
      return value_.c_str();
    } else {
      return value_;
    }
  }
  void show(Run&, int&) {}

 private:
  static auto make(Run& run, const Input& input) {
    if constexpr (std::is_invocable_v<Input, Run&>) {
      return input(run);
    } else {
      return input;
    }
  }

  std::remove_const_t<decltype(make(std::declval<Run&>(), std::declval<const Input&>()))> value_;
};

/** An output: set to what no function hands out, then shown, and freed if it is a block. */
template <typename Parameter>
class Argument<Parameter, Out> {
 public:
  Argument(Run&, Out) {
    if constexpr (is_buffer) {
      value_[0] = 'x';
    } else if constexpr (std::is_pointer_v<Value>) {
      value_ = untouched<std::remove_pointer_t<Value>>();
    } else if constexpr (std::is_same_v<Value, tag>) {
      value_ = untouched_tag;
    } else if constexpr (std::is_integral_v<Value> && !std::is_same_v<Value, bool>) {
      value_ = untouched_number;
    }
  }

  Parameter pass() {
    if constexpr (is_buffer) {
      return value_.data();
    } else {
      return &value_;
    }
  }

  /** @param count the number that was shown last: that of an array's elements. */
  void show(Run& run, int& count) {
    if constexpr (is_buffer) {
      run.out(value_.data());
    } else if constexpr (std::is_pointer_v<Value>) {
      const bool is_block = value_ != untouched<std::remove_pointer_t<Value>>();
      if constexpr (std::is_same_v<Value, tag*>) {
        run.out_tags(count, value_);
      } else if constexpr (std::is_same_v<Value, char**>) {
        run.out_texts(count, value_);
      } else {
        run.out(is_block ? value_ : "untouched");
      }
      MEM_free(is_block ? value_ : nullptr);
    } else if constexpr (std::is_same_v<Value, tag>) {
      run.out_tag(value_);
    } else if constexpr (std::is_same_v<Value, date_s>) {
      run.out(value_.year);
    } else {
      count = static_cast<int>(value_);
      run.out(count);
    }
  }

 private:
  using Value = std::remove_pointer_t<Parameter>;
  static constexpr bool is_buffer = std::is_same_v<Value, char>;

  std::conditional_t<is_buffer, std::array<char, 1024>, Value> value_{};
};

/**
 * The call of a function with these inputs, or with what functions of the run make for it. The
 * parameters that are not among the inputs, or that `out` stands for, are outputs.
 */
template <typename Result, typename... Parameters, typename... Inputs>
std::function<void(Run&)> outputs_of(Result (*function)(Parameters...), Inputs... inputs) {
  if constexpr (sizeof...(Inputs) < sizeof...(Parameters)) {
    return outputs_of(function, inputs..., out);
  } else {
    return [=](Run& run) {
      std::tuple<Argument<Parameters, Inputs>...> arguments{
          Argument<Parameters, Inputs>(run, inputs)...};
      std::apply([&](auto&... each) { run.call(function, each.pass()...); }, arguments);
      int count = 0;
      std::apply([&](auto&... each) { (each.show(run, count), ...); }, arguments);
    };
  }
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
