// Copies a dataset through a folder for temporary files that other processes use too. Between the
// export and the import of a file it takes its time.

#include <cstdio>

#include "ork/dset.h"
#include "ork_host.h"
#include "zolp_orktool.h"

/** Arguments: the site, the dataset and the name of its copy. Begins when it is told so. */
int main(int, char** arguments) {
  tag dataset = NULLTAG;
  tag copy = NULLTAG;
  if (ork_host_open(arguments[1]) != ORK_ok || ORK_auto_login() != ORK_ok ||
      DSET_find_dataset(arguments[2], &dataset) != ORK_ok) {
    return 1;
  }
  ork_host_delay_call("FILE_import_file", 200);
  std::puts("ready");
  std::fflush(stdout);
  std::getchar();
  const int status = ZOLP_RealCopyDataset(dataset, arguments[3], &copy);
  ork_host_close();
  return status == ORK_ok ? 0 : 1;
}
