/** @file Text traces of random calls, with what a summary of them must say. */
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace test {

/** What is to be counted of the calls of a name; times in microseconds. */
struct ExpectedTotal {
  uint64_t count = 0, failures = 0;
  int64_t total = 0, own = 0;
  int open = 0;
  std::vector<int64_t> durations;
};

/** Writes lines as the library does, and counts calls by the simplest means. */
class GeneratedTrace {
 public:
  enum class Prefix { none, time_and_level, all };

  GeneratedTrace(unsigned seed, Prefix prefix) : random_(seed), prefix_(prefix) {
    while (lines_.size() < 4000) {
      call("", 0);
    }
  }

  const std::vector<std::string>& lines() const { return lines_; }
  const std::map<std::string, ExpectedTotal>& totals() const { return totals_; }

  std::string text(size_t begin = 0, size_t end = SIZE_MAX) const {
    std::string all;
    for (size_t i = begin; i < std::min(end, lines_.size()); ++i) {
      all += lines_[i] + "\n";
    }
    return all;
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  void write(char level, const std::string& text) {
    now_ += below(50);
    char prefix[100] = "";
    if (prefix_ == Prefix::time_and_level) {
      std::snprintf(prefix, sizeof prefix, "%12lld %c ", static_cast<long long>(now_), level);
    } else if (prefix_ == Prefix::all) {
      std::snprintf(
          prefix, sizeof prefix, "2026-03-02T09:%02lld:%02lld.%06lld+01:00 %12lld %c 4711 ",
          static_cast<long long>(now_ / 60'000'000), static_cast<long long>(now_ / 1'000'000 % 60),
          static_cast<long long>(now_ % 1'000'000), static_cast<long long>(now_), level);
    }
    lines_.push_back(prefix + std::string(2 * std::min<size_t>(depth_, 32), ' ') + begun_ + text);
    begun_.clear();
  }

  void add_texts() {
    if (below(4) == 0) {
      write('T', "LEVEL " + std::to_string(below(9)) + " of ->nothing");
    }
    if (below(9) == 0) {
      lines_.emplace_back();
      begun_ = "begun without an end";
    }
  }

  ExpectedTotal& begin(const std::string& name) {
    ExpectedTotal& total = totals_[name];
    ++total.count;
    ++total.open;
    return total;
  }

  int64_t end(ExpectedTotal& total, int64_t entered, int64_t left, int64_t inside) {
    total.own += left - entered - inside;
    total.total += --total.open == 0 ? left - entered : 0;
    total.durations.push_back(left - entered);
    return left - entered;
  }

  /** A function or call and all below it. @return how long it took; `failed` when it has ended its
   * function. */
  int64_t call(const std::string& caller, int level, bool* failed = nullptr) {
    const unsigned number = below(6);
    const bool is_function = caller.empty() || (level < 40 && below(5) < 3);
    if (is_function) {
      return function("function_" + std::to_string(number), static_cast<int>(number) * 100, level);
    }
    const bool is_guarded = below(2) == 0;
    const std::string name = "PLAT_operation_" + std::to_string(number);
    const std::string text = name + (is_guarded ? " (...)" : "( a, &b )");
    const std::string place = "source.cpp:" + std::to_string(900 + number);
    ExpectedTotal& total = begin(name + "()");
    write('L', " ->" + text + " " + place);
    const int64_t entered = now_;
    ++depth_;
    const int64_t inside = level < 40 && below(6) == 0 ? call(name, level + 1) : 0;
    if (below(5) == 0) {
      ++total.failures;
      const std::string line = place.substr(place.find(':') + 1);
      write('E', is_guarded
                     ? "##ORK_err_515: " + text + "   " + place
                     : " File:source.cpp Line:" + line + " Funktion:" + text + " returned 7 ");
      write('E', std::string("--A text") + (below(2) == 0 ? "" : " that ends in 12") + "--");
      if (failed != nullptr) {
        *failed = is_guarded;
      }
    }
    --depth_;
    write('L', " <-" + text + " " + place);
    return end(total, entered, now_, inside);
  }

  int64_t function(const std::string& name, int line, int level) {
    ExpectedTotal& total = begin(name);
    write('L', " ->" + name + " source.cpp:" + std::to_string(line));
    const int64_t entered = now_;
    ++depth_;
    int64_t inside = 0;
    for (unsigned calls = below(4); calls > 0; --calls) {
      add_texts();
      bool has_ended = false;
      inside += call(name, level + 1, &has_ended);
      if (has_ended) {
        ++total.failures;  // and no exit line: what follows stands further to the right
        return end(total, entered, now_, inside);
      }
    }
    --depth_;
    write('L',
          " <-" + name + " source.cpp:" + std::to_string(line + 50 + static_cast<int>(below(3))));
    return end(total, entered, now_, inside);
  }

  std::mt19937 random_;
  Prefix prefix_;
  size_t depth_ = 0;
  int64_t now_ = 0;
  std::string begun_;
  std::vector<std::string> lines_;
  std::map<std::string, ExpectedTotal> totals_;
};

}  // namespace test
