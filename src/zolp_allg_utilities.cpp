// Error reports, version banner, small strings; session; preferences read by value.

#include <cstring>
#include <functional>

#include "call_frame.h"
#include "host_memory.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/pref.h"
#include "ork/store.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::copy_text;
using orktool::Frame;
using orktool::HostPtr;
using orktool::out;

// ---------------------------------------------------------------- errors, version, strings

int ZOLP_ReportLastOrkError(int status) {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ERR_get_errors(&count, &severities, &codes, &texts);
  for (int i = count - 1; i >= 0; --i) {
    if (codes[i] == status) {
      ZOLP_ERROR("--%s--\n", texts[i]);
      return ORK_ok;
    }
  }
  HostPtr<char> text;
  ERR_get_error_text(status, out(text));
  ZOLP_ERROR("--%s--\n", text.get());
  return ORK_ok;
}

int ZOLP_list_errors(int print) {
  if (print == 0) {
    return ORK_ok;
  }
  int status = ORK_ok;
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  TRACED(status, "ERR_get_errors(&n_ifails, &severities, &ifails, &texts)",
         ERR_get_errors(&count, &severities, &codes, &texts));
  ZOLP_TRACE("list_errors:\n");
  for (int i = 0; i < count; ++i) {
    ZOLP_TRACE("\t\"%d\":\"%s\"\n", codes[i], texts[i]);
  }
  return status;
}

void ZOLP_Version(void) {
  static unsigned char printed = 0;
  if (printed == 0) {
    ZOLP_PRINT_VERINFO("ZOLP ORK-Tool                      (V10.1.1.0)  %s %s\n", __DATE__,
                       __TIME__);
    ZOLP_PRINT_VERINFO("\n");
    printed = 1;
  }
}

char* ZOLP_CopyString(const char* text) {
  if (text == nullptr) {
    return nullptr;
  }
  const std::size_t size = std::strlen(text) + 1;
  auto* copy = static_cast<char*>(MEM_alloc(size));
  if (copy == nullptr) {
    ZOLP_CRERROR("ZOLP_CopyString alloc Memory");
    return nullptr;
  }
  std::memcpy(copy, text, size);
  return copy;
}

char* ZOLP_string_append(char** text, const char* addition) {
  if (text == nullptr) {
    return nullptr;
  }
  if (*text == nullptr) {
    return *text = ZOLP_CopyString(addition);
  }
  if (addition == nullptr) {
    return *text;
  }
  const HostPtr<char> copy(ZOLP_CopyString(*text));
  const std::size_t old_length = std::strlen(*text);
  const std::size_t length = old_length + std::strlen(addition);
  // An addition that lies inside the old text moves with it: take it from the copy.
  const bool is_own_part = !std::less<>()(addition, static_cast<const char*>(*text)) &&
                           !std::less<>()(*text + old_length, addition);
  if (copy != nullptr && is_own_part) {
    addition = copy.get() + (addition - *text);
  }
  auto* appended = copy != nullptr ? static_cast<char*>(MEM_realloc(*text, length + 1)) : nullptr;
  if (appended == nullptr) {
    MEM_free(*text);
  } else {
    std::memset(appended, 0, length);
    std::strcpy(appended, copy.get());
    std::strcat(appended, addition);
  }
  return *text = appended;
}

CZOLP_ParamLine& CZOLP_ParamLine::operator=(const CZOLP_ParamLine& other) {
  std::memmove(text, other.text, sizeof text);
  return *this;
}

CZOLP_String& CZOLP_String::operator=(const CZOLP_String&) {
  return *this;
}

// ---------------------------------------------------------------------------------- session

namespace {

/** Value of an option of the program's command line; null when it is not there. */
const char* command_line_value(const char* option, const char* option_with_value) {
  return ORK_get_cli_argument(option) != nullptr ? ORK_get_cli_argument(option_with_value)
                                                 : nullptr;
}

}  // namespace

