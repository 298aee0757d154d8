#include "commands/trace.h"
namespace tool {
void add_trace_diff(CLI::App&) {}
}  // namespace tool
