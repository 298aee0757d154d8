// Formats of the trace against those of the C library, and how texts become lines. An input is a
// row of formats, separated by "^"; behind it, ">" and "<" indent more and less. Conversions that
// take no arguments of the kinds below are taken as they stand.

#include <algorithm>
#include <cstring>
#include <functional>

#include "fuzz/support.h"

namespace {

enum class Kind { integer, long_integer, long_long_integer, size, real, text, pointer };

/** A format that is safe to use, and the arguments that it takes. */
struct Format {
  std::string text;
  std::vector<Kind> arguments;
};

constexpr std::size_t most_arguments = 3;

/** Reads a number or "*"; false when it is too large. */
bool read_number(std::string_view& rest, std::string& text, Format& format) {
  constexpr std::size_t most_digits = 2;
  std::size_t digits = 0;
  if (rest.starts_with('*')) {
    format.arguments.push_back(Kind::integer);
    text += '*';
    rest.remove_prefix(1);
    return true;
  }
  for (; !rest.empty() && rest[0] >= '0' && rest[0] <= '9'; rest.remove_prefix(1)) {
    text += rest[0];
    ++digits;
  }
  return digits <= most_digits;
}

/** Reads a conversion; false when it is none of those that are tried. */
bool read_conversion(std::string_view& rest, Format& format) {
  std::string text = "%";
  rest.remove_prefix(1);
  for (; !rest.empty() && std::strchr("-+ #0", rest[0]) != nullptr && rest[0] != '\0';
       rest.remove_prefix(1)) {
    text += rest[0];
  }
  if (!read_number(rest, text, format)) {
    return false;
  }
  if (rest.starts_with('.')) {
    text += '.';
    rest.remove_prefix(1);
    if (!read_number(rest, text, format)) {
      return false;
    }
  }
  Kind integer = Kind::integer;
  for (const auto& [length, kind] : {std::pair{"hh", Kind::integer},
                                     {"h", Kind::integer},
                                     {"ll", Kind::long_long_integer},
                                     {"l", Kind::long_integer},
                                     {"z", Kind::size}}) {
    if (rest.starts_with(length)) {
      text += length;
      integer = kind;
      rest.remove_prefix(std::strlen(length));
      break;
    }
  }
  const bool has_length = text.find_first_of("hlz") != std::string::npos;
  const char kind = rest.empty() ? '\0' : rest[0];
  if (kind != '\0' && std::strchr("diuxXo", kind) != nullptr) {
    format.arguments.push_back(integer);
  } else if (kind != '\0' && std::strchr("fFeEgG", kind) != nullptr && !has_length) {
    format.arguments.push_back(Kind::real);
  } else if (kind == 's' && !has_length) {
    format.arguments.push_back(Kind::text);
  } else if (kind == 'p' && !has_length) {
    format.arguments.push_back(Kind::pointer);
  } else if (kind == 'c' && !has_length) {
    format.arguments.push_back(Kind::integer);
  } else {
    return false;
  }
  rest.remove_prefix(1);
  format.text += text + kind;
  return true;
}

/** Makes a format out of any text: what is no conversion becomes plain text. */
Format format_of(std::string_view rest) {
  Format format;
  while (!rest.empty()) {
    const Format before = format;
    const std::string_view rest_before = rest;
    if (rest[0] != '%') {
      format.text += rest[0];
      rest.remove_prefix(1);
    } else if (!read_conversion(rest, format) || format.arguments.size() > most_arguments) {
      format = before;
      format.text += "%%";
      rest = rest_before.substr(1);
    }
  }
  return format;
}

/** Collects arguments one by one and makes both calls with all of them. */
template <typename... Arguments>
void call(const Format& format, std::string* printed, Arguments... arguments) {
  if constexpr (sizeof...(arguments) <= most_arguments) {
    constexpr std::size_t taken = sizeof...(arguments);
    if (format.arguments.size() == taken) {
      char text[4096];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
      std::snprintf(text, sizeof text, format.text.c_str(), arguments...);
      ZOLP_TRACE(format.text.c_str(), arguments...);
#pragma GCC diagnostic pop
      *printed = text;
      return;
    }
    const std::size_t size = format.text.size();
    switch (format.arguments[taken]) {
      case Kind::integer:
        return call(format, printed, arguments..., 'A' + static_cast<int>(size % 50 + taken));
      case Kind::long_integer:
        return call(format, printed, arguments..., -123456789L * static_cast<long>(size));
      case Kind::long_long_integer:
        return call(format, printed, arguments..., 1LL << (size % 63));
      case Kind::size:
        return call(format, printed, arguments..., size);
      case Kind::real:
        return call(format, printed, arguments..., 0.1 * static_cast<double>(size) - 1);
      case Kind::text:
        return call(format, printed, arguments..., size % 3 == 0 ? "text\nof two lines" : "a text");
      case Kind::pointer:
        return call(format, printed, arguments..., static_cast<void*>(printed));
    }
  }
}

/** How lines are put together from texts. */
class Lines {
 public:
  void add(std::string_view text, int depth) {
    for (const char character : text) {
      if (character == '\n') {
        complete.push_back(line_);
        line_.clear();
        continue;
      }
      if (line_.empty()) {
        line_.assign(2 * static_cast<std::size_t>(std::min(depth, 32)), ' ');
        line_ += character;
      } else {
        line_ += character;
      }
    }
  }

  std::vector<std::string> complete;
  bool is_open() const { return !line_.empty(); }

 private:
  std::string line_;
};

std::vector<std::string> traced;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_DEBUG);
  ZOLP_SetTraceWriter(
      [](int, const char* line, size_t length, void*) { traced.emplace_back(line, length); },
      nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  traced.clear();
  Lines expected;
  int depth = 0;
  for (const std::string& part : fuzz::split(fuzz::terminated(fuzz::text_of(data, size)), '^')) {
    std::string_view rest = part;
    for (; rest.starts_with('>') || rest.starts_with('<'); rest.remove_prefix(1)) {
      if (rest[0] == '>') {
        ZOLP_IncTraceSpaces();
        ++depth;
      } else {
        ZOLP_DecTraceSpaces();
        depth -= depth > 0 ? 1 : 0;
      }
    }
    const Format format = format_of(rest.substr(0, 1000));
    std::string printed;
    call(format, &printed);
    expected.add(printed, depth);
  }
  if (expected.is_open()) {
    ZOLP_TRACE("\n");
    expected.add("\n", depth);
  }
  fuzz::check(traced == expected.complete, "the trace's lines");
  while (ZOLP_GetTraceDepth() > 0) {
    ZOLP_DecTraceSpaces();
  }
  return 0;
}
