#include "text_format.h"

#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace basetool {
namespace {

/**
 * Appends what an snprintf-like function prints; `print(buffer, size)` may be called twice.
 * @return false when it cannot be printed.
 */
template <typename Print>
bool append_printed(LineRoom& room, Print print) {
  int length = print(room.cursor, room.free_size());
  if (length < 0) {
    std::memset(room.cursor, '\n', room.free_size());  // where the part before the error may stand
    return false;
  }
  size_t size = static_cast<size_t>(length);
  if (size >= room.free_size()) {
    if (!room.reserve(size + 1)) {
      size = room.cut(size + 1);
    }
    if (size >= room.free_size()) {
      return true;
    }
    print(room.cursor, room.free_size());
  }
  room.cursor += size;
  *room.cursor = '\n';  // the terminating NUL lies in the free room
  return true;
}

constexpr char all_flags[] = "-+ #0'";

/** One conversion of a format, taken apart. */
struct Conversion {
  const char* begin;
  const char* end;
  bool left = false;
  int width = 0;
  int precision = -1;
  char length[3] = {};
  char kind = '\0';
};

/** Reads digits or a `*`; a value beyond int's range stays at its end. */
int read_number(const char*& at, Arguments& arguments) {
  if (*at == '*') {
    ++at;
    return va_arg(arguments.next, int);
  }
  int number = 0;
  for (; *at >= '0' && *at <= '9'; ++at) {
    number = number > (INT_MAX - 9) / 10 ? INT_MAX : number * 10 + (*at - '0');
  }
  return number;
}

/** Takes the conversion apart whose `%` stands at `begin`. */
Conversion read_conversion(const char* begin, Arguments& arguments) {
  Conversion conversion{begin, begin};
  const char* at = begin + 1;
  for (; *at != '\0' && std::strchr(all_flags, *at) != nullptr; ++at) {
    conversion.left |= *at == '-';
  }
  conversion.width = read_number(at, arguments);
  if (conversion.width < 0) {
    conversion.left = true;
    conversion.width = conversion.width == INT_MIN ? INT_MAX : -conversion.width;
  }
  if (*at == '.') {
    conversion.precision = read_number(++at, arguments);
  }
  for (size_t i = 0; i < 2 && *at != '\0' && std::strchr("hljztL", *at) != nullptr; ++i) {
    conversion.length[i] = *at++;
  }
  conversion.kind = *at;
  conversion.end = *at == '\0' ? at : at + 1;
  return conversion;
}

void append_text(LineRoom& room, const Conversion& conversion, const char* text) {
  size_t size = 0;
  if (text == nullptr) {
    text = "(null)";
    size = std::strlen(text);
  } else if (conversion.precision >= 0) {
    size = strnlen(text, static_cast<size_t>(conversion.precision));
  } else {
    size = std::strlen(text);
  }
  size_t width = static_cast<size_t>(conversion.width);
  size_t padding = width > size ? width - size : 0;
  if (!conversion.left) {
    room.append_repeated(' ', padding);
  }
  room.append(text, size);
  if (conversion.left) {
    room.append_repeated(' ', padding);
  }
}

/** Appends a number or pointer as the C library prints it. */
template <typename Value>
void append_value(LineRoom& room, const Conversion& conversion, Value value) {
  // The conversion as it stands, with each flag once and the numbers in place of its stars.
  char format[64];
  size_t size = 0;
  format[size++] = '%';
  const size_t flag_count = std::strspn(conversion.begin + 1, all_flags);
  for (const char* flag = all_flags; *flag != '\0'; ++flag) {
    bool is_set = std::memchr(conversion.begin + 1, *flag, flag_count) != nullptr;
    if (is_set || (*flag == '-' && conversion.left)) {
      format[size++] = *flag;
    }
  }
  // Left out where they say nothing, since not all libraries print pointers the same with them.
  const bool has_numbers = conversion.width != 0 || conversion.precision >= 0;
  std::snprintf(format + size, sizeof format - size, "%s%s%c", has_numbers ? "*.*" : "",
                conversion.length, conversion.kind);
  append_printed(room, [&](char* buffer, size_t room_size) {
    return has_numbers ? std::snprintf(buffer, room_size, format, conversion.width,
                                       conversion.precision, value)
                       : std::snprintf(buffer, room_size, format, value);
  });
}

void append_integer(LineRoom& room, const Conversion& conversion, Arguments& arguments) {
  switch (conversion.length[0]) {
    case 'l':
      return conversion.length[1] == 'l'
                 ? append_value(room, conversion, va_arg(arguments.next, long long))
                 : append_value(room, conversion, va_arg(arguments.next, long));
    case 'j':
      return append_value(room, conversion, va_arg(arguments.next, intmax_t));
    case 'z':
      return append_value(room, conversion, va_arg(arguments.next, size_t));
    case 't':
      return append_value(room, conversion, va_arg(arguments.next, ptrdiff_t));
    default:
      return append_value(room, conversion, va_arg(arguments.next, int));
  }
}

/** @return false for a conversion that cannot be done on its own. */
bool append_conversion(LineRoom& room, const Conversion& conversion, Arguments& arguments) {
  bool is_long = conversion.length[0] != '\0';
  switch (conversion.kind) {
    case 's':
      if (is_long) {
        return false;
      }
      append_text(room, conversion, va_arg(arguments.next, const char*));
      return true;
    case 'c':
      if (is_long) {
        return false;
      }
      append_value(room, conversion, va_arg(arguments.next, int));
      return true;
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
      append_integer(room, conversion, arguments);
      return true;
    case 'p':
      append_value(room, conversion, va_arg(arguments.next, void*));
      return true;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      if (conversion.length[0] == 'L') {
        append_value(room, conversion, va_arg(arguments.next, long double));
      } else {
        append_value(room, conversion, va_arg(arguments.next, double));
      }
      return true;
    default:
      return false;
  }
}

/**
 * Appends a text whose conversions cannot be done one by one: numbered ones, wide characters. A
 * format that the library refuses is shown as it stands.
 */
void append_by_library(LineRoom& room, const char* format, Arguments& arguments) {
  bool is_printed = append_printed(room, [&](char* buffer, size_t size) {
    va_list again;
    va_copy(again, arguments.all);
    int length = std::vsnprintf(buffer, size, format, again);
    va_end(again);
    return length;
  });
  if (!is_printed) {
    room.append(format, std::strlen(format));
  }
}

/** Copies as many bytes as a word has and marks those that are line feeds. */
template <typename Word>
inline void copy_word(char* to, const char* from, Word& marks) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  std::memcpy(to, &word, sizeof word);
  if constexpr (sizeof word == 16) {
    marks |= reinterpret_cast<Word>(word == '\n');
  } else {
    // A byte's highest bit gets set where it was a line feed.
    constexpr Word every_byte = static_cast<Word>(-1) / 0xff;
    word ^= every_byte * '\n';
    marks |= (word - every_byte) & ~word & (every_byte << 7);
  }
}

