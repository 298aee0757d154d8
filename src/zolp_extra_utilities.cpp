// Filters on objects, dates as text, view types and occurrences.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "call_frame.h"
#include "clock.h"
#include "host_memory.h"
#include "ork/config.h"
#include "ork/date.h"
#include "ork/err.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "ork/text.h"
#include "ork/wso.h"
#include "patterns.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

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
  FRAME(frame, "ZOLP_ApplyFilter");
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

namespace {

using orktool::Pattern;

/** The characters of a text, to be asked for many times. */
class CharacterSet {
 public:
  consteval explicit CharacterSet(const char* characters) {
    for (; *characters != '\0'; ++characters) {
      members_[static_cast<unsigned char>(*characters)] = true;
    }
  }

  bool has(char character) const { return members_[static_cast<unsigned char>(character)]; }

 private:
  bool members_[256]{};
};

/**
 * A text with an escape character before each of the special characters. One that has none of them
 * stands for itself.
 * @param[out] copy the text, where it is another one.
 * @return the text; null when it is null, or when memory is exhausted.
 */
const char* EscapeInString(const char* text, const CharacterSet& specials, HostPtr<char>& copy,
                           char escape_char) {
  if (text == nullptr) {
    return nullptr;
  }
  const std::string_view whole(text);
  const auto is_special = [&specials](char character) { return specials.has(character); };
  const char* result = text;
  auto length = whole.size();
  if (std::any_of(whole.begin(), whole.end(), is_special)) {
    copy.reset(static_cast<char*>(MEM_alloc(2 * whole.size() + 1)));
    if (copy == nullptr) {
      ZOLP_CRERROR("EscapeInString alloc Memory");
      return nullptr;
    }
    char* end = copy.get();
    for (const char character : whole) {
      if (is_special(character)) {
        *end++ = escape_char;
      }
      *end++ = character;
    }
    *end = '\0';
    result = copy.get();
    length = static_cast<std::size_t>(end - result);
  }
  ZOLP_TRACE("Result: %s (length=%d) \n", result, static_cast<int>(length));
  return result;
}

/** One condition of a filter: the text of its pattern, and the pattern where that compiles. */
struct Condition {
  Condition(const char* filter, bool escape) {
    static constexpr CharacterSet operators("*.+[]{}^$\\");
    text = escape ? EscapeInString(filter, operators, escaped, '\\') : filter;
    if (text != nullptr) {
      pattern = Pattern::find(text);
    }
  }

  bool passes(const char* value) const { return pattern != nullptr && pattern->matches(value); }

  const char* shown() const { return text != nullptr ? text : "(null)"; }

