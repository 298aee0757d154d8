// Filters on objects, dates as text, view types and occurrences.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "call_frame.h"
#include "clock.h"
#include "host_memory.h"
#include "ork/date.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/text.h"
#include "ork/wso.h"
#include "patterns.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::Frame;
using orktool::HostPtr;
using orktool::out;

// ------------------------------------------------------------------------------------- filters

namespace {

bool is_given(const char* text) {
  return text != nullptr && *text != '\0';
}

}  // namespace

int ZOLP_ApplyFilter(tag object, const char* name_filter, const char* type_filter, bool* match,
                     bool prefix_check) {
  const Frame frame("ZOLP_ApplyFilter");
  int status = ORK_ok;
  WSO_description_s description{};
  *match = false;
  TRACED(status, "WSO_describe(object, &description)", WSO_describe(object, &description));
  if (status != ORK_ok) {
    *match = true;
    return frame.leave(status);
  }
  bool passes = true;
  const auto fail = [&passes](const char* what, const char* filter) {
    ZOLP_TRACE("No Match for %s <%s>.\n", what, filter);
    passes = false;
  };
  if (is_given(type_filter) && std::strcmp(description.object_type, type_filter) != 0) {
    fail("type", type_filter);
  }
  if (is_given(name_filter)) {
    const char* name = description.object_name;
    if (prefix_check && std::strncmp(name, name_filter, std::strlen(name_filter)) != 0) {
      fail("name", name_filter);
    }
    if (std::strcmp(name, name_filter) != 0) {
      fail("name", name_filter);
    }
  }
  *match = passes;
  return frame.leave(status);
}

#if !defined(_WIN32)

namespace {

using orktool::Pattern;

/**
 * Copies a text with an escape character before each of the special characters.
 * @param[out] result the copy; untouched when text or specials are null.
 */
int EscapeInString(const char* text, const char* specials, HostPtr<char>& result,
                   char escape_char) {
  if (text == nullptr || specials == nullptr) {
    return ORK_ok;
  }
  const std::size_t size = 2 * (std::strlen(text) + 1) - 1;
  result.reset(static_cast<char*>(MEM_alloc(size)));
  if (result == nullptr) {
    ZOLP_CRERROR("EscapeInString alloc Memory");
    return ORK_ok;
  }
  std::memset(result.get(), 0, size);
  char* end = result.get();
  for (; *text != '\0'; ++text) {
    if (std::strchr(specials, *text) != nullptr) {
      *end++ = escape_char;
    }
    *end++ = *text;
  }
  ZOLP_TRACE("Result: %s (length=%d) \n", result.get(), static_cast<int>(end - result.get()));
  return ORK_ok;
}

/** One condition of a filter: the text of its pattern, and the pattern where that compiles. */
struct Condition {
  Condition(const char* filter, bool escape) {
    if (escape) {
      EscapeInString(filter, "*.+[]{}^$\\", text, '\\');
    } else {
      text.reset(ZOLP_CopyString(filter));
    }
    if (text != nullptr) {
      pattern = Pattern::find(text.get());
    }
  }

  bool passes(const char* value) const { return pattern != nullptr && pattern->matches(value); }

  const char* shown() const { return text != nullptr ? text.get() : "(null)"; }

  HostPtr<char> text;
  Pattern* pattern = nullptr;
};

const char* negation(bool passes) {
  return passes ? "" : "NO ";
}

/** Whether one of an object's release statuses passes; a failure goes into `status`. */
bool test_statuses(tag object, const Condition& condition, int* count, int* status) {
  HostPtr<tag> statuses;
  TRACED(*status, "OBJ_get_value_tags(object, \"release_status_list\", &count, &statuses)",
         OBJ_get_value_tags(object, "release_status_list", count, out(statuses)));
  if (*count == 0) {
    return condition.passes("");
  }
  bool passes = false;
  for (int inx = 0; inx < *count && *status == ORK_ok && !passes; ++inx) {
    HostPtr<char> name;
    TRACED(*status, "OBJ_get_value_string(statuses[inx], \"name\", &name)",
           OBJ_get_value_string(statuses.get()[inx], "name", out(name)));
    if (*status == ORK_ok && name != nullptr) {
      passes = condition.passes(name.get());
      ZOLP_TRACE("inx=%d, status=%s\n", inx, name.get());
    }
  }
  return passes;
}

}  // namespace

