// Reads what is promised for each case, and words what a run shows in the same way.

#include <sstream>

#include "sweep.h"

namespace sweep {

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
