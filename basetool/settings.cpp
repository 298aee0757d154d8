// ZOLP_TRACE_LEVEL   off, error, warning, log, trace, debug in any case, or 0 to 5
// ZOLP_TRACE_FILE    file name; %p is the process id, %% a percent sign
// ZOLP_TRACE_PREFIX  comma-separated out of clock, time, level, pid
// ZOLP_TRACE_FOLLOW  1 or 0
// ZOLP_TRACE_SIZE    digits, then nothing, K, M or G
// ZOLP_TRACE_KEEP    0 to 999
// ZOLP_TRACE_RECORD, ZOLP_TRACE_RECORD_SIZE, ZOLP_TRACE_RECORD_DETAILS
//                    like FILE, SIZE and FOLLOW
// ZOLP_TRACE_SKIP, ZOLP_TRACE_ONLY
//                    names with *, separated by commas

#include "settings.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <utility>

#include "system.h"
#include "trace_file.h"

namespace basetool {
namespace {

constexpr std::string_view level_names[] = {"off", "error", "warning", "log", "trace", "debug"};
constexpr unsigned most_kept_files = 999;

constinit bool is_folder_known = false;
constinit std::array<char, 4096> folder{};

bool equals_ignoring_case(std::string_view value, std::string_view lower_case) {
  if (value.size() != lower_case.size()) {
    return false;
  }
  for (size_t i = 0; i < value.size(); ++i) {
    char character = value[i];
    if (character >= 'A' && character <= 'Z') {
      character = static_cast<char>(character - 'A' + 'a');
    }
    if (character != lower_case[i]) {
      return false;
    }
  }
  return true;
}

/** Reads digits that make up the whole of a text. */
bool parse_number(std::string_view text, uint64_t& number) {
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

bool parse_level(std::string_view text, int& level) {
  for (int i = ZOLP_LEVEL_OFF; i <= ZOLP_LEVEL_DEBUG; ++i) {
    bool is_number = text.size() == 1 && text[0] == '0' + i;
    if (is_number || equals_ignoring_case(text, level_names[i])) {
      level = i;
      return true;
    }
  }
  return false;
}

bool parse_size(std::string_view text, uint64_t& size) {
  constexpr std::string_view units = "kmg";
  unsigned shift = 0;
  for (unsigned i = 0; i < units.size() && !text.empty(); ++i) {
    if (equals_ignoring_case(text.substr(text.size() - 1), units.substr(i, 1))) {
      shift = 10 * (i + 1);
      text.remove_suffix(1);
      break;
    }
  }
  uint64_t number = 0;
  if (!parse_number(text, number) || number > UINT64_MAX >> 1 >> shift) {
    return false;
  }
  size = number << shift;
  return true;
}

bool parse_prefix(std::string_view text, Settings& settings) {
  Settings prefixed = settings;
  while (!text.empty()) {
    size_t comma = text.find(',');
    std::string_view word = text.substr(0, comma);
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    while (word.starts_with(' ')) {
      word.remove_prefix(1);
    }
    while (word.ends_with(' ')) {
      word.remove_suffix(1);
    }
    if (equals_ignoring_case(word, "clock")) {
      prefixed.shows_clock = true;
    } else if (equals_ignoring_case(word, "time")) {
      prefixed.shows_time = true;
    } else if (equals_ignoring_case(word, "level")) {
      prefixed.shows_level = true;
    } else if (equals_ignoring_case(word, "pid")) {
      prefixed.shows_process = true;
    } else {
      return false;
    }
  }
  settings = prefixed;
  return true;
}

/** Has the value of a variable parsed and complains when that fails. An empty value is none. */
template <typename Parse>
void read(const char* variable, const char* consequence, Parse parse) {
  const char* value = environment(variable);
  if (value != nullptr && *value != '\0' && !parse(std::string_view(value))) {
    complain("%s=%.80s is not understood: %s", variable, value, consequence);
  }
}

}  // namespace

void remember_folder() {
  if (is_folder_known) {
    return;
  }
  is_folder_known = true;
  if (!current_folder(folder.data(), folder.size())) {
    folder[0] = '\0';
  }
}

const char* remembered_folder() {
  return folder.data();
}

Settings read_settings() {
  Settings settings;
  read("ZOLP_TRACE_LEVEL",
       "tracing on level warning; the levels are off, error, warning, log, trace, debug or 0 to 5",
       [&](std::string_view value) { return parse_level(value, settings.level); });
  read("ZOLP_TRACE_PREFIX",
       "nothing stands before the lines; it is any of clock, time, level and pid, separated by "
       "commas",
       [&](std::string_view value) { return parse_prefix(value, settings); });
  read("ZOLP_TRACE_FOLLOW", "the file is not made to follow; it is 1 or 0",
       [&](std::string_view value) {
         settings.is_followed = value == "1";
         return value == "1" || value == "0";
       });
  read("ZOLP_TRACE_SIZE", "the file may grow without limit; a size is like 500000, 800K, 20M or 1G",
       [&](std::string_view value) { return parse_size(value, settings.size_limit); });
  read("ZOLP_TRACE_KEEP", "3 old files are kept; 0 to 999 are possible",
       [&](std::string_view value) {
         uint64_t number = 0;
         if (!parse_number(value, number) || number > most_kept_files) {
           return false;
         }
         settings.kept_files = static_cast<unsigned>(number);
         return true;
       });
  read("ZOLP_TRACE_RECORD_SIZE",
       "the recording has its usual size, 8M; a size is like 500000, 800K, 20M or 1G",
       [&](std::string_view value) { return parse_size(value, settings.recording_size); });
  read("ZOLP_TRACE_RECORD_DETAILS", "details are not recorded; it is 1 or 0",
       [&](std::string_view value) {
         settings.records_details = value == "1";
         return value == "1" || value == "0";
       });
  for (const auto& [setting, variable] : {std::pair{&settings.file, "ZOLP_TRACE_FILE"},
                                          {&settings.recording, "ZOLP_TRACE_RECORD"},
                                          {&settings.skipped, "ZOLP_TRACE_SKIP"},
                                          {&settings.chosen, "ZOLP_TRACE_ONLY"}}) {
    *setting = environment(variable);
    if (*setting != nullptr && **setting == '\0') {
      *setting = nullptr;
    }
  }
  return settings;
}

}  // namespace basetool
