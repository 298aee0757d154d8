#include "dates.h"

#include <chrono>
#include <cstdio>
#include <vector>

#include "failure.h"
#include "ork/text.h"
#include "texts.h"

namespace host {

namespace {

constexpr std::string_view store_format = "%Y-%m-%d %H:%M:%S";

constexpr int months_in_year = 12;

/** A part of a date where `field` is its letter in formats, otherwise a character. */
struct Piece {
  char field;
  char character;
};

std::vector<Piece> pieces_of(std::string_view format) {
  constexpr std::string_view fields = "dmbYyHMS";
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      pieces.push_back({'\0', format[i]});
      continue;
    }
    const char letter = ++i < format.size() ? format[i] : '\0';
    if (letter == '%') {
      pieces.push_back({'\0', '%'});
    } else if (letter != '\0' && fields.find(letter) != std::string_view::npos) {
      pieces.push_back({letter, '\0'});
    } else {
      refuse(DATE_invalid_format, "\"" + std::string(format) + "\", character " +
                                      std::to_string(i) + ": \"%\" stands before one of " +
                                      std::string(fields) + "%");
    }
  }
  return pieces;
}

/** Key of a month's abbreviated name; the months are counted from 1. */
std::string month_key(int month) {
  return "month." + std::to_string(month);
}

std::string digits(int number, int width) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*d", width, number);
  return text;
}

std::string field_text(const date_s& date, char field) {
  switch (field) {
    case 'd':
      return digits(date.day, 2);
    case 'm':
      return digits(date.month + 1, 2);
    case 'b':
      return required_text(month_key(date.month + 1));
    case 'Y':
      return digits(date.year, 4);
    case 'y':
      return digits(date.year % 100, 2);
    case 'H':
      return digits(date.hour, 2);
    case 'M':
      return digits(date.minute, 2);
    default:
      return digits(date.second, 2);
  }
}

