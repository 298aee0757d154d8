// Dates as texts. An input's first line is a format, the rest a text.

#include <cstring>

#include "fuzz/site.h"
#include "ork/mem.h"
#include "zolp_orktool.h"

namespace {

bool read(const std::string& text, const std::string& format, date_s* date) {
  return ZOLP_UTIL_DateStringToVELODate(text.c_str(), date, format.c_str()) == ORK_ok;
}

bool is_same(const date_s& one, const date_s& other) {
  return one.year == other.year && one.month == other.month && one.day == other.day &&
         one.hour == other.hour && one.minute == other.minute && one.second == other.second;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::open_site();
  fuzz::trace_into_nothing();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::text_of(data, size);
  const std::size_t first_line = std::min(input.find('\n'), size);
  const std::string format = fuzz::terminated(input.substr(0, first_line));
  const std::string text = fuzz::terminated(input.substr(std::min(first_line + 1, size)));
  const std::size_t blocks = ork_host_block_count();
  date_s date{};
  if (!format.empty() && !text.empty() && read(text, format, &date)) {
    char* written = nullptr;
    date_s again{};
    fuzz::check(DATE_date_to_string(date, format.c_str(), &written) == ORK_ok,
                "a date that was read is written by the same format");
    fuzz::check(read(written, format, &again) && is_same(date, again),
                "a date that was written is read again");
    MEM_free(written);
  }
  char* normal = nullptr;
  if (ZOLP_DateStringVELODateString(text.c_str(), &normal) != ORK_ok) {
    fuzz::check(normal == nullptr, "a text that is no date yields none");
  }
  MEM_free(normal);
  fuzz::check(ork_host_block_count() == blocks, "all blocks are freed");
  return 0;
}
