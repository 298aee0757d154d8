// PREF_: preferences.

#include "ork/pref.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "handout.h"
#include "operation.h"
#include "preferences.h"

namespace host {

namespace {

const std::string& value_at(const char* name, int index) {
  const PreferenceValues& values = session_preferences().values(name);
  if (index < 0 || static_cast<std::size_t>(index) >= values.size()) {
    refuse(PREF_value_not_found, std::string(name) + "[" + std::to_string(index) + "]");
  }
  return values[static_cast<std::size_t>(index)];
}

logical parse_logical(const char* name, const std::string& value) {
  static constexpr std::array<std::string_view, 4> true_texts = {"true", "yes", "on", "1"};
  static constexpr std::array<std::string_view, 4> false_texts = {"false", "no", "off", "0"};
  std::string lower = value;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  if (std::find(true_texts.begin(), true_texts.end(), lower) != true_texts.end()) {
    return 1;
  }
  if (std::find(false_texts.begin(), false_texts.end(), lower) != false_texts.end()) {
    return 0;
  }
  refuse(PREF_value_not_logical, std::string(name) + " is \"" + value + "\"");
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int PREF_initialize(void) {
  return operation("PREF_initialize", Needs::session, [] { host::session_preferences(); });
}

int PREF_get_value_count(const char* name, int* count) {
  host::clear(count);
  return operation("PREF_get_value_count", Needs::session, [&] {
    host::require_all(name, count);
    *count = static_cast<int>(host::session_preferences().values(name).size());
  });
}

int PREF_get_char_value(const char* name, int index, char** value) {
  host::clear(value);
  return operation("PREF_get_char_value", Needs::session, [&] {
    host::require_all(name, value);
    *value = host::hand_out(host::value_at(name, index));
  });
}

int PREF_get_char_values(const char* name, int* count, char*** values) {
  host::clear(count);
  host::clear(values);
  return operation("PREF_get_char_values", Needs::session, [&] {
    host::require_all(name, count, values);
    const host::PreferenceValues& found = host::session_preferences().values(name);
    *values = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}

int PREF_get_logical_value(const char* name, int index, logical* value) {
  return operation("PREF_get_logical_value", Needs::session, [&] {
    host::require_all(name, value);
    *value = host::parse_logical(name, host::value_at(name, index));
  });
}
