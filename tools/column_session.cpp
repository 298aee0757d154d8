#include "column_session.h"

#include <fstream>

#include "failures.h"
#include "text.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

Json site_description(const std::string& separator, const std::string& header_template) {
  Json description = Json::parse(R"({
      "site": {"automatic_login": "list"}, "groups": ["list"], "roles": ["list"],
      "users": [{"id": "list", "memberships": [{"group": "list", "role": "list"}]}]})");
  description["preferences"] = {{"FLColumnCatIVFSeparatorPref", separator},
                                {"WsoInsertNoSelectionsPref", "0"},
                                {"zolp_list_header", header_template}};
  return description;
}

}  // namespace

ColumnSession::ColumnSession(const std::string& separator)
    : work_(temporary_folder()), site_(":memory:", Site::Open::anew) {
  const std::string header_template = work_.file("header_template");
  const std::string list = work_.file("list");
  std::ofstream empty(host::utf8_path(header_template));
  std::ofstream(host::utf8_path(list)) << "1     ;A" << separator << "A\n";
  site_.seed(site_description(separator, header_template).dump());
  session_.emplace();
  LibraryCall call;
  const std::string log = work_.file("log");
  require_success(ZOLP_create_clonelogheader(list.c_str(), log.c_str(), "zolp_list_header"),
                  "cannot find the columns", "see the call trace, set ZOLP_TRACE_LEVEL=4");
}

}  // namespace tool
