// Forms made, and release-information forms read as a whole.

#include <cstring>

#include "call_frame.h"
#include "host_memory.h"
#include "host_texts.h"
#include "ork/form.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::HostPtr;
using orktool::HostTexts;

int ZOLP_createForm(const char* form_name, const char* form_type, const char* description,
                    tag* form) {
  FRAME(frame, "ZOLP_createForm");
  *form = NULLTAG;
  int status = ORK_ok;
  TRACED(status, "FORM_create(form_name, description, form_type, form)",
         FORM_create(form_name, description, form_type, form));
  if (status == ORK_ok) {
    TRACED(status, "FORM_initialize(*form, form_name, NULL, form_type)",
           FORM_initialize(*form, form_name, nullptr, form_type));
  }
  if (status == ORK_ok) {
    TRACED(status, "OBJ_save(*form)", OBJ_save(*form));
  }
  return frame.leave(status);
}

namespace {

struct ReleaseField {
  const char* name;
  int preset_length;
};

constexpr int person_length = 32;
constexpr int date_length = 11;

/** Who has signed a release step, and when. */
constexpr ReleaseField release_fields[] = {
    {"UrRevision", 32},        {"UGezPerson", person_length},
    {"UGezDate", date_length}, {"UGepPerson", person_length},
    {"UGepDate", date_length}, {"UGesPerson", person_length},
    {"UGesDate", date_length}, {"UBauPerson", person_length},
    {"UBauDate", date_length}, {"UEndPerson", person_length},
    {"UEndDate", date_length}, {"UFreiPerson", person_length},
    {"UFreiDate", date_length}};
constexpr int release_field_count = static_cast<int>(std::size(release_fields));

/** What ZOLP_FORM_describe hands out; freed together until then. */
struct FormDescription {
  HostPtr<char> type_name{ZOLP_CopyString("FreigabeInfo")};
  HostTexts names{release_field_count};
  HostTexts display_names{release_field_count};
  HostTexts values{release_field_count};
  HostPtr<int> lengths{static_cast<int*>(MEM_alloc(release_field_count * sizeof(int)))};

  /** Fills in what does not depend on the form; false when memory is exhausted. */
  bool preset() {
    if (type_name == nullptr || lengths == nullptr || !names.is_allocated() ||
        !display_names.is_allocated() || !values.is_allocated()) {
      return false;
    }
    for (int i = 0; i < release_field_count; ++i) {
      lengths.get()[i] = release_fields[i].preset_length;
      if (!names.append(release_fields[i].name) || !display_names.append(release_fields[i].name)) {
        return false;
      }
    }
    return true;
  }
};

}  // namespace

int ZOLP_FORM_describe(tag form, char** form_type_name, int* field_count, char*** field_names,
                       char*** field_display_names, int** field_lengths, char*** field_values) {
  FRAME(frame, "ZOLP_FORM_describe");
  *form_type_name = nullptr;
  *field_count = 0;
  *field_names = *field_display_names = *field_values = nullptr;
  *field_lengths = nullptr;
  FormDescription description;
  if (!description.preset()) {
    ZOLP_CRERROR("ZOLP_FORM_describe alloc Memory");
    return frame.leave(ZOLP_failed);
  }
  int status = ORK_ok;
  for (int i = 0; i < release_field_count; ++i) {
    const char* const name = release_fields[i].name;
    char value[STORE_max_string_length + 1];
    int length = 0;
    ZOLP_TRACE("szFieldName = (%s)", name);
    TRACED(status,
           "ZOLP_FORM_ask_value(form, szFieldName, STORE_MAX_MAX_STRING_LENGTH, szFieldValue, "
           "&actual_chars)",
           ZOLP_FORM_ask_value(form, name, STORE_max_string_length, value, &length));
    ZOLP_TRACE("iRetcode = (%d)", status);
    if (!description.values.append(value)) {
      return frame.leave(ZOLP_failed);
    }
    description.lengths.get()[i] = length;
  }
  *form_type_name = description.type_name.release();
  *field_count = release_field_count;
  *field_names = description.names.hand_over();
  *field_display_names = description.display_names.hand_over();
  *field_lengths = description.lengths.release();
  *field_values = description.values.hand_over();
  return frame.leave(status);
}
