#include "known_sites.h"

#include <charconv>

namespace host {

int local_site_number(Store& store) {
  const std::string text = store.setting("site_id").value_or("");
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

tag find_site(Store& store, int number) {
  return store.find_one("Site", {{"site_id", number}});
}

tag owning_site(Store& store, tag object) {
  const tag named = store.reference(object, "owning_site");
  return named != NULLTAG ? named : find_site(store, local_site_number(store));
}

}  // namespace host
