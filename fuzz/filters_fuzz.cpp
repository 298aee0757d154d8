// Filters. An input is the pattern of a filter for an object's type, "Item".

#include <cstring>

#include "fuzz/site.h"
#include "zolp_orktool.h"

namespace {

tag prepare() {
  static const tag item = [] {
    fuzz::open_site();
    fuzz::check(ork_host_seed(R"({"items": [{"id": "1", "name": "n"}]})") == ORK_ok, "an item");
    fuzz::trace_into_nothing();
    tag found = NULLTAG;
    fuzz::check(ork_host_find_item("1", nullptr, &found) == ORK_ok, "an item is found");
    return found;
  }();
  return item;
}

bool passes(tag item, const std::string& pattern, bool escape) {
  bool match = false;
  fuzz::check(ZOLP_ApplyRegExpFilterExt(item, "", pattern.c_str(), "", &match, escape) == ORK_ok,
              "a filter is applied");
  return match;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tag item = prepare();
  const std::string pattern = fuzz::terminated(fuzz::text_of(data, size));
  const bool first = passes(item, pattern, false);
  fuzz::check(passes(item, pattern, false) == first, "a pattern that is known answers the same");
  const bool found = passes(item, pattern, true);
  if (pattern.find_first_of("()|?") == std::string::npos) {
    fuzz::check(found == (std::string("Item").find(pattern) != std::string::npos),
                "an escaped pattern is found where its text stands");
  }
  return 0;
}
