// Seeds of the embedded host. An input is the JSON text of a seed.

#include "fuzz/support.h"
#include "ork/mem.h"
#include "ork_host.h"

namespace {

std::string describe_site() {
  char* json = nullptr;
  fuzz::check(ork_host_describe(nullptr, &json) == ORK_ok, "a site is described");
  const std::string description = json;
  MEM_free(json);
  return description;
}

void open_empty_site() {
  fuzz::check(ork_host_open(":memory:") == ORK_ok &&
                  ork_host_seed(R"({"site": {"password_cost": 1}})") == ORK_ok,
              "a site opens");
}

std::string empty; /**< description of such a site */

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  open_empty_site();
  empty = describe_site();
  return 0;
}

// Most inputs are refused, and a site that has refused one serves the next.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string seed = fuzz::terminated(fuzz::text_of(data, size));
  if (seed.find("password_cost") != std::string::npos) {
    return 0;  // a site may want its passwords to cost seconds
  }
  if (ork_host_seed(seed.c_str()) == ORK_ok) {
    const std::string once = describe_site();
    fuzz::check(ork_host_seed(seed.c_str()) == ORK_ok, "a seed is taken twice");
    fuzz::check(describe_site() == once, "seeding twice is seeding once");
    ork_host_close();
    open_empty_site();
  } else {
    fuzz::check(describe_site() == empty, "a refused seed leaves nothing behind");
  }
  return 0;
}
