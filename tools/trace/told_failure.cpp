#include "told_failure.h"

#include <algorithm>

#include "text_prefix.h"

namespace trace {
namespace {

bool read_number(std::string_view text, int32_t& number) {
  const bool is_negative = text.starts_with('-');
  text.remove_prefix(is_negative ? 1 : 0);
  int64_t value = 0;
  if (text.empty() || text.size() > 10 || !std::all_of(text.begin(), text.end(), is_digit)) {
    return false;
  }
  for (const char digit : text) {
    value = value * 10 + (digit - '0');
  }
  number = static_cast<int32_t>(is_negative ? -value : value);
  return true;
}

/** `File:F Line:N Funktion:CALL returned S `, wherever it begins in the line. */
bool read_traced_failure(std::string_view line, ToldFailure& told) {
  constexpr std::string_view file = "File:", line_number = " Line:", function = " Funktion:",
                             returned = " returned ";
  const size_t begin = line.find(file);
  const size_t status = line.rfind(returned);
  if (begin == std::string_view::npos || status == std::string_view::npos) {
    return false;
  }
  const size_t number = line.find(line_number, begin);
  const size_t call = line.find(function, begin);
  int32_t place = 0;
  if (number == std::string_view::npos || call == std::string_view::npos || call < number ||
      call + function.size() > status ||
      !read_number(line.substr(number + line_number.size(), call - number - line_number.size()),
                   place) ||
      !read_number(
          line.substr(status + returned.size(), line.size() - status - returned.size() - 1),
          told.status)) {
    return false;
  }
  told.kind = CallKind::traced;
  told.call.text = line.substr(call + function.size(), status - call - function.size());
  told.call.file = line.substr(begin + file.size(), number - begin - file.size());
  told.call.line = static_cast<uint32_t>(place);
  return !told.call.text.empty() && !told.call.file.empty();
}

/** `##ORK_err_S: CALL   F:N`, wherever it begins in the line. */
bool read_guarded_failure(std::string_view line, ToldFailure& told) {
  constexpr std::string_view mark = "##ORK_err_";
  const size_t begin = line.find(mark);
  const size_t colon = line.find(": ", begin == std::string_view::npos ? line.size() : begin);
  if (colon == std::string_view::npos ||
      !read_number(line.substr(begin + mark.size(), colon - begin - mark.size()), told.status)) {
    return false;
  }
  told.kind = CallKind::guarded;
  told.call = parse_call(line.substr(colon + 2));
  while (told.call.text.ends_with(' ')) {
    told.call.text.remove_suffix(1);
  }
  return !told.call.text.empty();
}

}  // namespace

bool read_failure(std::string_view line, ToldFailure& told) {
  return read_traced_failure(line, told) || read_guarded_failure(line, told);
}

}  // namespace trace