int ZOLP_ApplyRegExpFilter(tag object, const char* name_filter, const char* type_filter,
                           bool* match) {
  return ZOLP_ApplyRegExpFilterExt(object, name_filter, type_filter, nullptr, match, true);
}

int ZOLP_ApplyRegExpFilterExt(tag object, const char* name_filter, const char* type_filter,
                              const char* status_filter, bool* match, bool escape) {
  const Frame frame("ZOLP_ApplyRegExpFilter");
  int status = ORK_ok;
  HostPtr<char> name;
  HostPtr<char> type;
  *match = false;
  TRACED(status, "OBJ_get_value_string(object, \"object_name\", &name)",
         OBJ_get_value_string(object, "object_name", out(name)));
  if (status == ORK_ok) {
    TRACED(status, "OBJ_get_value_string(object, \"object_type\", &type)",
           OBJ_get_value_string(object, "object_type", out(type)));
  }
  if (status != ORK_ok) {
    *match = true;
    return frame.leave(status);
  }
  bool type_passes = true;
  bool name_passes = true;
  bool status_passes = true;
  if (type != nullptr && is_given(type_filter)) {
    const Condition condition(type_filter, escape);
    type_passes = condition.passes(type.get());
    ZOLP_TRACE("%sMatch for type <%s>.\n", negation(type_passes), condition.shown());
  }
  if (name != nullptr && is_given(name_filter)) {
    // Without escaping a name has never been filtered by its filter, and callers rely on it.
    const Condition condition(escape ? name_filter : nullptr, escape);
    name_passes = condition.passes(name.get());
    ZOLP_TRACE("%sMatch for name <%s>.\n", negation(name_passes), condition.shown());
  }
  if (is_given(status_filter)) {
    const Condition condition(status_filter, escape);
    int count = 0;
    status_passes =
        condition.pattern != nullptr && test_statuses(object, condition, &count, &status);
    ZOLP_TRACE("%sMatch for status <%s> (%d statuses)\n", negation(status_passes),
               condition.shown(), count);
  }
  *match = name_passes && type_passes && status_passes;
  return frame.leave(status);
}

bool MatchPattern(re_pattern_buffer pattern, const char* text) {
  return regexec(&pattern, text, 0, nullptr, 0) == 0;
}

char* regmatch_dup(regmatch_t* match, const char* text) {
  if (match == nullptr || match->rm_so < 0) {
    return nullptr;
  }
  const auto length = static_cast<std::size_t>(match->rm_eo - match->rm_so);
  auto* part = static_cast<char*>(MEM_alloc(length + 1));
  if (part == nullptr) {
    ZOLP_CRERROR("regmatch_dup alloc Memory");
    return nullptr;
  }
  std::strncpy(part, text + match->rm_so, length);
  part[length] = '\0';
  return part;
}

#endif

// --------------------------------------------------------------------------------------- dates

namespace {

/**
 * The site's and the default date format. Both stay as they were first found: texts in one process
 * keep one form, whatever happens to its environment.
 */
class DateFormats {
 public:
  void fetch() {
    if (!is_site_format_fetched_) {
      is_site_format_fetched_ = true;
      const char* format = std::getenv("STORE_DATE_FORMAT");
      site_format_ = format != nullptr ? strdup(format) : nullptr;
    }
    if (default_format_ == nullptr) {
      [[maybe_unused]] int status = ORK_ok;  // the text tells
      HostPtr<char> format;
      TRACED(status, "TEXT_lookup(\"DefaultDateFormat\", &format)",
             TEXT_lookup(TEXT_default_date_format, out(format)));
      default_format_ = format != nullptr ? strdup(format.get()) : nullptr;
    }
  }

  const char* default_format() const { return default_format_; }
  const char* site_format() const {
    return site_format_ != nullptr ? site_format_ : default_format_;
  }

