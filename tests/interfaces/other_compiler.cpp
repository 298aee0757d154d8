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
  return ork_host_open(":memory:") == ORK_ok ? 0 : 3;
}
