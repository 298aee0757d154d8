#include "site_description.h"

#include <exception>

#include "failures.h"
#include "host/ork_host.h"

namespace tool {

void describe_site(const std::string& section, const SeeText& see) {
  // What it throws comes out here, and not through the host.
  struct Reader {
    const SeeText& see;
    std::exception_ptr failure;
  } reader{see, nullptr};
  const int status = ork_host_write_description(
      section.empty() ? nullptr : section.c_str(),
      [](const char* text, size_t size, void* context) -> logical {
        Reader& to = *static_cast<Reader*>(context);
        try {
          to.see({text, size});
          return 1;
        } catch (...) {
          to.failure = std::current_exception();
          return 0;
        }
      },
      &reader);
  if (reader.failure) {
    std::rethrow_exception(reader.failure);
  }
  require_success(status, "cannot read the site", "check that the file is a site");
}

}  // namespace tool
