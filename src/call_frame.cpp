#include "call_frame.h"

#include <cstdio>

namespace orktool {

int print_failure(int status, Place place) {
  std::printf("ERROR: File:%s [line:%d] (ifail %d)\n", place.file, place.line, status);
  return status;
}

}  // namespace orktool
