#include "text_format.h"

#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace basetool {
namespace {

/** A va_list that can be handed to a function that goes on reading from it. */
struct Arguments {
  va_list list;
};

/** Appends what an snprintf-like function prints; `print(buffer, size)` may be called twice. */
template <typename Print>
void append_printed(LineRoom& room, Print print) {
  int length = print(room.cursor, room.free_size());
  if (length < 0)
    return;
  size_t size = static_cast<size_t>(length);
  if (size >= room.free_size()) {
    if (!room.reserve(size + 1))
      size = room.cut(size + 1);
    if (size >= room.free_size())
      return;
    print(room.cursor, room.free_size());
  }
  room.cursor += size;
  *room.cursor = '\n';  // the terminating NUL lies in the free room
}

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
    return va_arg(arguments.list, int);
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
  for (; *at != '\0' && std::strchr("-+ #0'", *at) != nullptr; ++at) {
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
  if (!conversion.left)
    room.append_repeated(' ', padding);
  room.append(text, size);
  if (conversion.left)
    room.append_repeated(' ', padding);
}

/** Appends a number or pointer as the C library prints it. */
template <typename Value>
void append_value(LineRoom& room, const Conversion& conversion, Value value) {
  // The conversion as it stands, with the numbers in place of its stars.
  char format[64];
  size_t size = 0;
  format[size++] = '%';
  for (const char* flag = conversion.begin + 1; *flag != '\0' && std::strchr("-+ #0'", *flag);
       ++flag) {
    if (size < 16)
      format[size++] = *flag;
  }
  if (conversion.left)
    format[size++] = '-';
  std::snprintf(format + size, sizeof format - size, "*.*%s%c", conversion.length, conversion.kind);
  append_printed(room, [&](char* buffer, size_t room_size) {
    return std::snprintf(buffer, room_size, format, conversion.width, conversion.precision, value);
  });
}

void append_integer(LineRoom& room, const Conversion& conversion, Arguments& arguments) {
  switch (conversion.length[0]) {
    case 'l':
      return conversion.length[1] == 'l'
                 ? append_value(room, conversion, va_arg(arguments.list, long long))
                 : append_value(room, conversion, va_arg(arguments.list, long));
    case 'j':
      return append_value(room, conversion, va_arg(arguments.list, intmax_t));
    case 'z':
      return append_value(room, conversion, va_arg(arguments.list, size_t));
    case 't':
      return append_value(room, conversion, va_arg(arguments.list, ptrdiff_t));
    default:
      return append_value(room, conversion, va_arg(arguments.list, int));
  }
}

/** @return false for a conversion that cannot be done on its own. */
bool append_conversion(LineRoom& room, const Conversion& conversion, Arguments& arguments) {
  bool is_long = conversion.length[0] != '\0';
  switch (conversion.kind) {
    case 's':
      if (is_long)
        return false;
      append_text(room, conversion, va_arg(arguments.list, const char*));
      return true;
    case 'c':
      if (is_long)
        return false;
      append_value(room, conversion, va_arg(arguments.list, int));
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
      append_value(room, conversion, va_arg(arguments.list, void*));
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
        append_value(room, conversion, va_arg(arguments.list, long double));
      } else {
        append_value(room, conversion, va_arg(arguments.list, double));
      }
      return true;
    default:
      return false;
  }
}

/** Copies without a call what is short enough, as nearly all texts of a trace are. */
inline void copy_short(char* to, const char* from, size_t size) {
  if (size > 64) {
    std::memcpy(to, from, size);
  } else if (size >= 16) {
    size_t at = 0;
    for (; at + 16 <= size; at += 16)
      std::memcpy(to + at, from + at, 16);
    std::memcpy(to + size - 16, from + size - 16, 16);
  } else if (size >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + size - 8, from + size - 8, 8);
  } else if (size >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + size - 4, from + size - 4, 4);
  } else {
    for (size_t i = 0; i < size; ++i)
      to[i] = from[i];
  }
}

/** The plain conversions, written with the cursor in a register. */
class Pen {
 public:
  explicit Pen(LineRoom& room) : room_(room), out_(room.cursor), limit_(room.limit) {}

  void put_down() { room_.cursor = out_; }
  void take_up() {
    out_ = room_.cursor;
    limit_ = room_.limit;
  }

  /** Writes up to the next `%` or the end, and returns where that is. */
  const char* write_literal(const char* format) {
    // A few characters mostly: copying them in one pass beats looking for their end first.
    while (*format != '%' && *format != '\0') {
      if (out_ == limit_)
        return write_long_literal(format);
      *out_++ = *format++;
    }
    return format;
  }

  void write_text(const char* text) {
    if (text == nullptr)
      text = "(null)";
    size_t size = std::strlen(text);
    if (size <= static_cast<size_t>(limit_ - out_)) [[likely]] {
      copy_short(out_, text, size);
      out_ += size;
    } else {
      write_long_text(text, size);
    }
  }

  template <typename Number>
  void write_number(Number number) {
    constexpr size_t longest = 20;
    if (limit_ - out_ < static_cast<ptrdiff_t>(longest) && !make_room(longest))
      return;
    out_ = std::to_chars(out_, limit_, number).ptr;
  }

  void write_character(char character) {
    if (out_ == limit_ && !make_room(1))
      return;
    *out_++ = character;
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
    take_up();
  }

  bool make_room(size_t size) {
    put_down();
    bool is_done = room_.reserve(size);
    take_up();
    return is_done;
  }

  LineRoom& room_;
  char* out_;
  char* limit_;
};

/** @return false at a conversion that cannot be done on its own, with a part of the text appended.
 */
inline bool append_piece_by_piece(LineRoom& room, const char* format, Arguments& arguments) {
  Pen pen(room);
  for (;;) {
    format = pen.write_literal(format);
    if (*format == '\0')
      break;
    char kind = format[1];
    if (kind == 's') {
      pen.write_text(va_arg(arguments.list, const char*));
    } else if (kind == 'd') {
      pen.write_number(va_arg(arguments.list, int));
    } else if (kind == 'u') {
      pen.write_number(va_arg(arguments.list, unsigned));
    } else if (kind == 'c') {
      pen.write_character(static_cast<char>(va_arg(arguments.list, int)));
    } else if (kind == '%') {
      pen.write_character('%');
    } else {
      pen.put_down();
      Conversion conversion = read_conversion(format, arguments);
      if (!append_conversion(room, conversion, arguments))
        return false;
      format = conversion.end;
      pen.take_up();
      continue;
    }
    format += 2;
  }
  pen.put_down();
  return true;
}

}  // namespace

void append_formatted(LineRoom& room, const char* format, va_list arguments) {
  Arguments read;
  va_copy(read.list, arguments);
  size_t length_before = room.length();
  if (!append_piece_by_piece(room, format, read)) {
    // Numbered arguments, wide characters: the C library reads those from the whole format.
    room.shorten(length_before);
    append_printed(room, [&](char* buffer, size_t size) {
      va_list again;
      va_copy(again, arguments);
      int length = std::vsnprintf(buffer, size, format, again);
      va_end(again);
      return length;
    });
  }
  va_end(read.list);
}

}  // namespace basetool