/** Copies at least a word word by word, the last one overlapping the one before. */
template <typename Word>
inline Word copy_words(char* to, const char* from, size_t size) {
  Word marks{};
  for (size_t at = 0; at + sizeof(Word) < size; at += sizeof(Word)) {
    copy_word(to + at, from + at, marks);
  }
  copy_word(to + size - sizeof(Word), from + size - sizeof(Word), marks);
  return marks;
}

/** Copies a text and looks for line feeds on the way. @return true if there are any. */
inline bool copy_and_search(char* to, const char* from, size_t size) {
  using LongWord = unsigned char __attribute__((vector_size(16)));
  if (size >= sizeof(LongWord)) {
    uint64_t halves[2];
    const LongWord marks = copy_words<LongWord>(to, from, size);
    std::memcpy(halves, &marks, sizeof halves);
    return (halves[0] | halves[1]) != 0;
  }
  if (size >= sizeof(uint64_t)) {
    return copy_words<uint64_t>(to, from, size) != 0;
  }
  if (size >= sizeof(uint32_t)) {
    return copy_words<uint32_t>(to, from, size) != 0;
  }
  bool found = false;
  for (size_t i = 0; i < size; ++i) {
    to[i] = from[i];
    found |= from[i] == '\n';
  }
  return found;
}

