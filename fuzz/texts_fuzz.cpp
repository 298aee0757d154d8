// Functions on texts and paths. An input's first line is a set of separators; the rest is a text.

#include <cctype>
#include <cstring>

#include "fuzz/support.h"
#include "ork/mem.h"
#include "ork_host.h"
#include "zolp_orktool.h"

namespace {

/** The fields of a text, character by character. */
std::vector<std::string> fields_of(const std::string& text, const std::string& separators) {
  std::vector<std::string> fields(1);
  bool is_quoted = false;
  for (const char character : text.substr(0, text.find('\n'))) {
    if (character == '"') {
      is_quoted = !is_quoted;
    }
    const bool separates =
        character != '"' && !is_quoted && separators.find(character) != std::string::npos;
    if (separates) {
      fields.emplace_back();
    } else if (character != ' ' || !fields.back().empty()) {
      fields.back() += character;
    }
  }
  return fields;
}

void check_fields(const std::string& text, const std::string& separators) {
  int count = -1;
  char** items = nullptr;
  fuzz::check(ZOLP_splitItemString(text.c_str(), separators.empty() ? nullptr : separators.c_str(),
                                   &count, &items) == 0,
              "a text is split");
  const std::vector<std::string> expected = fields_of(text, separators.empty() ? "~" : separators);
  fuzz::check(count == (text.empty() ? 0 : static_cast<int>(expected.size())), "fields");
  for (int i = 0; i < count; ++i) {
    fuzz::check(items[i] == expected[static_cast<std::size_t>(i)], "a field");
    MEM_free(items[i]);
  }
  MEM_free(items);
}

void check_halves(const std::string& text, char separator) {
  std::string head(text.size() + 1, 'x');
  std::string tail(text.size() + 1, 'x');
  ZOLP_splitToFirstSeparator(text.c_str(), separator, head.data(), tail.data());
  const std::size_t at = separator == '\0' ? std::string::npos : text.find(separator);
  fuzz::check(head.c_str() == text.substr(0, at), "what stands before the separator");
  fuzz::check(tail.c_str() == (at == std::string::npos ? "" : text.substr(at + 1)),
              "what stands behind it");
}

void check_replacements(const std::string& text) {
  std::string changed = text;
  ZOLP_RepSpecialChar(changed.data());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_special = std::strchr("/;, *:?=\\'#><[]}{|~@&$\"\xB4`", text[i]) != nullptr;
    fuzz::check(changed[i] == (is_special ? '_' : text[i]), "special characters");
  }
  changed = text;
  string_to_lower(changed.data());
  for (std::size_t i = 0; i < text.size(); ++i) {
    fuzz::check(changed[i] == static_cast<char>(std::tolower(static_cast<unsigned char>(text[i]))),
                "small letters");
  }
}

void check_copies(const std::string& text, const std::string& addition) {
  char* copy = ZOLP_CopyString(text.c_str());
  fuzz::check(copy != nullptr && copy == text, "a copy");
  ZOLP_string_append(&copy, addition.c_str());
  fuzz::check(copy == text + addition, "an appended text");
  ZOLP_string_append(&copy, copy);
  fuzz::check(copy == text + addition + text + addition, "a text appended to itself");
  MEM_free(copy);
}

void check_path(const std::string& path, const std::string& value) {
#if defined(_WIN32)
  if (value.empty()) {
    return;  // a variable without a value is none
  }
#endif
  constexpr const char* variable = "ZOLP_FUZZ";
  setenv(variable, value.c_str(), 1);
  const std::string with_variable = std::string("%") + variable + "%\\" + path;
  std::string expanded(ZOLP_LONG_PATH_SIZE, 'x');
  const bool fits = path.size() <= 256 && value.size() + 1 + path.size() < ZOLP_LONG_PATH_SIZE;
  const int status = ZOLP_ExtendPathVar(with_variable.c_str(), expanded.data());
  fuzz::check(status == (fits ? 0 : 1), "a path is expanded unless it is too long");
  fuzz::check(!fits || expanded.c_str() == value + "\\" + path, "an expanded path");

  std::string untouched(ZOLP_LONG_PATH_SIZE, 'x');
  const int other_status = ZOLP_ExtendPathVar(path.c_str(), untouched.data());
  const bool has_variable = !path.empty() && (path[0] == '%' || path[0] == '$');
  fuzz::check(has_variable || (other_status == 0 && untouched[0] == 'x'),
              "a path without a variable");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::print_into_nothing();
  fuzz::trace_into_nothing();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::text_of(data, size);
  const std::size_t first_line = std::min(input.find('\n'), size);
  const std::string separators = fuzz::terminated(input.substr(0, first_line));
  const std::string text = fuzz::terminated(input.substr(std::min(first_line + 1, size)));
  const std::size_t blocks = ork_host_block_count();
  check_fields(text, separators);
  check_halves(text, separators.empty() ? '\0' : separators[0]);
  check_replacements(text);
  check_copies(text, separators);
  check_path(text, separators);
  fuzz::check(ork_host_block_count() == blocks, "all blocks are freed");
  return 0;
}
