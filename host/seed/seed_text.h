/**
 * @file
 * The text of a seed: read once from end to end to see whether it is JSON, and then again part by
 * part. So a seed of a whole site takes the memory of its text and of one element, and a place in
 * it has a line and a column.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "failure.h"

namespace host {

/** What a refusal shows of a name, and how long it gets at most, whatever the seed says. */
inline constexpr std::size_t longest_shown_name = 80;
inline constexpr std::size_t longest_refusal = 900;

/** A text, cut between two characters where it is too long. */
std::string shortened(const std::string& text, std::size_t most);

/** The way to a value: names of members and numbers of elements. */
using SeedPath = std::vector<std::string>;

/** A fault of a seed, where it stands, and what is wrong there. */
struct SeedFault {
  std::string pointer; /**< JSON pointer; empty for the seed as a whole */
  int line = 0;        /**< from 1 */
  int column = 0;      /**< in bytes, from 1 */
  std::string why;
};

/** "/groups/0/name: must not be empty (line 3, column 12)". */
std::string text_of(const SeedFault& fault);

/** The refusal of a seed, for one fault. */
class SeedFailure : public Failure {
 public:
  explicit SeedFailure(SeedFault fault)
      : Failure(ORK_invalid_argument, text_of(fault)), fault_(std::move(fault)) {}

  const SeedFault& fault() const { return fault_; }

 private:
  SeedFault fault_;
};

/** Takes what is found wrong; where it comes back, more can be looked for. */
using TakeFault = std::function<void(const SeedFault&)>;

class SeedText {
 public:
  using Json = nlohmann::json;

  /**
   * Checks the text. Members that are given twice are told; a text that is no JSON is told, too,
   * and then there is nothing in the seed.
   * @param[in] text stays as long as this.
   * @param[in] streamed names of lists at the top whose elements are read one at a time.
   */
  SeedText(std::string_view text, std::span<const std::string_view> streamed,
           const TakeFault& take_fault);

  /** The seed; lists that are streamed are empty in it. */
  const Json& root() const { return root_; }

  /** Where the root begins. */
  std::size_t begin() const { return begin_; }

  /** Number of elements of a list that is streamed; 0 for other members. */
  std::size_t size(const std::string& member) const;

  /** Reads the elements of a list that is streamed, one by one, with the place of each. */
  void for_each(const std::string& member,
                const std::function<void(const Json& element, std::size_t begin)>& see) const;

  /**
   * A fault at the place of a value.
   * @param[in] begin, base where a value begins in the text and the way to it.
   * @param[in] path the way on from there.
   */
  SeedFault fault_at(std::size_t begin, const SeedPath& base, const SeedPath& path,
                     const std::string& why) const;

 private:
  struct Streamed {
    std::size_t begin = 0; /**< of the list */
    std::size_t elements = 0;
  };

  void read_root(std::span<const std::string_view> streamed);
  void set_line_and_column(SeedFault& fault, std::size_t at) const;

  std::string_view text_;
  std::size_t begin_ = 0;
  Json root_;
  std::map<std::string, Streamed, std::less<>> streamed_;

  // Where the last fault was: faults come in the order of the text, as a rule.
  mutable std::size_t counted_ = 0;
  mutable int lines_ = 1;
  mutable std::size_t line_begin_ = 0;
};

}  // namespace host
