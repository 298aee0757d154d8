/**
 * @file
 * Another trace library in the place of libzolp_basetool, as sites have one: the nine operations
 * that the library needs, and nothing else. It prints what it is told, with the formats.
 */
#include <cstdarg>
#include <cstdio>
#include <string>

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

namespace {

void print(const char* operation, const char* format, va_list arguments) {
  std::string shown;
  for (; *format != '\0'; ++format) {
    shown += *format == '\n' ? "\\n" : std::string(1, *format);
  }
  std::printf("%s \"%s\"", operation, shown.c_str());
  for (std::size_t at = 0; (at = shown.find('%', at)) != std::string::npos; ++at) {
    if (shown[at + 1] == 'd') {
      va_arg(arguments, int);
      std::printf(" NUMBER");
    } else {
      const char* text = va_arg(arguments, const char*);
      std::printf(" %s", text != nullptr ? text : "(null)");
    }
  }
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

#define PRINT(operation)                 \
  do {                                   \
    va_list arguments;                   \
    va_start(arguments, format);         \
    print(operation, format, arguments); \
    va_end(arguments);                   \
  } while (false)

EXPORTED void ZOLP_LOG(int area, int detail, const char* format, ...) {
  PRINT(area == 1 && detail == 1 ? "LOG" : "LOG with other numbers");
}
EXPORTED void ZOLP_TRACE(const char* format, ...) {
  PRINT("TRACE");
}
EXPORTED void ZOLP_ERROR(const char* format, ...) {
  PRINT("ERROR");
}
EXPORTED void ZOLP_WARNING(const char* format, ...) {
  PRINT("WARNING");
}
EXPORTED void ZOLP_DEBUG(const char* format, ...) {
  PRINT("DEBUG");
}
EXPORTED void ZOLP_PRINT_VERINFO(const char* format, ...) {
  PRINT("PRINT_VERINFO");
}
EXPORTED void ZOLP_CRERROR(const char* text) {
  std::printf("CRERROR %s\n", text);
}
EXPORTED void ZOLP_IncTraceSpaces() {
  std::puts("Inc");
}
EXPORTED void ZOLP_DecTraceSpaces() {
  std::puts("Dec");
}
