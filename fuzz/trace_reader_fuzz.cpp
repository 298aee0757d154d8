// The reader of traces. An input that begins with "R" damages a recording: each group of eleven
// bytes behind it is an offset of three and eight bytes that are put there. Any other input is a
// text.

#include <cstring>
#include <map>

#include "fuzz/support.h"
#include "tools/error.h"
#include "tools/trace/call_totals.h"
#include "tools/trace/calls.h"
#include "tools/trace/chain_tree.h"
#include "tools/trace/recording.h"

namespace {

/** A recording of a few calls, one of which has failed. */
std::string make_recording() {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("zolp-fuzz-" + std::to_string(std::rand())))
          .string();
  constexpr unsigned long long smallest = 128 * 1024;
  fuzz::check(ZOLP_SetTraceRecording(path.c_str(), smallest) == 1, "a recording is made");
  static ZOLP_CallSite frame = {ZOLP_SITE_FRAME, 1, "function", "a.c", nullptr, nullptr, 0, 0};
  static ZOLP_CallSite call = {ZOLP_SITE_GUARDED, 2, "CALL(a)", "a.c", nullptr, nullptr, 0, 0};
  for (int i = 0; i < 4; ++i) {
    ZOLP_trace_state.enter(&frame);
    ZOLP_trace_state.enter(&call);
    ZOLP_trace_state.leave(&call, i == 2 ? 515 : 0);
    if (i == 2) {
      ZOLP_trace_state.keep_error_text("refused");
      ZOLP_trace_state.abandon(&frame);
    } else {
      ZOLP_trace_state.leave(&frame, 0);
    }
  }
  ZOLP_SetTraceRecording(nullptr, 0);
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  file.close();
  std::remove(path.c_str());
  return bytes;
}

std::string whole;

std::string damaged_recording(std::string_view damage) {
  constexpr std::size_t group = 11;
  std::string bytes = whole;
  for (; damage.size() >= group; damage.remove_prefix(group)) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      offset = offset << 8 | static_cast<unsigned char>(damage[i]);
    }
    // Most of the file is room for events; what tells where they are lies at its beginning.
    offset %= (offset & 1) != 0 ? 6000 : bytes.size() - 8;
    std::memcpy(bytes.data() + offset, damage.data() + 3, 8);
  }
  return bytes;
}

/** Each lane is a stack: what is left was entered last, at the depth that both say. */
void read_all(const std::string& path) {
  trace::CallSites sites;
  trace::ReadOptions how;
  how.texts = true;
  trace::CallReader reader(sites, {path}, how);
  trace::CallTotals totals(sites, trace::GroupBy::name);
  trace::SiteGroups groups(sites, trace::GroupBy::text);
  trace::ChainTree chains(groups);
  std::map<uint32_t, std::vector<uint32_t>> lanes;
  for (auto events = reader.read(); !events.empty(); events = reader.read()) {
    for (const trace::CallEvent& event : events) {
      totals.add(event);
      chains.add(event);
      fuzz::check(event.lane < reader.lanes().size(), "the lane is known");
      std::vector<uint32_t>& open = lanes[event.lane];
      if (event.kind == trace::CallEvent::Kind::leave) {
        fuzz::check(!open.empty() && open.back() == event.site, "the innermost call is left");
        open.pop_back();
      }
      fuzz::check(event.depth == open.size(), "the depth is how many are open");
      if (event.kind == trace::CallEvent::Kind::enter) {
        fuzz::check(event.site < sites.size() && !sites[event.site].text.empty(),
                    "the call has a name");
        open.push_back(event.site);
      }
    }
  }
  for (const auto& [lane, open] : lanes) {
    fuzz::check(open.empty(), "all calls are left");
  }
  uint64_t count = 0;
  for (uint32_t node = 1; node < chains.size(); ++node) {
    count += chains[node].count;
    fuzz::check(chains.chain(node).size() <= groups.size(), "a chain has each call once");
  }
  fuzz::check(count == totals.sum().count, "totals and chains count the same calls");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  whole = make_recording();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::text_of(data, size);
  static const fuzz::MemoryFile file;
  file.write(input.starts_with('R') ? damaged_recording(input.substr(1)) : std::string(input));
  try {
    read_all(file.path());
  } catch (const tool::Error&) {
    // A file that is no trace.
  }
  return 0;
}
