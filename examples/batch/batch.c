/*
 * A batch program to start from: logs in, reads a preference of the site, prints it, logs out.
 *
 * The login comes from the command line. Without the three options the site's user for automatic
 * login is taken. On the embedded host, ORK_HOST_DB names the site's file.
 */
#include <stdio.h>

#include "zolp_orktool.h"

/* Reads the preference and prints it. Returns the program's exit code. */
static int print_preference(const char* name) {
  char* value = NULL;
  int status = ZOLP_GetPreferenceValue(name, &value, NULL, PREF_SCOPE_SITE);
  int exit_code = 1;
  if (status != ORK_ok) {
    ZOLP_ReportLastOrkError(status);
  } else if (value == NULL) {
    fprintf(stderr, "batch: preference %s is not set\n", name);
  } else {
    printf("%s = %s\n", name, value);
    exit_code = 0;
  }
  MEM_free(value);
  return exit_code;
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
