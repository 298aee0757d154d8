/**
 * @file
 * JSON that is written as it is made, however much it is: laid out as nlohmann's dump with an
 * indent of 2. The embedded host and `zolp` share it.
 */
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

class JsonStream {
 public:
  using Json = nlohmann::ordered_json;
  using Write = std::function<void(std::string_view text)>;

  using OtherBytes = Json::error_handler_t;

  /** @param other_bytes what becomes of bytes that are not UTF-8; `strict` throws. */
  explicit JsonStream(Write write, OtherBytes other_bytes = OtherBytes::replace)
      : write_(std::move(write)), other_bytes_(other_bytes) {}
  JsonStream(const JsonStream&) = delete;
  JsonStream& operator=(const JsonStream&) = delete;

  void begin_list() { begin('[', ']'); }
  void begin_object() { begin('{', '}'); }

  /** Ends the list or object that was begun last. */
  void end() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.is_empty) {
      new_line();
    }
    write_(std::string_view(&level.end, 1));
  }

  /** The name of the next member of an object. */
  void key(const std::string& name) {
    separate();
    write_(dump(name) + ": ");
    has_key_ = true;
  }

  /** A value as a whole. */
  void value(const Json& value) {
    separate();
    std::string text = dump(value);
    // Line feeds stand between values only: those in texts are escaped.
    const std::string indent(2 * levels_.size(), ' ');
    for (std::size_t at = text.find('\n'); at != std::string::npos && !indent.empty();
         at = text.find('\n', at + 1)) {
      text.insert(at + 1, indent);
    }
    write_(text);
  }

  void member(const std::string& name, const Json& content) {
    key(name);
    value(content);
  }

 private:
  struct Level {
    char end;
    bool is_empty = true;
  };

  std::string dump(const Json& value) const { return value.dump(2, ' ', false, other_bytes_); }

  void begin(char first, char last) {
    separate();
    write_(std::string_view(&first, 1));
    levels_.push_back({last});
  }

  void separate() {
    if (has_key_ || levels_.empty()) {
      has_key_ = false;
      return;
    }
    if (!levels_.back().is_empty) {
      write_(",");
    }
    levels_.back().is_empty = false;
    new_line();
  }

  void new_line() { write_("\n" + std::string(2 * levels_.size(), ' ')); }

  Write write_;
  OtherBytes other_bytes_;
  std::vector<Level> levels_;
  bool has_key_ = false;
};

}  // namespace host