int ZOLP_startup_ork_environment(void) {
  const Frame frame("zolp_startup_ork_environment");
  int status = ORK_ok;
  GUARDED("ORK_initialize_text_services (0)", ORK_initialize_text_services(0));

  const char* user = command_line_value("-u", "-u=");
  const char* group = command_line_value("-g", "-g=");
  const char* password = command_line_value("-p", "-p=");
  if (user != nullptr && password != nullptr && group != nullptr) {
    GUARDED("ORK_init_module(usr, pwd, grp)", ORK_init_module(user, password, group));
  } else {
    GUARDED("ORK_auto_login()", ORK_auto_login());
  }

  GUARDED("ORK_set_journalling (TRUE)", ORK_set_journalling(1));
  TRACED(status, "ORG_init_module()", ORG_init_module());
  GUARDED("DSET_init_module ()", DSET_init_module());
  GUARDED("OBJ_init_module ()", OBJ_init_module());
  frame.leave_as("ZOLP_startup_ork_environment");
  return status;
}

int ZOLP_shutdown_ork_environment(void) {
  const Frame frame("ZOLP_shutdown_ork_environment");
  GUARDED("ORK_exit_module(true)", ORK_exit_module(1));
  return frame.leave(ORK_ok);
}

logical ZOLP_set_ork_bypass(logical flag) {
  const Frame frame("ZOLP_set_ork_bypass");
  [[maybe_unused]] int status = ORK_ok;
  logical has_bypass = 0;
  TRACED(status, "ORK_get_bypass (&has_bypass)", ORK_get_bypass(&has_bypass));
  // A request to switch off what is on is ignored: nested customisations rely on it staying on.
  if (has_bypass == 1) {
    return frame.leave(logical{1});
  }
  logical verdict = 0;
  TRACED(status, "STORE_is_user_sa(&verdict)", STORE_is_user_sa(&verdict));
  const bool allowed = verdict == 1 && flag == 1;
  TRACED(status, "ORK_set_bypass(flag)", ORK_set_bypass(flag));
  return frame.leave(static_cast<logical>(allowed));
}

int ZOLP_identify_user_and_group(const char* user_name, const char* group_name, tag* user_tag,
                                 tag* group_tag) {
  const Frame frame("zolp_identify_user_and_group");
  [[maybe_unused]] int status = ORK_ok;
  ZOLP_TRACE("user_name:%s group_name:%s\n", user_name, group_name);
  *user_tag = NULLTAG;
  *group_tag = NULLTAG;
  if (user_name != nullptr) {
    TRACED(status, "ORG_find_user( user_name, user_tag )", ORG_find_user(user_name, user_tag));
    if (*user_tag == NULLTAG) {
      ZOLP_TRACE("User:%s: does not exist!\n", user_name);
    }
  }
  if (group_name != nullptr) {
    TRACED(status, "ORG_find_group( group_name, group_tag )",
           ORG_find_group(group_name, group_tag));
    if (*group_tag == NULLTAG) {
      ZOLP_TRACE("Group:%s:does not exist!\n", group_name);
    }
  }
  frame.leave_as("ZOLP_identify_user_and_group");
  return ORK_ok;
}

int ZOLP_get_current_user_and_group(tag* user, tag* group) {
  const Frame frame("ZOLP_get_current_user_and_group");
  [[maybe_unused]] int status = ORK_ok;
  HostPtr<char> user_name;
  TRACED(status, "STORE_get_user(&of_current_user_name, user)",
         STORE_get_user(out(user_name), user));
  ZOLP_TRACE("current user:%s:\n", user_name.get());
  HostPtr<char> group_name;
  TRACED(status, "STORE_get_group(&of_current_group_name, group)",
         STORE_get_group(out(group_name), group));
  ZOLP_TRACE("Current group:%s\n", group_name.get());
  return frame.leave(ORK_ok);
}

