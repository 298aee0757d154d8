/** @file Whether the process has changed its locale, asked so often that it must cost little. */
#pragma once

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

#if !defined(_WIN32)
#include <langinfo.h>
#endif

namespace orktool {

/** The parts of a locale that expressions depend on, by the names that they had last. */
class LocaleWatch {
 public:
  /** Whether they have other names than when this was asked before. */
  bool has_changed() {
    if (characters_ == characters() && order_ == order()) [[likely]] {
      return false;
    }
    std::string new_order = order();
    characters_ = characters();
    order_.swap(new_order);
    return true;
  }

  /** Whether each byte of a text is a character, or can at least begin none but its own. */
  static bool has_distinct_bytes(const char* text) {
    return MB_CUR_MAX == 1 ||
           (is_utf8() && std::mbstowcs(nullptr, text, 0) != static_cast<std::size_t>(-1));
  }

 private:
#if defined(NL_LOCALE_NAME)
  // These tell the locale of a thread, too.
  static const char* characters() {
    return nl_langinfo(NL_LOCALE_NAME(LC_CTYPE));
  }
  static const char* order() {
    return nl_langinfo(NL_LOCALE_NAME(LC_COLLATE));
  }
#else
  static const char* characters() {
    return std::setlocale(LC_CTYPE, nullptr);
  }
  static const char* order() {
    return std::setlocale(LC_COLLATE, nullptr);
  }
#endif

#if defined(_WIN32)
  static bool is_utf8() {
    return false;
  }
#else
  static bool is_utf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  }
#endif

  std::string characters_;
  std::string order_;
};

}  // namespace orktool
