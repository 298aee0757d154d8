/*
 * A batch program to start from: logs in, reads a preference of the site, prints it, logs out.
 *
 * The login comes from the command line. Without the three options the site's user for automatic
 * login is taken. On the embedded host, ORK_HOST_DB names the site's file.
 *
 * The program's own functions stand in the trace beside those of the library, and in the recording
 * that ZOLP_TRACE_RECORD=FILE makes.
 */
#include <stdio.h>

#include "zolp_call_frame.h"
#include "zolp_orktool.h"

/* Reads the preference and prints it. Returns the program's exit code. */
static int print_preference(const char* name) {
  char* value = NULL;
  int count = 0;
  int status = ORK_ok;
  int exit_code = 1;
  ZOLP_ENTER("print_preference");
  ZOLP_TRACED(status, PREF_get_value_count(name, &count));
  if (status == ORK_ok) {
    status = ZOLP_GetPreferenceValue(name, &value, NULL, PREF_SCOPE_SITE);
  }
  if (status != ORK_ok) {
    ZOLP_ReportLastOrkError(status);
  } else if (value == NULL) {
    fprintf(stderr, "batch: preference %s is not set\n", name);
  } else {
    printf("%s = %s\n", name, value);
    exit_code = 0;
  }
  MEM_free(value);
  return ZOLP_LEAVE(exit_code);
}

int main(int argc, char** argv) {
  int status;
  int exit_code;

  if (argc < 2 || argv[argc - 1][0] == '-') {
    fprintf(stderr, "usage: %s [-u=USER -p=PASSWORD -g=GROUP] PREFERENCE\n", argv[0]);
    return 2;
  }

  status = ZOLP_startup_ork_environment();
  if (status != ORK_ok) {
    fprintf(stderr, "batch: login failed with status %d\n", status);
    return 1;
  }
  exit_code = print_preference(argv[argc - 1]);
  status = ZOLP_shutdown_ork_environment();
  return status == ORK_ok ? exit_code : 1;
}
