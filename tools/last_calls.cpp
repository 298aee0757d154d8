#include "last_calls.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <filesystem>

#include "trace/calls.h"
#include "utf8_path.h"

namespace tool {

namespace {

struct Call {
  uint64_t number = 0; /**< in the order of entry */
  std::string line;
};

std::string line_of(const trace::CallEvent& event, const trace::CallSite& site) {
  std::string line(2UL * event.depth, ' ');
  line += site.text;
  if (event.ending == trace::Ending::open) {
    line += " has not returned";
  } else if (event.knows_status && event.status != 0) {
    line += " failed with " + std::to_string(event.status);
    line += event.text.empty() ? "" : ": " + std::string(event.text);
  }
  return line;
}

/** Goes through the events of the process's first thread, which calls handlers. */
std::vector<Call> read_calls(const std::string& recording, std::size_t count) {
  trace::CallSites sites;
  trace::CallReader reader(sites, {recording}, {.texts = false, .older_parts = false, .wait = {}});
  std::vector<uint64_t> open; /**< numbers of the calls that are open */
  std::deque<Call> left;
  uint64_t number = 0;
  for (auto events = reader.read(); !events.empty(); events = reader.read()) {
    for (const trace::CallEvent& event : events) {
      if (event.lane != 0) {
        continue;
      }
      if (event.kind == trace::CallEvent::Kind::enter) {
        open.push_back(number++);
      } else if (event.kind == trace::CallEvent::Kind::leave && !open.empty()) {
        left.push_back({open.back(), line_of(event, sites[event.site])});
        open.pop_back();
        // The calls around these are left later, and are kept then.
        if (left.size() > 4 * count) {
          left.pop_front();
        }
      }
    }
  }
  return {left.begin(), left.end()};
}

}  // namespace

std::string recording_of(unsigned long process) {
  const char* const variable = std::getenv("ZOLP_TRACE_RECORD");
  std::string path;
  for (const char* at = variable != nullptr ? variable : ""; *at != '\0'; ++at) {
    if (*at == '%' && at[1] == 'p') {
      path += std::to_string(process);
      ++at;
    } else {
      path += *at;
      at += *at == '%' && at[1] == '%' ? 1 : 0;
    }
  }
  // Where another process records to the file, this one has taken a name of its own.
  const std::string own = path + ".pid" + std::to_string(process);
  std::error_code none;
  for (const std::string& candidate : {own, path}) {
    if (!path.empty() && std::filesystem::is_regular_file(host::utf8_path(candidate), none)) {
      return candidate;
    }
  }
  return {};
}

std::vector<std::string> last_calls(const std::string& recording, std::size_t count) {
  std::vector<Call> calls = read_calls(recording, count);
  std::sort(calls.begin(), calls.end(),
            [](const Call& left, const Call& right) { return left.number < right.number; });
  if (calls.size() > count) {
    calls.erase(calls.begin(), calls.end() - static_cast<std::ptrdiff_t>(count));
  }
  std::vector<std::string> lines;
  for (Call& call : calls) {
    lines.push_back(std::move(call.line));
  }
  return lines;
}

}  // namespace tool