int ZOLP_ask_login(char* user, char* group, char* role) {
  const Frame frame("ZOLP_ask_login");
  constexpr std::size_t buffer_size = ORG_name_size + 1;
  int status = ORK_ok;
  user[0] = '\0';
  group[0] = '\0';
  role[0] = '\0';

  HostPtr<char> user_id;
  TRACED(status, "STORE_get_user_id(&szUser)", STORE_get_user_id(out(user_id)));
  copy_text(user, buffer_size, user_id.get());

  HostPtr<char> group_name;
  tag group_tag = NULLTAG;
  tag role_tag = NULLTAG;
  if (status == ORK_ok) {
    TRACED(status, "STORE_get_group(&szGroup, &tGroup)",
           STORE_get_group(out(group_name), &group_tag));
    if (status == ORK_ok) {
      copy_text(group, buffer_size, group_name.get());
    }
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_current_role(&tRole)", ORG_get_current_role(&role_tag));
  }
  if (status == ORK_ok) {
    TRACED(status, "ORG_get_role_name(tRole, sRole)", ORG_get_role_name(role_tag, role));
  }
  return frame.leave(status);
}

// ------------------------------------------------------------------------------ preferences

int ZOLP_GetPreferenceArray(const char* name, int* count, char*** values) {
  static unsigned char initialized = 0;
  const Frame frame("ZOLP_GetPreferenceArray");
  int status = ORK_ok;
  *count = 0;
  *values = nullptr;
  if (initialized == 0) {
    TRACED(status, "PREF_initialize()", PREF_initialize());
    if (status != ORK_ok) {
      return frame.leave(status);
    }
    initialized = 1;
  }
  int value_count = 0;
  TRACED(status, "PREF_get_value_count( szPrefName, &valueCount)",
         PREF_get_value_count(name, &value_count));
  if (value_count >= 1 && status == ORK_ok) {
    TRACED(status, "PREF_get_char_values(szPrefName, p_iPrefCount, p_preference_values)",
           PREF_get_char_values(name, count, values));
  }
  return frame.leave(status);
}

int ZOLP_GetPreferenceValue(const char* name, char** value, const char* default_value,
                            int /*scope*/) {
  static unsigned char initialized = 0;
  const Frame frame("ZOLP_GetPreferenceValue");
  int status = ORK_ok;
  int value_count = 0;
  *value = nullptr;
  if (initialized == 0) {
    TRACED(status, "PREF_initialize()", PREF_initialize());
    initialized = status == ORK_ok ? 1 : 0;
  }
  if (initialized != 0) {
    TRACED(status, "PREF_get_value_count( szPref, &valueCount)",
           PREF_get_value_count(name, &value_count));
  }
  if (value_count > 0 && status == ORK_ok) {
    TRACED(status, "PREF_get_char_value (szPref, 0, p_szValue)",
           PREF_get_char_value(name, 0, value));
  }
  if (status != ORK_ok || *value == nullptr) {
    if (default_value != nullptr) {
      MEM_free(*value);
      *value = ZOLP_CopyString(default_value);
    }
  }
  return frame.leave(status);
}

int ZOLP_get_pref(const char* name, char** value) {
  [[maybe_unused]] int status = ORK_ok;
  TRACED(status, "ZOLP_GetPreferenceValue(szPref, p_szValue, NULL, PREF_SCOPE_SITE)",
         ZOLP_GetPreferenceValue(name, value, nullptr, PREF_SCOPE_SITE));
  return ORK_ok;
}

int ZOLP_getSitePreference(const char* name, char** value) {
  return ZOLP_get_pref(name, value);
}

int ZOLP_run_modul(const char* name) {
  const Frame frame("ZOLP_run_modul");
  [[maybe_unused]] int status = ORK_ok;
  TRACED(status, "PREF_initialize()", PREF_initialize());
  ZOLP_TRACE("Check preference = modulname [%s] \n", name);
  char* value = nullptr;  // stays allocated: callers of old keep the switch for the process's life
  TRACED(status, "PREF_get_char_value(szModulname,0,&dummy_cmp_str)",
         PREF_get_char_value(name, 0, &value));
  ZOLP_TRACE("Preference [%s] = [%s]\n", name, value);
  int is_off = 0;
  for (const char* off : {"", "FALSE", "NO", "NEIN"}) {
    if (std::strcmp(orktool::text_or_empty(value), off) == 0) {
      is_off = 1;
    }
  }
  ZOLP_TRACE("Modul [%s] = [%d]\n", name, is_off);
  return frame.leave(is_off);
}