/** The members of a record, for one that no format can show. */
std::string record_text(const date_s& date) {
  char text[120];
  std::snprintf(text, sizeof text, "year %d, month %d, day %d, hour %d, minute %d, second %d",
                date.year, date.month, date.day, date.hour, date.minute, date.second);
  return text;
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

char lower_case(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool begins_with(std::string_view text, std::string_view beginning) {
  if (text.size() < beginning.size()) {
    return false;
  }
  for (std::size_t i = 0; i < beginning.size(); ++i) {
    if (lower_case(text[i]) != lower_case(beginning[i])) {
      return false;
    }
  }
  return true;
}

/** Reads the pieces of a format from a text, one after the other. */
class DateReader {
 public:
  DateReader(std::string_view text, std::string_view format) : text_(text), format_(format) {}

  date_s read() {
    for (const Piece& piece : pieces_of(format_)) {
      if (piece.field != '\0') {
        read_field(piece.field);
      } else if (at_ < text_.size() && text_[at_] == piece.character) {
        ++at_;
      } else {
        refuse_text(std::string("\"") + piece.character + '"');
      }
    }
    if (at_ != text_.size()) {
      refuse_text("the end");
    }
    return date();
  }

 private:
  static constexpr int not_read = -1;

  [[noreturn]] void refuse_text(const std::string& expected) const {
    const std::string found =
        at_ < text_.size() ? "found \"" + std::string(text_.substr(at_)) + '"' : "it ends there";
    refuse(DATE_wrong_text, "\"" + std::string(text_) + "\", character " + std::to_string(at_ + 1) +
                                ": format \"" + std::string(format_) + "\" expects " + expected +
                                ", " + found);
  }

  void read_field(char field) {
    switch (field) {
      case 'd':
        return set(day_, number(1, 2, "a day"), "day");
      case 'm':
        return set(month_, number(1, 2, "the number of a month"), "month");
      case 'b':
        return set(month_, month_name(), "month");
      case 'Y':
        return set(year_, number(4, 4, "a year in four digits"), "year");
      case 'y':
        return set(year_, full_year(number(2, 2, "a year in two digits")), "year");
      case 'H':
        return set(hour_, number(1, 2, "an hour"), "hour");
      case 'M':
        return set(minute_, number(1, 2, "a minute"), "minute");
      default:
        return set(second_, number(1, 2, "a second"), "second");
    }
  }

  void set(int& part, int value, const char* name) const {
    if (part != not_read) {
      refuse_format(std::string("has the ") + name + " twice");
    }
    part = value;
  }

  [[noreturn]] void refuse_format(const std::string& why) const {
    refuse(DATE_invalid_format, "\"" + std::string(format_) + "\" " + why);
  }

  int number(std::size_t least, std::size_t most, const char* what) {
    std::size_t end = at_;
    int value = 0;
    while (end < text_.size() && end - at_ < most && is_digit(text_[end])) {
      value = value * 10 + (text_[end++] - '0');
    }
    if (end - at_ < least) {
      refuse_text(what);
    }
    at_ = end;
    return value;
  }

  static int full_year(int two_digits) { return two_digits + (two_digits < 69 ? 2000 : 1900); }

  /** The month with the longest name that stands here, in whatever language. */
  int month_name() {
    std::size_t longest = 0;
    int found = 0;
    for (const Language language : languages) {
      for (int month = 1; month <= months_in_year; ++month) {
        const std::string* name = find_text(month_key(month), language);
        if (name != nullptr && name->size() > longest && begins_with(text_.substr(at_), *name)) {
          longest = name->size();
          found = month;
        }
      }
    }
    if (longest == 0) {
      refuse_text("the abbreviated name of a month");
    }
    at_ += longest;
    return found;
  }

  date_s date() const {
    if (day_ == not_read || month_ == not_read || year_ == not_read) {
      refuse_format("lacks day, month or year");
    }
    const auto time_part = [](int part) {
      return static_cast<std::uint8_t>(part == not_read ? 0 : part);
    };
    const date_s date = {
        static_cast<std::int16_t>(year_),
        static_cast<std::uint8_t>(month_ - 1),
        static_cast<std::uint8_t>(day_),
        time_part(hour_),
        time_part(minute_),
        time_part(second_),
    };
    if (!is_date(date)) {
      refuse(DATE_invalid_date, "\"" + std::string(text_) + '"');
    }
    return date;
  }

  std::string_view text_;
  std::string_view format_;
  std::size_t at_ = 0;
  int year_ = not_read;
  int month_ = not_read;
  int day_ = not_read;
  int hour_ = not_read;
  int minute_ = not_read;
  int second_ = not_read;
};

}  // namespace

bool is_date(const date_s& date) {
  constexpr int first_year = 1;
  constexpr int last_year = 9999;
  const std::chrono::year_month_day day{std::chrono::year(date.year),
                                        std::chrono::month(date.month + 1u),
                                        std::chrono::day(date.day)};
  return date.year >= first_year && date.year <= last_year && date.month < months_in_year &&
         day.ok() && date.hour < 24 && date.minute < 60 && date.second < 60;
}

std::string formatted_date(const date_s& date, std::string_view format) {
  const bool is_null = date == date_s{};
  if (!is_null && !is_date(date)) {
    refuse(DATE_invalid_date, record_text(date));
  }
  std::string text;
  for (const Piece& piece : pieces_of(format)) {
    if (is_null) {
      continue;
    }
    if (piece.field != '\0') {
      text += field_text(date, piece.field);
    } else {
      text += piece.character;
    }
  }
  return text;
}

date_s parsed_date(std::string_view text, std::string_view format) {
  return DateReader(text, format).read();
}

std::string default_date_format() {
  return required_text(TEXT_default_date_format);
}

std::string date_text(const date_s& date) {
  return formatted_date(date, store_format);
}

date_s parse_date(const std::string& text) {
  if (text.empty()) {
    return {};
  }
  try {
    return parsed_date(text, store_format);
  } catch (const Failure&) {
    return {};
  }
}

}  // namespace host
