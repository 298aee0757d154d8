#include "json_rows.h"

namespace tool {

void JsonRows::feed(std::string_view text) {
  for (const char letter : text) {
    if (is_in_text_) {
      element_ += letter;
      is_in_text_ = is_escaped_ || letter != '"';
      is_escaped_ = !is_escaped_ && letter == '\\';
    } else if (letter == '{' || letter == '[') {
      open(letter);
    } else if (letter == '}' || letter == ']') {
      close(letter);
    } else if (letter == ',' && depth_ == level_) {
      end_element();
    } else {
      element_ += letter;
      is_in_text_ = letter == '"';
    }
  }
}

void JsonRows::open(char bracket) {
  if (depth_ == 0) {
    is_object_ = bracket == '{';
  } else if (depth_ == level_ && bracket == '[' && is_object_ &&
             trimmed(element_) == Json(inner_).dump() + ":") {
    level_ = 2;
    element_.clear();
  } else {
    element_ += bracket;
  }
  ++depth_;
}

void JsonRows::close(char bracket) {
  if (depth_ == level_) {
    end_element();
    level_ = 1;
  } else {
    element_ += bracket;
  }
  --depth_;
}

void JsonRows::end_element() {
  const bool is_empty = trimmed(element_).empty();
  if (!is_empty && is_object_ && level_ == 1) {
    const Json member = Json::parse("{" + element_ + "}");
    see_(member.begin().key(), member.begin().value());
  } else if (!is_empty) {
    see_(level_ == 2 ? inner_ : "", Json::parse(element_));
  }
  element_.clear();
}

}  // namespace tool
