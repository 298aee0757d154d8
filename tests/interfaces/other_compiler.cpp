// A program without a C library, for a compiler other than the one that builds the library.

#include "ork_host.h"
#include "zolp_orktool.h"

static CZOLP_ParamLine line;
static CZOLP_ParamLine copy;
static CZOLP_String name;
static CZOLP_String other_name;

extern "C" int start(void) {
  char text[] = "Lower";
  if (string_to_lower(text) != 0 || text[0] != 'l') {
    return 1;
  }
  line.text[1025] = 'x';
  CZOLP_ParamLine& result = (copy = line);
  if (&result != &copy || copy.text[1025] != 'x') {
    return 2;
  }
  name = other_name;
  // Two functions of one name; nobody is logged in, so that both fail.
  bool answer = false;
  if (ZOLP_IsViewOfType(tag{1}, tag{2}, &answer) == ORK_ok ||
      ZOLP_IsViewOfType(tag{1}, "view", &answer) == ORK_ok) {
    return 3;
  }
  // Structures as arguments, on the stack and in a register.
  re_pattern_buffer pattern{};
  if (regcomp(&pattern, "^[a-z]+$", REG_EXTENDED | REG_NOSUB) != 0 ||
      !MatchPattern(pattern, "lower") || MatchPattern(pattern, "UPPER")) {
    return 4;
  }
  char* date = nullptr;
  ZOLP_DateDateToString(date_s{2026, 2, 14, 9, 5, 7}, &date);
  return ork_host_open(":memory:") == ORK_ok ? 0 : 5;
}
