// Error reports, version banner, small strings; session; preferences read by value; texts and
// paths; ownership, access and locks; related objects and class attributes; export file names.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string_view>

#include "call_frame.h"
#include "clock.h"
#include "host_memory.h"
#include "ork/access.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::copy_text;
using orktool::HostPtr;
using orktool::out;

// ---------------------------------------------------------------- errors, version, strings

int ZOLP_ReportLastOrkError(int status) {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ERR_get_errors(&count, &severities, &codes, &texts);
  for (int i = count - 1; i >= 0 && codes != nullptr && texts != nullptr; --i) {
    if (codes[i] == status) {
      zolp_write_error_text_(texts[i]);
      return ORK_ok;
    }
  }
  HostPtr<char> text;
  ERR_get_error_text(status, out(text));
  zolp_write_error_text_(text.get());
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
  for (int i = 0; i < count && codes != nullptr && texts != nullptr; ++i) {
    ZOLP_TRACE("\t\"%d\":\"%s\"\n", codes[i], texts[i]);
  }
  return status;
}

void ZOLP_Version(void) {
  static unsigned char printed = 0;
  if (printed == 0) {
    ZOLP_PRINT_VERINFO("ZOLP ORK-Tool                      (V" ZOLP_VERSION_TEXT ".0)  %s %s\n",
                       __DATE__, __TIME__);
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
  if (this != &other) {
    std::memcpy(text, other.text, sizeof text);
  }
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
  FRAME(frame, "zolp_startup_ork_environment");
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
  FRAME(frame, "ZOLP_shutdown_ork_environment");
  GUARDED("ORK_exit_module(true)", ORK_exit_module(1));
  return frame.leave(ORK_ok);
}

logical ZOLP_set_ork_bypass(logical flag) {
  FRAME(frame, "ZOLP_set_ork_bypass");
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
  FRAME(frame, "zolp_identify_user_and_group");
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
  FRAME(frame, "ZOLP_get_current_user_and_group");
  *user = NULLTAG;
  *group = NULLTAG;
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
  FRAME(frame, "ZOLP_ask_login");
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
  FRAME(frame, "ZOLP_GetPreferenceArray");
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
  FRAME(frame, "ZOLP_GetPreferenceValue");
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
  FRAME(frame, "ZOLP_run_modul");
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

// --------------------------------------------------------------------------- texts and paths

int ZOLP_RepSpecialChar(char* text) {
  FRAME(frame, "ZOLP_RepSpecialChar");
  constexpr std::string_view special("/;, *:?=\\'#><[]}{|~@&$\"\xB4`");
  std::replace_if(
      text, text + std::strlen(text),
      [special](char character) { return special.find(character) != std::string_view::npos; }, '_');
  return frame.leave(0);
}

int string_to_lower(char* text) {
  FRAME(frame, "string_to_lower");
  std::transform(text, text + std::strlen(text), text, [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return frame.leave(0);
}

namespace {

/** Walks a text character by character and knows which separators stand outside double quotes. */
class QuotedText {
 public:
  explicit QuotedText(std::string_view separators) : separators_(separators) {}

  /** Takes the next character; true when it separates two fields. */
  bool separates(char character) {
    is_quoted_ = is_quoted_ != (character == '"');
    return !is_quoted_ && character != '"' && separators_.find(character) != std::string_view::npos;
  }

 private:
  std::string_view separators_;
  bool is_quoted_ = false;
};

int count_fields(std::string_view text, std::string_view separators) {
  QuotedText quoted(separators);
  return 1 + static_cast<int>(std::count_if(text.begin(), text.end(), [&quoted](char character) {
           return quoted.separates(character);
         }));
}

/** Copies the fields of a text into an array; false when memory is exhausted. */
bool copy_fields(std::string_view text, std::string_view separators, char* buffer, char** fields) {
  QuotedText quoted(separators);
  std::size_t length = 0;
  int stored = 0;
  const auto store_field = [&] {
    buffer[length] = '\0';
    length = 0;
    return (fields[stored++] = ZOLP_CopyString(buffer)) != nullptr;
  };
  for (const char character : text) {
    if (quoted.separates(character)) {
      if (!store_field()) {
        return false;
      }
    } else if (character != ' ' || length > 0) {
      buffer[length++] = character;
    }
  }
  return store_field();
}

}  // namespace

int ZOLP_splitItemString(const char* text, const char* separators, int* count, char*** items) {
  *count = 0;
  *items = nullptr;
  if (text == nullptr || *text == '\0') {
    return 0;
  }
  const HostPtr<char> copy(ZOLP_CopyString(text));
  if (copy == nullptr) {
    return -1;
  }
  const std::string_view line(copy.get(), std::strcspn(copy.get(), "\n"));
  const std::string_view separator_set(separators != nullptr ? separators : "~");
  const int field_count = count_fields(line, separator_set);
  const auto array_size = static_cast<std::size_t>(field_count) * sizeof(char*);
  HostPtr<char*> fields(static_cast<char**>(MEM_alloc(array_size)));
  if (fields == nullptr) {
    return -1;
  }
  const HostPtr<char> buffer(static_cast<char*>(MEM_alloc(line.size() + 1)));
  if (buffer == nullptr) {
    return 1;
  }
  std::memset(fields.get(), 0, array_size);
  if (!copy_fields(line, separator_set, buffer.get(), fields.get())) {
    std::for_each_n(fields.get(), field_count, MEM_free);
    return -1;
  }
  *count = field_count;
  *items = fields.release();
  return 0;
}

int ZOLP_splitToFirstSeparator(const char* text, char separator, char* head, char* tail) {
  FRAME(frame, "ZOLP_splitToFirstSeparator");
  ZOLP_TRACE(" separator is [%c]\n", separator);
  const std::string_view whole(text);
  const std::size_t at = std::min(whole.find(separator), whole.size());
  const std::string_view rest = whole.substr(std::min(at + 1, whole.size()));
  // The rest may go where the text stands.
  std::memmove(head, whole.data(), at);
  head[at] = '\0';
  std::memmove(tail, rest.data(), rest.size());
  tail[rest.size()] = '\0';
  return frame.leave(0);
}

int ZOLP_ExtendPathVar(const char* path, char* long_path) {
  FRAME(frame, "ZOLP_ExtendPathVar");
  constexpr std::size_t longest_variable = 40;
  constexpr std::size_t longest_suffix = 256;
  if (path[0] != '%' && path[0] != '$') {
    return frame.leave(0);
  }
  ZOLP_TRACE("WINDOWS PATH-Variable \n");
  const std::size_t variable_length = std::strcspn(path, "\\");
  if (variable_length > longest_variable ||
      std::strlen(path) > variable_length + 1 + longest_suffix) {
    ZOLP_ERROR("ERROR: path >%s< is too long: variable of at most %zu, rest of at most %zu\n", path,
               longest_variable, longest_suffix);
    return frame.leave(1);
  }
  char variable[longest_variable + 1];
  char suffix[longest_suffix + 1];
  ZOLP_splitToFirstSeparator(path, '\\', variable, suffix);
  ZOLP_TRACE("Pathvariable is  >%s<, pathsuffix is >%s<\n", variable, suffix);
  // Both enclosing signs go; a name that begins with "$" has always lost its last letter as well.
  const std::string_view name(variable);
  const std::string_view shortened = name.substr(1, std::max<std::size_t>(name.size(), 2) - 2);
  std::memmove(variable, shortened.data(), shortened.size());
  variable[shortened.size()] = '\0';
  ZOLP_TRACE("Shortened Pathvar is >%s<\n", variable);

  const char* value = std::getenv(variable);
  if (value == nullptr) {
    std::printf(
        "\n\n\nERROR: Pathvariable in >%s< not defined.\nContact your systemadministrator!\n",
        path);
    ZOLP_TRACE("Pathvariable not defined: RETURN!\n");
    return 1;  // without the exit line
  }
  const std::string_view base(value);
  if (base.size() + 1 + std::strlen(suffix) >= ZOLP_LONG_PATH_SIZE) {
    ZOLP_ERROR("ERROR: path >%s< is longer than %d characters when expanded\n", path,
               ZOLP_LONG_PATH_SIZE - 1);
    return frame.leave(1);
  }
  base.copy(long_path, base.size());
  long_path[base.size()] = '\\';
  copy_text(long_path + base.size() + 1, sizeof suffix, suffix);
  ZOLP_TRACE("Long Path is >%s<\n", long_path);
  return frame.leave(0);
}

// ------------------------------------------------------------ ownership, access and locks

int ZOLP_check_access(tag user, tag group, tag object, const char* privilege) {
  FRAME(frame, "ZOLP_check_access");
  [[maybe_unused]] int status = ORK_ok;
  const tag accessors[] = {user, group};
  constexpr int accessor_count = 2;
  ZOLP_TRACE("user_tag:%d:\tgroup_tag:%d:\tobj_tag:%d:\tn_accessors:%d:\tprivileg:%s:\n",
             static_cast<int>(user), static_cast<int>(group), static_cast<int>(object),
             accessor_count, privilege);
  logical verdict = 0;
  TRACED(status,
         "ACCESS_check_accessors_privilege(n_accessors,t_accessors, obj_tag, privileg,&verdict)",
         ACCESS_check_accessors_privilege(accessor_count, accessors, object, privilege, &verdict));
  if (verdict != 0) {
    return frame.leave(0);
  }
  char name[WSO_name_size + 1] = "";
  char type[WSO_name_size + 1] = "";
  TRACED(status, "WSO_get_name(obj_tag, object_name)", WSO_get_name(object, name));
  TRACED(status, "WSO_get_object_type(obj_tag,object_type)", WSO_get_object_type(object, type));
  ZOLP_TRACE("You do not have access on the object:%s\n", name);
  return frame.leave(1);
}

int ZOLP_verify_state_and_lock_of_object(tag object) {
  FRAME(frame, "ZOLP_verify_state_and_lock");
  [[maybe_unused]] int status = ORK_ok;
  int state = 0;
  int lock = 0;
  TRACED(status, "STORE_get_instance_state(object, &state_token)",
         STORE_get_instance_state(object, &state));
  if (state == STORE_instance_not_loaded) {
    TRACED(status, "OBJ_load(object)", OBJ_load(object));
  } else {
    ZOLP_TRACE("Object: %d is loaded!\n", static_cast<int>(object));
  }
  TRACED(status, "STORE_get_instance_lock(object, &lock_token)",
         STORE_get_instance_lock(object, &lock));
  if (lock != STORE_modify_lock) {
    TRACED(status, "OBJ_lock(object)", OBJ_lock(object));
  } else {
    ZOLP_TRACE("Object: %d is locked!\n", static_cast<int>(object));
  }
  HostPtr<char> user_id;
  HostPtr<char> node_name;
  date_s login_date{};
  TRACED(status, "STORE_who_locked_instance(object, &user_id, &login_date, &node_name )",
         STORE_who_locked_instance(object, out(user_id), &login_date, out(node_name)));
  ZOLP_TRACE("object:%d: locked by :%s:\n", static_cast<int>(object), user_id.get());
  return frame.leave(ORK_ok);
}

int ZOLP_checkObjectStatus(tag object, logical* has_status) {
  FRAME(frame, "ZOLP_checkObjectStatus");
  int count = 0;
  char** names = nullptr;
  GUARDED("ZOLP_ask_status_names(object, &status_count, &of_status)",
          ZOLP_ask_status_names(object, &count, &names));
  for (int i = 0; i < count; ++i) {
    ZOLP_TRACE("of_status[%d]:<%s>\n", i, names[i]);
    MEM_free(names[i]);
  }
  MEM_free(names);
  *has_status = count != 0 ? 1 : 0;
  return frame.leave(ORK_ok);
}

int ZOLP_ask_ownership(tag object, tag* owner, tag* group) {
  FRAME(frame, "ZOLP_ask_ownership");
  int status = ORK_ok;
  *owner = NULLTAG;
  *group = NULLTAG;
  TRACED(status, "OBJ_get_owner(tObject, ptOwner)", OBJ_get_owner(object, owner));
  if (status == ORK_ok) {
    TRACED(status, "OBJ_get_group(tObject, ptGroup)", OBJ_get_group(object, group));
  }
  return frame.leave(status);
}

int ZOLP_ask_ownership_names(tag object, char* user_id, char* group_name) {
  FRAME(frame, "ZOLP_ask_ownership_names");
  tag owner = NULLTAG;
  tag group = NULLTAG;
  user_id[0] = '\0';
  group_name[0] = '\0';
  const int status = ZOLP_ask_ownership(object, &owner, &group);
  if (status == ORK_ok) {
    int name_status = ORK_ok;
    TRACED(name_status, "ORG_get_user_identifier(tOwner, sUserID)",
           ORG_get_user_identifier(owner, user_id));
    if (name_status == ORK_ok) {
      TRACED(name_status, "ORG_get_group_name(tGroup, sGroupID)",
             ORG_get_group_name(group, group_name));
    }
  }
  return frame.leave(status);
}

// ------------------------------------------------- related objects and class attributes

namespace {

/** The primary objects of relation records as a tag array of their own; null without memory. */
tag* primary_objects(const REL_record_s* relations, int count) {
  auto* objects = static_cast<tag*>(MEM_alloc(static_cast<std::size_t>(count) * sizeof(tag)));
  if (objects == nullptr) {
    ZOLP_CRERROR("ZOLP_GetAttachedObjs alloc Memory");
    return nullptr;
  }
  std::transform(relations, relations + count, objects,
                 [](const REL_record_s& relation) { return relation.primary; });
  return objects;
}

}  // namespace

int ZOLP_GetAttachedObjs(tag obj, const char* relation_name, int* count, tag** list,
                         logical reverse) {
  FRAME(frame, "ZOLP_GetAttachedObjs");
  int status = ORK_ok;
  tag type = NULLTAG;
  if (relation_name != nullptr && *relation_name != '\0') {
    TRACED(status, "REL_find_relation_type(sRelationName,&relType)",
           REL_find_relation_type(relation_name, &type));
    ZOLP_TRACE("REL_find_relation_type returned %d for %s\n", status, relation_name);
    if (status != ORK_ok || type == NULLTAG) {
      return status;  // without the exit line
    }
  }
  *count = 0;
  *list = nullptr;
  if (reverse != 0) {
    HostPtr<REL_record_s> relations;
    TRACED(status, "REL_list_primary_objects(objTag, relType, p_count, &relations)",
           REL_list_primary_objects(obj, type, count, out(relations)));
    if (relations == nullptr) {
      *count = 0;
    }
    if (status == ORK_ok && *count > 0) {
      *list = primary_objects(relations.get(), *count);
      if (*list == nullptr) {
        *count = 0;
        status = 1;
      }
    }
  } else {
    TRACED(status, "REL_list_secondary_objects_only(objTag, relType, p_count, p_objList)",
           REL_list_secondary_objects_only(obj, type, count, list));
  }
  ZOLP_TRACE("Obj has %d %s with relation <%s>\n", *count, reverse != 0 ? "parents" : "attachments",
             relation_name);
  return frame.leave(status);
}

int ZOLP_GetFirstAttachedObj(tag obj, const char* relation_name, tag* first, logical reverse) {
  FRAME(frame, "ZOLP_GetFirstAttachedObj");
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> objects;
  *first = NULLTAG;
  TRACED(status, "ZOLP_GetAttachedObjs(objTag,sRelationName, &iCount, &ObjList, lReverse)",
         ZOLP_GetAttachedObjs(obj, relation_name, &count, out(objects), reverse));
  if (count > 0 && objects != nullptr) {
    *first = objects.get()[0];
  }
  return frame.leave(status);
}

int ZOLP_isWorkspaceObject(tag obj, logical* answer) {
  return ZOLP_isObjectOfClass(obj, "WorkspaceObject", answer);
}

namespace {

/**
 * Appends identifiers to the caller's array, which grows to exactly what it must hold. False when
 * memory is exhausted.
 */
bool append_attributes(const tag* added, int added_count, int* count, tag** attributes,
                       int* capacity) {
  if (added == nullptr || added_count < 1) {
    return true;
  }
  if (added_count > std::numeric_limits<int>::max() - *count) {
    ZOLP_CRERROR("ListAllClassAttributes alloc Memory");
    return false;
  }
  const int needed = *count + added_count;
  if (needed > *capacity) {
    auto* grown =
        static_cast<tag*>(MEM_realloc(*attributes, static_cast<std::size_t>(needed) * sizeof(tag)));
    if (grown == nullptr) {
      ZOLP_CRERROR("ListAllClassAttributes alloc Memory");
      return false;
    }
    *attributes = grown;
    *capacity = needed;
  }
  std::copy_n(added, added_count, *attributes + *count);
  *count = needed;
  return true;
}

}  // namespace

int ListAllClassAttributes(tag class_id, int* attr_count, tag** attr_ids, int* max_count) {
  FRAME(frame, "ListAllClassAttributes");
  constexpr int first_capacity = 100;
  int status = ORK_ok;
  if (*max_count < 1) {
    *attr_ids = static_cast<tag*>(MEM_alloc(first_capacity * sizeof(tag)));
    *max_count = *attr_ids != nullptr ? first_capacity : 0;
  }
  HostPtr<char> application;
  HostPtr<tag> own_attributes;
  HostPtr<tag> parents;
  int descriptor = 0;
  int own_count = 0;
  int parent_count = 0;
  TRACED(status,
         "STORE_describe_class(tClassId, 0, NULL, &szAppName, &iDescriptor, &iCurAttrCount, "
         "&CurAttrIds)",
         STORE_describe_class(class_id, 0, nullptr, out(application), &descriptor, &own_count,
                              out(own_attributes)));
  const bool is_appended =
      append_attributes(own_attributes.get(), own_count, attr_count, attr_ids, max_count);
  if (status == ORK_ok && is_appended) {
    TRACED(status, "STORE_superclasses_of_class(tClassId, &iParentCount, &ParentIds)",
           STORE_superclasses_of_class(class_id, &parent_count, out(parents)));
  }
  if (status == ORK_ok && parent_count > 0 && parents != nullptr) {
    TRACED(status, "ListAllClassAttributes(ParentIds[0],p_iAttrCount, p_AttrIds, p_iMaxCount)",
           ListAllClassAttributes(parents.get()[0], attr_count, attr_ids, max_count));
  }
  return frame.leave(0);
}

// --------------------------------------------------------------------------- export file names

int ZOLP_buildFileName(tag item_rev, const char* path, char* file_name, const char* extension) {
  FRAME(frame, "ZOLP_buildFileName");
  [[maybe_unused]] int status = ORK_ok;
  char item_id[ITEM_id_size + 1] = "";
  char rev_id[ITEM_id_size + 1] = "";
  ZOLP_TRACE("file_path: <%s>\n", path);
  tag item = NULLTAG;
  TRACED(status, "ITEM_get_item_of_rev (itemrev, &item)", ITEM_get_item_of_rev(item_rev, &item));
  TRACED(status, "ITEM_get_id(item, item_id)", ITEM_get_id(item, item_id));
  TRACED(status, "ITEM_get_rev_id(itemrev, rev_id)", ITEM_get_rev_id(item_rev, rev_id));

  char time_stamp[15];
  const std::tm now = orktool::local_time();
  std::strftime(time_stamp, sizeof time_stamp, "%d%m%Y%H%M%S", &now);
  ZOLP_TRACE("pid:<%s>\n", time_stamp);  // the label under which the stamp is looked for

  char name[1000];
  std::snprintf(name, sizeof name, "%s\\%s_%s_%s_", orktool::text_or_empty(path), item_id, rev_id,
                time_stamp);
  ZOLP_TRACE("szFileName <%s>\n", name);
  char clock_text[12];
  std::snprintf(clock_text, sizeof clock_text, "%d",
                static_cast<int>(orktool::elapsed_milliseconds()));
  ZOLP_TRACE("cpu_time:<%s>\n", clock_text);
  const std::size_t length = std::strlen(name);
  std::snprintf(name + length, sizeof name - length, "%s.%s", clock_text,
                orktool::text_or_empty(extension));
  ZOLP_TRACE("fileName:<%s>\n", name);
  if (std::strlen(name) >= ZOLP_FILE_NAME_SIZE) {
    ZOLP_ERROR("File Name excezolp allowed file length of %d.\n", ZOLP_FILE_NAME_SIZE);
    return 1;  // without the exit line
  }
  ZOLP_TRACE("before strcpy filename");
  copy_text(file_name, ZOLP_FILE_NAME_SIZE, name);
  ZOLP_TRACE("fileName:<%s>\n", file_name);
  return frame.leave(0);
}
