#include "call_selection.h"

#include "basetool/selection.h"

namespace tool {

TraceNames::TraceNames(const std::vector<std::string>& lists) {
  for (std::string list : lists) {
    // A call is shown as NAME().
    for (size_t at = list.find("()"); at != std::string::npos; at = list.find("()", at)) {
      list.erase(at, 2);
    }
    list_ += (list_.empty() ? "" : ",") + list;
  }
}

bool TraceNames::fit(const trace::CallSite& site) const {
  return basetool::list_holds(list_, site.name);
}

OptionParser add_call_names(CommandParser& command, const char* name,
                            std::vector<std::string>& names, const char* description) {
  return command.add_option(name, names, description).type_name("NAME");
}

void add_call_selection(CommandParser& command, CallSelection& selection) {
  add_call_names(command, "--only", selection.only,
                 "Only calls of these names, with all that happens below them; * stands for any "
                 "characters");
  add_call_names(command, "--skip", selection.skip,
                 "Leave these out, with all that happens below them");
  command.add_option("--depth", selection.depth, "Number of levels to take")
      .type_name("N")
      .range(size_t{1}, size_t{1'000'000'000});
}

CallChoice CallChooser::choose(const trace::CallSite& site, const CallChoice* around) const {
  using Part = CallChoice::Part;
  CallChoice call;
  if (around != nullptr) {
    call = *around;
    call.level += around->is_taken ? 1 : 0;
  }
  if (call.part == Part::skipped || (!skip_.is_empty() && skip_.fit(site))) {
    call.part = Part::skipped;
  } else if (call.part == Part::taken || only_.is_empty() || only_.fit(site)) {
    call.part = Part::taken;
  }
  call.is_taken = call.part == Part::taken && (depth_ == 0 || call.level < depth_);
  return call;
}

}  // namespace tool