/** The plain conversions, written with the cursor in a register. */
class Pen {
 public:
  explicit Pen(LineRoom& room) : room_(room), out_(room.cursor), limit_(room.limit) {}

  /** Leaves the room to others ... */
  void put_down() { room_.cursor = out_; }
  /** ... and goes on after what they wrote. */
  void take_up(bool is_text) {
    out_ = room_.cursor;
    limit_ = room_.limit;
    if (is_text) {
      line_feeds_ += many;
    }
  }

  /** Writes up to the next `%` or the end, and returns where that is. */
  const char* write_literal(const char* format) {
    // A few characters mostly: copying them in one pass beats looking for their end first. Letters
    // lie beyond all characters that matter, so most take one comparison.
    size_t room = static_cast<size_t>(limit_ - out_);
    for (size_t i = 0;; ++i) {
      unsigned char character = static_cast<unsigned char>(format[i]);
      if (character <= '%') {
        if (character == '%' || character == '\0') {
          out_ += i;
          return format + i;
        }
        if (character == '\n') {
          ++line_feeds_;
        }
      }
      if (i == room) {
        return write_long_literal(format);
      }
      out_[i] = static_cast<char>(character);
    }
  }

  void write_text(const char* text) {
    if (text == nullptr) {
      text = "(null)";
    }
    size_t size = std::strlen(text);
    if (size <= static_cast<size_t>(limit_ - out_)) [[likely]] {
      if (copy_and_search(out_, text, size)) {
        line_feeds_ += many;
      }
      out_ += size;
    } else {
      write_long_text(text, size);
    }
  }

  template <typename Number>
  void write_number(Number number) {
    constexpr size_t longest = 20;
    if (limit_ - out_ < static_cast<ptrdiff_t>(longest) && !make_room(longest)) {
      return;
    }
    out_ = std::to_chars(out_, limit_, number).ptr;
  }

  void write_character(char character) {
    if (out_ == limit_ && !make_room(1)) {
      return;
    }
    if (character == '\n') {
      ++line_feeds_;
    }
    *out_++ = character;
  }

  LineFeeds line_feeds() const {
    return line_feeds_ >= many ? LineFeeds::several : static_cast<LineFeeds>(line_feeds_);
  }

 private:
  const char* write_long_literal(const char* format) {
    size_t size = std::strcspn(format, "%");
    write_long_text(format, size);
    return format + size;
  }

  void write_long_text(const char* text, size_t size) {
    put_down();
    room_.append(text, size);
    take_up(true);
  }

  bool make_room(size_t size) {
    put_down();
    bool is_done = room_.reserve(size);
    take_up(false);
    return is_done;
  }

  static constexpr size_t many = 2;

  LineRoom& room_;
  char* out_;
  char* limit_;
  size_t line_feeds_ = 0;
};

}  // namespace

LineFeeds append_formatted(LineRoom& room, const char* format, Arguments& arguments) {
  const char* whole_format = format;
  size_t length_before = room.length();
  Pen pen(room);
  for (;;) {
    format = pen.write_literal(format);
    if (*format == '\0') {
      break;
    }
    char kind = format[1];
    if (kind == 's') {
      pen.write_text(va_arg(arguments.next, const char*));
    } else if (kind == 'd') {
      pen.write_number(va_arg(arguments.next, int));
    } else if (kind == 'u') {
      pen.write_number(va_arg(arguments.next, unsigned));
    } else if (kind == 'c') {
      pen.write_character(static_cast<char>(va_arg(arguments.next, int)));
    } else if (kind == '%') {
      pen.write_character('%');
    } else {
      pen.put_down();
      Conversion conversion = read_conversion(format, arguments);
      if (!append_conversion(room, conversion, arguments)) {
        room.shorten(length_before);
        append_by_library(room, whole_format, arguments);
        return LineFeeds::several;
      }
      pen.take_up(conversion.kind == 's' || conversion.kind == 'c');
      format = conversion.end;
      continue;
    }
    format += 2;
  }
  pen.put_down();
  return pen.line_feeds();
}

}  // namespace basetool
