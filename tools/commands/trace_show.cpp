#include "commands/trace.h"
namespace tool {
void add_trace_show(CLI::App&) {}
}  // namespace tool
