#include "display.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "dates.h"
#include "failure.h"
#include "object_id.h"
#include "ork/obj.h"
#include "ork/store.h"

namespace host {

namespace {

/** The part of a format that is about the day, or all of it where that does not come first. */
std::string day_format(const std::string& format) {
  std::size_t day_end = 0;
  std::size_t time_begin = format.size();
  for (std::size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] != '%') {
      continue;
    }
    const bool is_of_time = std::string_view("HMS").find(format[i + 1]) != std::string_view::npos;
    if (is_of_time) {
      time_begin = std::min(time_begin, i);
    } else if (format[i + 1] != '%') {
      day_end = i + 2;
    }
    ++i;
  }
  return time_begin < day_end ? format : format.substr(0, day_end);
}

std::string date_for_display(const date_s& date) {
  const std::string format = default_date_format();
  const bool has_time = date.hour != 0 || date.minute != 0 || date.second != 0;
  return formatted_date(date, has_time ? format : day_format(format));
}

std::string display_text(const Scalar& value) {
  return std::visit(
      [](const auto& content) -> std::string {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::string>) {
          return content;
        } else if constexpr (std::is_same_v<Content, bool>) {
          return content ? "True" : "False";
        } else if constexpr (std::is_same_v<Content, date_s>) {
          return date_for_display(content);
        } else if constexpr (std::is_same_v<Content, double>) {
          return nlohmann::json(content).dump();  // the shortest text that reads back the same
        } else {
          return std::to_string(content);
        }
      },
      value);
}

[[noreturn]] void refuse_value(const Attribute& attribute, const std::string& text,
                               const std::string& expected) {
  refuse(OBJ_value_not_understood,
         attribute.name + " cannot be \"" + text + "\", expected " + expected);
}

template <typename Number>
Number parsed_number(const Attribute& attribute, const std::string& text, const char* expected) {
  const char* const end = text.data() + text.size();
  Number number{};
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end ||
      !std::isfinite(static_cast<double>(number))) {
    refuse_value(attribute, text, expected);
  }
  return number;
}

/** A date with or without its time of day. */
date_s parsed_display_date(const Attribute& attribute, const std::string& text) {
  const std::string format = default_date_format();
  std::string why;
  for (const std::string& accepted : {day_format(format), format}) {
    try {
      return parsed_date(text, accepted);
    } catch (const Failure& failure) {
      why = failure.detail();
      if (failure.status() == DATE_invalid_date) {
        why = "there is no such date";
        break;  // it is written well
      }
    }
  }
  constexpr date_s example = {2026, 10, 21, 13, 5, 0};
  refuse_value(attribute, text,
               "a date such as \"" + formatted_date(example, format) + "\": " + why);
}

Scalar parsed_value(const Attribute& attribute, const std::string& text) {
  switch (attribute.kind) {
    case Kind::text:
      return text;
    case Kind::integer:
      return parsed_number<int>(attribute, text, "a whole number from -2147483648 to 2147483647");
    case Kind::real:
      return parsed_number<double>(attribute, text, "a number such as -1.5 or 2e9");
    case Kind::logical:
      if (text != "True" && text != "False") {
        refuse_value(attribute, text, "True or False");
      }
      return text == "True";
    case Kind::date:
      return parsed_display_date(attribute, text);
    case Kind::reference:
      break;
  }
  refuse(ORK_internal_error, "a reference has no text");
}

}  // namespace

std::string display_value(Store& store, tag object, const std::string& attribute) {
  const Values& values = store.values(object, attribute);
  const bool holds_objects =
      store.class_of(object).find_attribute(attribute)->kind == Kind::reference;
  std::string display;
  for (const Scalar& value : values) {
    display += display.empty() ? "" : ", ";
    display += holds_objects ? object_label(store, std::get<tag>(value)) : display_text(value);
  }
  return display;
}

void set_display_value(Store& store, tag object, const std::string& attribute,
                       const std::string& text) {
  store.values(object, attribute);  // says what is wrong with the object or the attribute's name
  store.set_values(object, attribute,
                   values_of_display(*store.class_of(object).find_attribute(attribute), text));
}

Values values_of_display(const Attribute& attribute, const std::string& text) {
  if (attribute.list || attribute.kind == Kind::reference) {
    refuse(STORE_wrong_value_type,
           attribute.name + (attribute.list ? " holds a list" : " holds an object"));
  }
  return text.empty() ? Values() : Store::single_value(parsed_value(attribute, text));
}

}  // namespace host
