// Filters. An input is the pattern of a filter for an object's type, "Item".

#include <cstring>

#include "fuzz/site.h"
#include "zolp_orktool.h"

namespace {

tag item = NULLTAG;

bool passes(const std::string& pattern, bool escape) {
  bool match = false;
  fuzz::check(ZOLP_ApplyRegExpFilterExt(item, "", pattern.c_str(), "", &match, escape) == ORK_ok,
              "a filter is applied");
  return match;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::open_site();
  fuzz::check(ork_host_seed(R"({"items": [{"id": "1", "name": "n"}]})") == ORK_ok, "an item");
  fuzz::trace_into_nothing();
  fuzz::check(ork_host_find_item("1", nullptr, &item) == ORK_ok, "an item is found");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string pattern = fuzz::terminated(fuzz::text_of(data, size));
  const bool first = passes(pattern, false);
  fuzz::check(passes(pattern, false) == first, "a pattern that is known answers the same");
  const bool found = passes(pattern, true);
  if (pattern.find_first_of("()|?") == std::string::npos) {
    fuzz::check(found == (std::string("Item").find(pattern) != std::string::npos),
                "an escaped pattern is found where its text stands");
  }
  return 0;
}
