/** @file Lines of release lists and the site that the list functions need. */
#pragma once

#include "support/site.h"
#include "tools/assembly_tree.h"
#include "zolp_orktool.h"

namespace test {

/** A line in the columns of the clone log. */
inline std::string row(const std::string& level, const std::string& item = "",
                       const std::string& dataset = "", const std::string& type = "",
                       const std::string& new_item = "", const std::string& new_name = "",
                       const std::string& status = "") {
  char line[400];
  std::snprintf(line, sizeof line,
                "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;"
                "%-32.32s\n",
                level.c_str(), item.c_str(), dataset.c_str(), type.c_str(), new_item.c_str(),
                new_name.c_str(), "", status.c_str(), "", "");
  return line;
}

inline std::string header_row() {
  return row("Level", "Item Revision", "Datasets", "Type", "New Item ID", "New Name", "Rel-Status");
}

inline std::string item_row(int level, const std::string& id, const std::string& status = "") {
  return row(std::to_string(level), id + "/A", "", "", "N-" + id + "/B", "New " + id, status);
}

/** A site with a session, the preferences of a clone run and its files in a folder of its own. */
class CloneSite : public Site {
 public:
  CloneSite() {
    log_in();
    preference("FLColumnCatIVFSeparatorPref", "/");
    preference("WsoInsertNoSelectionsPref", "1");
    preference("Header", folder.write("header.txt", "%%INPUTASSY_ID%%\n"));
    preference("VPD_clone_itemtemplate", folder.write("clone.txt", "C %%ITEM_ID%% %%NEW_ID%%\n"));
    preference("VPD_retain_itemtemplate", folder.write("retain.txt", "R %%ITEM_ID%%\n"));
  }

  /** Fixes the column positions, as each program does before it reads a release list. */
  void fix_columns() const {
    const std::string list = folder.write("columns.txt", item_row(1, "TOP"));
    ASSERT_EQ(
        ZOLP_create_clonelogheader(list.c_str(), folder.path("columns.log").c_str(), "Header"), 0);
  }

  TemporaryFolder folder;
};

}  // namespace test

using test::row, test::item_row, test::header_row;
