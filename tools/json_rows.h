/** @file The parts of a JSON text that is read piece by piece. */
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "text.h"

namespace tool {

/**
 * Takes a JSON list or object apart as its text comes in: so each element is in memory, and not the
 * whole. A list that is a member of an object can be taken apart as well.
 */
class JsonRows {
 public:
  /** Sees an element; the key is the member's name, and empty in a list at the top. */
  using See = std::function<void(const std::string& key, Json value)>;

  /** @param inner the member whose elements are seen one by one, with its name for a key. */
  explicit JsonRows(See see, std::string inner = "")
      : see_(std::move(see)), inner_(std::move(inner)) {}

  void feed(std::string_view text);

  /** Whether the text is an object and no list. */
  bool is_object() const { return is_object_; }

 private:
  void open(char bracket);
  void close(char bracket);
  void end_element();

  See see_;
  std::string inner_;
  std::string element_; /**< as far as it has come in */
  std::size_t depth_ = 0;
  std::size_t level_ = 1; /**< of the elements: 2 in the inner list */
  bool is_object_ = false;
  bool is_in_text_ = false;
  bool is_escaped_ = false;
};

}  // namespace tool