 private:
  bool is_site_format_fetched_ = false;
  const char* site_format_ = nullptr;
  const char* default_format_ = nullptr;
};

DateFormats formats;
DateFormats formats_of_records; /**< those of ZOLP_UTIL_DateStringToVELODate */

/** Writes a date as a text of the caller's. */
int copy_date_text(date_s date, const char* format, char** text) {
  int status = ORK_ok;
  HostPtr<char> date_text;
  TRACED(status, "DATE_date_to_string(date, format, &date_text)",
         DATE_date_to_string(date, format, out(date_text)));
  if (status == ORK_ok && date_text != nullptr) {
    *text = ZOLP_CopyString(date_text.get());
  }
  return status;
}

/** The date of a text; untouched on failure. */
int read_date(const char* text, const char* format, date_s* date) {
  int month = 0;
  int day = 0;
  int year = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  const int status =
      DATE_string_to_date(text, format, &month, &day, &year, &hour, &minute, &second);
  if (status == ORK_ok) {
    *date = {static_cast<std::int16_t>(year),   static_cast<std::uint8_t>(month),
             static_cast<std::uint8_t>(day),    static_cast<std::uint8_t>(hour),
             static_cast<std::uint8_t>(minute), static_cast<std::uint8_t>(second)};
  }
  return status;
}

int read_date_traced(const char* text, const char* format, date_s* date) {
  int status = ORK_ok;
  TRACED(status, "DATE_string_to_date(input, format, &month, &day, &year, &hour, &minute, &second)",
         read_date(text, format, date));
  return status;
}

/** The same in the site's format, or else in the default format. */
int read_date_in_known_formats(const char* text, const DateFormats& known, date_s* date) {
  if (read_date(text, known.site_format(), date) == ORK_ok) {
    return ORK_ok;
  }
  return read_date_traced(text, known.default_format(), date);
}

int ask_current_date_traced(date_s* date) {
  int status = ORK_ok;
  TRACED(status, "ZOLP_DateAskCurrentDate(&date)", ZOLP_DateAskCurrentDate(date));
  return status;
}

int ask_current_date_text(const char* format, char** text) {
  date_s date{};
  const int status = ask_current_date_traced(&date);
  return status == ORK_ok ? copy_date_text(date, format, text) : status;
}

}  // namespace

int ZOLP_DateAskCurrentDate(date_s* date) {
  const Frame frame("ZOLP_DateAskCurrentDate");
  *date = orktool::local_date();
  return frame.leave(ORK_ok);
}

int ZOLP_DateAskCurrentDateTimeAsString(char** text) {
  const Frame frame("ZOLP_DateAskCurrentDateTimeAsString");
  const date_s now = orktool::local_date();
  char buffer[257] = "";
  std::snprintf(buffer, sizeof buffer, "%02d.%02d.%04d %02d:%02d", now.day, now.month + 1, now.year,
                now.hour, now.minute);
  *text = ZOLP_CopyString(buffer);
  return frame.leave(ORK_ok);
}

int ZOLP_DateAskCurrentDateAsString(char** text) {
  const Frame frame("ZOLP_DateAskCurrentDateAsString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(ask_current_date_text(formats.site_format(), text));
}

int ZOLP_DateAskCurrentDateAsVELOString(char** text) {
  const Frame frame("ZOLP_DateAskCurrentDateAsVELOString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(ask_current_date_text(formats.default_format(), text));
}

int ZOLP_DateDateToString(date_s date, char** text) {
  const Frame frame("ZOLP_DateDateToString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(copy_date_text(date, formats.site_format(), text));
}

int ZOLP_DateStringVELODateString(const char* input, char** text) {
  const Frame frame("ZOLP_DateStringVELODateString");
  *text = nullptr;
  formats.fetch();
  date_s date{};
  const int status = is_given(input) ? read_date_in_known_formats(input, formats, &date)
                                     : ask_current_date_traced(&date);
  if (status != ORK_ok) {
    return frame.leave(status);
  }
  return frame.leave(copy_date_text(date, formats.default_format(), text));
}

int ZOLP_UTIL_DateStringToVELODate(const char* input, date_s* date, const char* format) {
  const Frame frame("ZOLP_UTIL_DateStringToVELODate");
  *date = STORE_null_date();
  if (!is_given(input)) {
    return frame.leave(ask_current_date_traced(date));
  }
  int status = ORK_ok;
  if (is_given(format)) {
    status = read_date_traced(input, format, date);
  } else {
    formats_of_records.fetch();
    status = read_date_in_known_formats(input, formats_of_records, date);
  }
  if (status != ORK_ok) {
    ZOLP_ERROR("ZOLP_UTIL_DateStringToVELODate-E-inputDateString=%s\n", input);
  }
  return frame.leave(status);
}
