// Preferences read with a default or tested.

#include <cstring>

#include "call_frame.h"
#include "host_memory.h"
#include "ork/mem.h"
#include "ork/pref.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::Frame;
using orktool::HostPtr;
using orktool::out;

int ZOLP_get_logical_pref(int /*option*/, const char* name, logical* value, logical default_value) {
  const Frame frame("ZOLP_get_logical_pref");
  int status = ORK_ok;
  TRACED(status, "PREF_initialize()", PREF_initialize());
  if (PREF_get_logical_value(name, 0, value) != ORK_ok && value != nullptr) {
    *value = default_value;
  }
  // The line tells that there is a value, not which one: it has always been read so.
  ZOLP_DEBUG("Preference [%s] = [%s]\n", name, value != nullptr ? "TRUE" : "FALSE");
  return frame.leave(status);
}

int ZOLP_get_string_pref(int /*option*/, const char* name, char** value,
                         const char* default_value) {
  if (default_value == nullptr) {
    ZOLP_ERROR("ZOLP_get_string_pref default=NULL\n");
    return ORK_ok;
  }
  const Frame frame("ZOLP_get_string_pref");
  int status = ORK_ok;
  *value = nullptr;
  TRACED(status, "PREF_initialize()", PREF_initialize());
  if (PREF_get_char_value(name, 0, value) != ORK_ok || *value == nullptr) {
    MEM_free(*value);
    *value = ZOLP_CopyString(default_value);
  }
  ZOLP_DEBUG("Preference [%s] = [%s]\n", name, *value);
  return frame.leave(status);
}

logical ZOLP_check_preference(int /*option*/, const char* name, const char* value) {
  int status = ORK_ok;
  int count = 0;
  TRACED(status, "PREF_get_value_count(cPref,&nvals)", PREF_get_value_count(name, &count));
  if (status != ORK_ok || count == 0) {
    ZOLP_WARNING("Preference %s not found\n", name);
    return 0;
  }
  for (int i = 0; i < count; ++i) {
    HostPtr<char> result;
    TRACED(status, "PREF_get_char_value(cPref, ii, &result)",
           PREF_get_char_value(name, i, out(result)));
    if (status == ORK_ok && result != nullptr && value != nullptr &&
        std::strcmp(result.get(), value) == 0) {
      return 1;
    }
  }
  return 0;
}