  HostPtr<char> escaped;
  const char* text = nullptr; /**< the filter or what it is when it is escaped */
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
  for (int inx = 0; statuses != nullptr && inx < *count && *status == ORK_ok && !passes; ++inx) {
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
  FRAME(frame, "ZOLP_ApplyRegExpFilter");
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
  if (match == nullptr || match->rm_so < 0 || match->rm_eo < match->rm_so) {
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
      const char* format = std::getenv("STORE_DATE_FORMAT");
      site_format_ = format != nullptr ? strdup(format) : nullptr;
      is_site_format_fetched_ = format == nullptr || site_format_ != nullptr;
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
  FRAME(frame, "ZOLP_DateAskCurrentDate");
  *date = orktool::local_date();
  return frame.leave(ORK_ok);
}

int ZOLP_DateAskCurrentDateTimeAsString(char** text) {
  FRAME(frame, "ZOLP_DateAskCurrentDateTimeAsString");
  const date_s now = orktool::local_date();
  char buffer[257] = "";
  std::snprintf(buffer, sizeof buffer, "%02d.%02d.%04d %02d:%02d", now.day, now.month + 1, now.year,
                now.hour, now.minute);
  *text = ZOLP_CopyString(buffer);
  return frame.leave(ORK_ok);
}

int ZOLP_DateAskCurrentDateAsString(char** text) {
  FRAME(frame, "ZOLP_DateAskCurrentDateAsString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(ask_current_date_text(formats.site_format(), text));
}

int ZOLP_DateAskCurrentDateAsVELOString(char** text) {
  FRAME(frame, "ZOLP_DateAskCurrentDateAsVELOString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(ask_current_date_text(formats.default_format(), text));
}

int ZOLP_DateDateToString(date_s date, char** text) {
  FRAME(frame, "ZOLP_DateDateToString");
  *text = nullptr;
  formats.fetch();
  return frame.leave(copy_date_text(date, formats.site_format(), text));
}

int ZOLP_DateStringVELODateString(const char* input, char** text) {
  FRAME(frame, "ZOLP_DateStringVELODateString");
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
  FRAME(frame, "ZOLP_UTIL_DateStringToVELODate");
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

// ---------------------------------------------------------------- view types and occurrences

int ZOLP_IsViewOfType(tag bv_or_bvr, tag view_type, bool* verdict) {
  FRAME(frame, "ZOLP_IsViewOfType");
  int status = ORK_ok;
  logical is_bom_view = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tBVOrBVR, CLASS_PSBOMVIEW, &lIsBomView)",
         ZOLP_isObjectOfClass(bv_or_bvr, "PSBOMView", &is_bom_view));
  *verdict = false;
  if (view_type == NULLTAG || bv_or_bvr == NULLTAG) {
    return status;
  }
  tag view = NULLTAG;
  if (is_bom_view != 0) {
    view = bv_or_bvr;
  } else {
    TRACED(status, "STRUCT_get_bom_view_of_bvr(tBVOrBVR, &tBV)",
           STRUCT_get_bom_view_of_bvr(bv_or_bvr, &view));
  }
  if (view == NULLTAG) {
    return frame.leave(status);
  }
  if (status == ORK_ok) {
    tag current = NULLTAG;
    TRACED(status, "STRUCT_get_bom_view_type( tBV, &tCurViewType)",
           STRUCT_get_bom_view_type(view, &current));
    *verdict = status == ORK_ok && current == view_type;
  }
  return frame.leave(status);
}

int ZOLP_IsViewOfType(tag bv_or_bvr, const char* view_type_name, bool* verdict) {
  FRAME(frame, "ZOLP_IsViewOfType");
  int status = ORK_ok;
  tag view_type = NULLTAG;
  *verdict = false;
  if (view_type_name != nullptr) {
    ZOLP_TRACE("Searching for view type %s\n", view_type_name);
    TRACED(status, "STRUCT_find_view_type(szViewType, &tViewType)",
           STRUCT_find_view_type(view_type_name, &view_type));
  } else {
    TRACED(status, "STRUCT_get_default_view_type(&tViewType)",
           STRUCT_get_default_view_type(&view_type));
    if (view_type == NULLTAG) {
      TRACED(status, "STRUCT_find_view_type(\"view\", &tViewType )",
             STRUCT_find_view_type("view", &view_type));
    }
  }
  if (status != ORK_ok) {
    return status;
  }
  TRACED(status, "ZOLP_IsViewOfType(tBVOrBVR, tViewType, p_lVerdict)",
         ZOLP_IsViewOfType(bv_or_bvr, view_type, verdict));
  return frame.leave(status);
}

namespace {

/** What the child of an occurrence is. Tests that fail leave it undecided. */
struct Child {
  bool is_item = false;
  bool is_revision = false;
};

/**
 * Tells items and revisions apart and copies the name of the object's type.
 * @return the status of the last operation.
 */
int identify_child(tag object, Child* child, char** type_name) {
  int status = ORK_ok;
  logical answer = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tOccObj, CLASS_ITEMREVISION, &lIsItemRev)",
         ZOLP_isObjectOfClass(object, "ItemRevision", &answer));
  child->is_revision = answer != 0;
  answer = 0;
  TRACED(status, "ZOLP_isObjectOfClass(tOccObj, CLASS_ITEM, &lIsItem)",
         ZOLP_isObjectOfClass(object, "Item", &answer));
  child->is_item = answer != 0;
  char type[WSO_name_size + 1] = "";
  TRACED(status, "WSO_get_object_type(tOccObj, szType)", WSO_get_object_type(object, type));
  ZOLP_TRACE("Type is %s\n", type);
  *type_name = ZOLP_CopyString(type);
  return status;
}

}  // namespace

int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, tag rev_rule, tag* item, tag* item_rev,
                                 char** type_name) {
  FRAME(frame, "ZOLP_GetItemAndRevFromOccObj");
  Child child;
  int status = identify_child(occ_obj, &child, type_name);
  if (child.is_item && rev_rule != NULLTAG) {
    *item = occ_obj;
    HostPtr<char> explanation;
    TRACED(status, "CONFIG_item_get_configured(tRevRule, *tItem, tItemRev, &szExplanation)",
           CONFIG_item_get_configured(rev_rule, *item, item_rev, out(explanation)));
  } else if (!child.is_revision) {
    [[maybe_unused]] int ignored = ORK_ok;
    TRACED(ignored,
           "ERR_store_error_s1(3, 2010, \"Revision rule either not specified or not "
           "found\")",
           ERR_store_error_s1(ERR_severity_error, ZOLP_revision_not_determined,
                              "Revision rule either not specified or not found"));
    status = ZOLP_revision_not_determined;
  } else {
    *item_rev = occ_obj;
    TRACED(status, "ITEM_get_item_of_rev(*tItemRev, tItem)", ITEM_get_item_of_rev(occ_obj, item));
  }
  return frame.leave(status);
}

int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, const char* rev_rule_name, tag* item, tag* item_rev,
                                 char** type_name) {
  FRAME(frame, "ZOLP_GetItemAndRevFromOccObj");
  int status = ORK_ok;
  tag rev_rule = NULLTAG;
  TRACED(status, "CONFIG_find(szRevRule, &tRevRule)", CONFIG_find(rev_rule_name, &rev_rule));
  if (status == ORK_ok && rev_rule == NULLTAG) {
    ZOLP_ERROR("unknown revision rule %s\n", rev_rule_name);
    TRACED(status, "ERR_store_error_s1(3, 710041, szRevRule)",
           ERR_store_error_s1(ERR_severity_error, ZOLP_unknown_revision_rule, rev_rule_name));
  }
  return frame.leave(ZOLP_GetItemAndRevFromOccObj(occ_obj, rev_rule, item, item_rev, type_name));
}

