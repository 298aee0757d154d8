#include "trace_formats.h"

#include <algorithm>

#include "trace/chain_tree.h"
#include "utf8_path.h"

namespace tool {

bool SelectedCalls::wants(const trace::CallEvent& event) {
  if (event.kind == trace::CallEvent::Kind::text) {
    return false;
  }
  if (event.lane >= lanes_.size()) {
    lanes_.resize(size_t{event.lane} + 1);
  }
  std::vector<CallChoice>& open = lanes_[event.lane];
  if (event.kind == trace::CallEvent::Kind::enter) {
    open.push_back(
        chooser_.choose(input_.sites()[event.site], open.empty() ? nullptr : &open.back()));
    return open.back().is_taken;
  }
  const bool was_taken = open.back().is_taken;
  open.pop_back();
  return was_taken;
}

int64_t CallClock::moment(const trace::CallEvent& event, const trace::Lane& lane) {
  if (event.lane >= latest_.size()) {
    latest_.resize(size_t{event.lane} + 1, trace::unknown_time);
  }
  int64_t& latest = latest_[event.lane];
  if (lane.has_times) {
    latest = std::max(latest, event.time);
    return latest == trace::unknown_time ? 0 : latest;
  }
  latest = std::max<int64_t>(latest, 0);
  return event.kind == trace::CallEvent::Kind::enter ? latest++ : latest;
}

std::string json_text(std::string_view text) {
  std::string json = Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
  for (size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at)) {
    json.replace(at, 1, "\\u003c");
  }
  return json;
}

std::string trace_title(const std::vector<std::string>& files) {
  const auto name = host::utf8_path(files.front()).filename().u8string();
  std::string title =
      files.front() == "-" ? "standard input" : reinterpret_cast<const char*>(name.c_str());
  if (files.size() > 1) {
    title += " and " + std::to_string(files.size() - 1) + " more";
  }
  return title;
}

size_t write_folded(SelectedCalls& calls, DocumentWriter& to) {
  trace::SiteGroups groups(calls.sites(), trace::GroupBy::name);
  trace::ChainTree tree(groups);
  size_t count = 0;
  calls.read([&](const trace::CallEvent& event) {
    tree.add(event);
    count += event.kind == trace::CallEvent::Kind::enter ? 1 : 0;
  });
  const bool has_times = calls.input().has_times();
  for (uint32_t node = 1; node < tree.size(); ++node) {
    const int64_t weight = has_times ? tree[node].own : static_cast<int64_t>(tree[node].count);
    if (weight <= 0) {
      continue;
    }
    std::string line;
    for (const uint32_t above : tree.chain(node)) {
      std::string name = printable(groups.name(tree[above].group));
      std::replace(name.begin(), name.end(), ';', ':');
      line += (line.empty() ? "" : ";") + name;
    }
    to << line << " " << weight << "\n";
  }
  return count;
}

}  // namespace tool
