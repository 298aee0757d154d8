#include "viewer_page.h"

#if defined(ZOLP_VIEWER_PAGE)

#if defined(_WIN32)
#define READ_ONLY_SECTION ".section .rdata,\"dr\"\n"
#else
#define READ_ONLY_SECTION ".section .rodata\n"
#endif

// A file of half a megabyte: as an array in a source it would take the compiler seconds.
__asm__(READ_ONLY_SECTION
        ".global zolp_viewer_page_begin\n"
        "zolp_viewer_page_begin:\n"
        ".incbin \"" ZOLP_VIEWER_PAGE
        "\"\n"
        ".global zolp_viewer_page_end\n"
        "zolp_viewer_page_end:\n"
        ".byte 0\n"
        ".text\n");

extern "C" const char zolp_viewer_page_begin[];
extern "C" const char zolp_viewer_page_end[];

namespace tool {

std::string_view viewer_page() {
  return {zolp_viewer_page_begin, zolp_viewer_page_end};
}

}  // namespace tool

#else

namespace tool {

std::string_view viewer_page() {
  return {};
}

}  // namespace tool

#endif