int ZOLP_GetItemFromOccObj(tag occ_obj, tag* item, char** type_name) {
  FRAME(frame, "ZOLP_GetItemFromOccObj");
  Child child;
  int status = identify_child(occ_obj, &child, type_name);
  if (child.is_item) {
    *item = occ_obj;
  } else if (child.is_revision) {
    TRACED(status, "ITEM_get_item_of_rev(tOccObj, tItem)", ITEM_get_item_of_rev(occ_obj, item));
  }
  return frame.leave(status);
}

int GetSeqNo(tag bvr, tag occ, char** seq_no) {
  FRAME(frame, "GetSeqNo");
  int status = ORK_ok;
  [[maybe_unused]] int ignored = ORK_ok;
  *seq_no = nullptr;
  TRACED(ignored, "ERR_set_protect_mark()", ERR_set_protect_mark());
  TRACED(status, "STRUCT_get_seq_no(tBVR, tOcc, szSeqNo)", STRUCT_get_seq_no(bvr, occ, seq_no));
  ZOLP_TRACE("Seq No. is [%s] \n", *seq_no);
  if (status == STRUCT_no_sequence_number) {
    status = ORK_ok;
    TRACED(ignored, "ERR_clear_errors()", ERR_clear_errors());
  }
  TRACED(ignored, "ERR_clear_protect_mark()", ERR_clear_protect_mark());
  return frame.leave(status);
}

int ZOLP_GetOccNoteText(tag bvr, tag occ, const char* note_type, tag** notes, int* note_count,
                        char** value) {
  FRAME(frame, "ZOLP_GetOccNoteText");
  int status = ORK_ok;
  *value = nullptr;
  if (*notes == nullptr) {
    *note_count = 0;
    TRACED(status, "STRUCT_list_occurrence_notes(tBVR, tOcc, iNotes, tNotes)",
           STRUCT_list_occurrence_notes(bvr, occ, note_count, notes));
  }
  bool found = false;
  for (int i = 0; *notes != nullptr && i < *note_count && status == ORK_ok && !found; ++i) {
    HostPtr<char> name;
    TRACED(status, "STRUCT_get_note_type_name((*tNotes)[i], &szName)",
           STRUCT_get_note_type_name((*notes)[i], out(name)));
    if (status != ORK_ok || note_type == nullptr || name == nullptr ||
        std::strcmp(name.get(), note_type) != 0) {
      continue;
    }
    found = true;
    TRACED(status, "STRUCT_get_occurrence_note_text(tBVR, tOcc, (*tNotes)[i], szValue)",
           STRUCT_get_occurrence_note_text(bvr, occ, (*notes)[i], value));
    ZOLP_TRACE("\tFound Value=%s\n", *value);
  }
  return frame.leave(status);
}
