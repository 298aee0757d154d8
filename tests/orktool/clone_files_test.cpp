#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "ork/rel.h"
#include "support/release_list.h"
#include "support/trace_capture.h"

namespace {

using test::header_row;
using test::item_row;
using test::row;
using testing::HasSubstr;
using testing::StartsWith;

class CloneFiles : public testing::Test {
 protected:
  ~CloneFiles() override { EXPECT_EQ(ork_host_block_count(), 0U); }

  /** What a writer of entries writes, or "status N". */
  template <typename Writer, typename... Arguments>
  std::string written(Writer writer, Arguments... arguments) {
    FILE* out = std::fopen(folder.path("entries.txt").c_str(), "w");
    const int status = writer(&out, arguments...);
    std::fclose(out);
    return status == 0 ? folder.read("entries.txt") : "status " + std::to_string(status);
  }

  std::string write_assylist(assy_entry* entry) {
    return written([entry](FILE** out) { return ZOLP_write_assylist(*out, entry); });
  }

  /** Builds the clone log's head for a list. */
  int create_header(const std::string& list) {
    return ZOLP_create_clonelogheader(folder.write("list.txt", list).c_str(),
                                      folder.path("clone.log").c_str(), "Header");
  }

  int write_startbat(const assy_entry& top) {
    return ZOLP_write_startbat(folder.path("clone.bat").c_str(), const_cast<assy_entry*>(&top));
  }

  static assy_entry record(const char* id, const char* mode, const char* type = "ItemRev") {
    assy_entry entry{};
    std::strcpy(entry.item_id, id);
    std::strcpy(entry.item_rev, "A");
    std::strcpy(entry.new_item_id, "N");
    std::strcpy(entry.new_item_rev, "B");
    std::strcpy(entry.mode, mode);
    std::strcpy(entry.type, type);
    return entry;
  }

  test::CloneSite site;
  const test::TemporaryFolder& folder = site.folder;
  test::TraceCapture trace;
};

// -------------------------------------------------------------------------- clone log head

TEST_F(CloneFiles, HeaderIsMadeFromTheFirstItemLine) {
  folder.write("header.txt",
               "%%DEFAULT_CONTAINER%% %%DEFAULT_CONTAINER%%\n"
               "%%INPUTASSY_ID%%|%%OUTPUTASSY_ID%%\n"
               "%%OUTPUTASSY_REV%%\n"
               "%%NEW_NAME%%");
  const std::string top = item_row(1, "4711");
  ASSERT_EQ(create_header(header_row() + top + item_row(2, "4712")), 0);
  EXPECT_EQ(folder.read("clone.log"), "ada:Newstuff %%DEFAULT_CONTAINER%%\n4711|N-4711\n" +
                                          top.substr(106 + 7, 121) + "\n" + top.substr(139, 128));
  EXPECT_TRUE(trace.has("headerpref:Header template_file_name:" + folder.path("header.txt")));
  EXPECT_TRUE(trace.has(" <-get_format_positions zolp_rb_utils.cpp:"));
  EXPECT_TRUE(trace.has("OUTSTRING:ada:Newstuff %%DEFAULT_CONTAINER%%"));
  EXPECT_THAT(trace.lines().back(),
              HasSubstr(folder.path("clone.log") +
                        " closed <-ZOLP_create_clonelogheader zolp_rb_utils.cpp:"));

  folder.write("header.txt", "[%%DEFAULT_CONTAINER%%]");
  for (const auto& [insert, container] : {std::pair{"2", "[ada]"}, std::pair{"3", "[]"}}) {
    site.preference("WsoInsertNoSelectionsPref", insert);
    ASSERT_EQ(create_header(top), 0);
    EXPECT_EQ(folder.read("clone.log"), container);
  }
}

TEST_F(CloneFiles, HeaderFailures) {
  const std::string top = item_row(1, "4711");
  const auto create = [&](const std::string& list, const char* log) {
    return ZOLP_create_clonelogheader(list.c_str(), folder.path(log).c_str(), "Header");
  };
  EXPECT_EQ(create(folder.path("missing"), "clone.log"), 1);
  EXPECT_TRUE(trace.has("Error from open file:<" + folder.path("missing") + ">!"));
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ERROR: ZOLP_create_clonelogheader "));
  for (const char* list : {"", "no list\n\n", "     0;x\n", "    -1;x/y\n"}) {
    EXPECT_EQ(create_header(list), 1) << list;
    EXPECT_TRUE(trace.has("Error: no item line in release list:<"));
  }
  EXPECT_EQ(create_header(row("1", "no separator")), 1);
  EXPECT_FALSE(folder.has("clone.log"));

  EXPECT_EQ(create(folder.write("list.txt", top), "no-folder/clone.log"), 1);
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ERROR: ZOLP_create_clonelogheader "));
  site.preference("Header", folder.path("no-template"));
  EXPECT_EQ(create_header(top), 1);
  EXPECT_TRUE(trace.has("ERROR: Unable to open headertemplate " + folder.path("no-template")));
  EXPECT_EQ(ZOLP_create_clonelogheader("list", "log", "None"), PREF_value_not_found);
}

TEST_F(CloneFiles, ReplacementsThatDoNotFitAreRefused) {
  folder.write("header.txt", std::string(483, 'x') + "%%INPUTASSY_ID%%");
  EXPECT_EQ(create_header(item_row(1, "4711")), 0);
  EXPECT_EQ(folder.read("clone.log"), std::string(483, 'x') + "4711");

  const std::string name = "%%NEW_NAME%%";  // becomes 128 characters
  folder.write("header.txt", std::string(499 - 128, 'x') + name);
  EXPECT_EQ(create_header(item_row(1, "4711")), 0);
  EXPECT_EQ(folder.read("clone.log").size(), 499U);
  folder.write("header.txt", std::string(500 - 128, 'x') + name);
  EXPECT_EQ(create_header(item_row(1, "4711")), 1);
  EXPECT_TRUE(trace.has("Error: %%NEW_NAME%% does not fit into a line of 499 characters!"));
  EXPECT_TRUE(trace.has("Error from replace new_name! File:zolp_rb_utils.cpp [Line:"));
}

// --------------------------------------------------------------------------- relation lines

TEST_F(CloneFiles, RelationInfoHasALineForEachObject) {
  const tag gearbox = test::ask(ork_host_find_item, "4711", "A");
  for (const tag secondary : {test::ask(ork_host_find_item, "4712", "B"), gearbox}) {
    ASSERT_EQ(REL_save_relation(test::ask(REL_create_relation, gearbox, secondary,
                                          test::ask(REL_find_relation_type, "Documents"), NULLTAG)),
              ORK_ok);
  }
  FILE_handle log = nullptr;
  ASSERT_EQ(FILE_create_text_file(folder.path("clone.log").c_str(), &log), ORK_ok);
  EXPECT_EQ(ZOLP_write_info_about_relation(gearbox, "Documents", "see ", &log), ORK_ok);
  EXPECT_EQ(ZOLP_write_info_about_relation(gearbox, "Drawings", "see ", &log), ORK_ok);
  ASSERT_EQ(FILE_close_text_file(log), ORK_ok);
  EXPECT_NE(ZOLP_write_info_about_relation(gearbox, "Documents", "see ", &log), ORK_ok);
  const auto info_line = [](const std::string& text) {
    std::string line = row("");
    return line.replace(238, 32, (text + std::string(32, ' ')).substr(0, 32));
  };
  EXPECT_EQ(folder.read("clone.log"), info_line("see 4712/B-Housing with a name that is longer") +
                                          info_line("see 4711/A-Gearbox"));
}

// ------------------------------------------------------------------------------ batch file

TEST_F(CloneFiles, BatchFileFollowsTheCadVersion) {
  site.preference("ZOLP_qnclone_prg", "clone.exe");
  site.preference("ZOLP_clonelogfile", "run.log");
  site.preference("ZOLP_precloneactionfile", folder.write("pre.txt", "before 1\nbefore 2\n"));
  site.preference("ZOLP_postcloneactionsfile", folder.write("post.txt", "after"));
  const assy_entry top = record("4711", "CLONE");
  const std::string v15 =
      "clone.exe -pim=yes -i=@DB/4711/A -o=@DB/N/B -l=run.log -missing_comps=true "
      "-out_of_sync=true";
  const std::string v16 =
      "before 1\nbefore 2\nclone.exe -pim=yes -o=CLONE -l=run.log 1>clone.out 2>clone.log\nafter";
  for (const auto& [version, expected] : {std::pair<const char*, std::string>{"QN v15.2", v15},
                                          {"V16", v16},
                                          {"v17", ""},
                                          {"v15 and V16", v15 + v16}}) {
    site.preference("ZOLP_qnversion", version);
    testing::internal::CaptureStdout();
    EXPECT_EQ(write_startbat(top), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "post-action-file:" + folder.path("post.txt") +
                  "\npre-action-file:" + folder.path("pre.txt") + "\n");
    EXPECT_EQ(folder.read("clone.bat"), expected) << version;
  }
}

TEST_F(CloneFiles, BatchFileFailures) {
  const assy_entry top = record("4711", "CLONE");
  for (const char* name : {"ZOLP_qnversion", "ZOLP_qnclone_prg", "ZOLP_clonelogfile",
                           "ZOLP_precloneactionfile", "ZOLP_postcloneactionsfile"}) {
    site.preference(name, folder.path("missing"));
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_write_startbat(folder.path("no-folder/x").c_str(), const_cast<assy_entry*>(&top)),
            1);
  EXPECT_THAT(trace.lines().back(), HasSubstr(" <-ERROR: ZOLP_read_itemrevlist "));
  site.preference("ZOLP_qnversion", "v16");
  EXPECT_EQ(write_startbat(top), 1);
  EXPECT_TRUE(trace.has("Error from open precloneactionsfile:<" + folder.path("missing") +
                        ">! Program will be terminated now."));
  EXPECT_TRUE(trace.has("Error from open precloneactionsfile:<" + folder.path("missing") +
                        ">! File:zolp_rb_utils.cpp [Line:"));
  site.preference("ZOLP_precloneactionfile", folder.write("pre.txt", ""));
  EXPECT_EQ(write_startbat(top), 1);
  EXPECT_TRUE(trace.has("Error from open postcloneactionsfile:<"));
  // A folder opens on some systems and cannot be read on any.
  site.preference("ZOLP_postcloneactionsfile", folder.path("."));
  EXPECT_EQ(write_startbat(top), 1);
  // A file that goes into the batch file is not emptied by it.
  const std::string actions = folder.write("clone.bat", "actions");
  site.preference("ZOLP_postcloneactionsfile", actions);
  EXPECT_EQ(write_startbat(top), 1);
  EXPECT_EQ(folder.read("clone.bat"), "actions");
  EXPECT_EQ(ZOLP_write_startbat(folder.path("clone.bat").c_str(), nullptr), 1);
  testing::internal::GetCapturedStdout();
}

// -------------------------------------------------------------------------------- entries

TEST_F(CloneFiles, EntryWritersReplaceTheirPlaceholders) {
  const std::string all =
      "%%ITEM_ID%%,%%ITEM_ID%%,%%ITEM_REV%%,%%NEW_REV%%,%%NEW_ID%%,%%NEW_NAME%%,%%NEW_NAME%%,"
      "%%QNPARTNAME%%,%%RELATIONNAME%%,%%RELATION%%,%%DATASET_NAME%%\n";
  const std::string path = folder.write("all.txt", all);
  for (const char* name : {"Item", "VPD_retain_datasettemplate", "VPD_clone_datasettemplate"}) {
    site.preference(name, path);
  }
  EXPECT_EQ(written(ZOLP_write_item, "ID", "REV", "Item"),
            "ID,%%ITEM_ID%%,REV,%%NEW_REV%%,%%NEW_ID%%,%%NEW_NAME%%,%%NEW_NAME%%,%%QNPARTNAME%%,"
            "%%RELATIONNAME%%,%%RELATION%%,%%DATASET_NAME%%\n");
  EXPECT_TRUE(trace.has("mode:Item = " + path));
  EXPECT_TRUE(trace.has(path + " closed"));
  EXPECT_EQ(written(ZOLP_write_replace_and_cloneitem, "ID", "REV", "NID", "NREV", "NAME", "Item"),
            "ID,%%ITEM_ID%%,REV,NREV,NID,NAME,%%NEW_NAME%%,%%QNPARTNAME%%,%%RELATIONNAME%%,"
            "%%RELATION%%,%%DATASET_NAME%%\n");
  EXPECT_EQ(written(ZOLP_write_retaindataset, "ID", "REV", "RELATION", "PART"),
            "ID,%%ITEM_ID%%,REV,%%NEW_REV%%,%%NEW_ID%%,%%NEW_NAME%%,%%NEW_NAME%%,PART,RELATION,"
            "%%RELATION%%,%%DATASET_NAME%%\n");
  EXPECT_EQ(written(ZOLP_write_clonedataset, "ID", "REV", "SET", "RELATION", "NID", "NREV", "NAME"),
            "ID,%%ITEM_ID%%,REV,NREV,NID,NAME,NAME,%%QNPARTNAME%%,%%RELATIONNAME%%,RELATION,SET\n");
  EXPECT_TRUE(trace.has("preference:VPD_clone_datasettemplate = " + path));
  EXPECT_TRUE(trace.has(path + " geschlossen"));
  folder.write("all.txt", "[%%ITEM_ID%%]");
  EXPECT_EQ(written(ZOLP_write_item, nullptr, "", "Item"), "[]");
}

TEST_F(CloneFiles, EntryWritersFail) {
  site.preference("Item", folder.path("missing"));
  EXPECT_EQ(written(ZOLP_write_item, "ID", "REV", "Item"), "status 1");
  EXPECT_TRUE(trace.has("ERROR: Unable to open cloneitem template " + folder.path("missing") +
                        "! File:zolp_rb_utils.cpp [Line:"));
  EXPECT_THAT(trace.lines().back(), HasSubstr(" <-ZOLP_write_item "));
  site.preference("Item", folder.write("long.txt", std::string(480, 'x') + "%%ITEM_ID%%"));
  EXPECT_EQ(written(ZOLP_write_item, std::string(128, 'i').c_str(), "", "Item"), "status 1");
  FILE* none = nullptr;
  EXPECT_EQ(ZOLP_write_item(&none, "ID", "REV", "Item"), 1);
  EXPECT_EQ(ZOLP_write_item(nullptr, "ID", "REV", "Item"), 1);
}

/** What the walk would write if it called itself for each sibling, without lines' numbers. */
std::string recursive_walk(const assy_entry* entry, int depth, const std::string& failing_id,
                           bool& failed) {
  const auto line = [depth](const std::string& text, int more = 1) {
    return std::string(2 * static_cast<std::size_t>(depth + more), ' ') + text + "\n";
  };
  const std::string error = line("Error from ZOLP_write_assylist!");
  const std::string exit = line(" <-ZOLP_write_assylist", 0);
  std::string text = line(" ->ZOLP_write_assylist", 0) + line("ID " + std::string(entry->item_id));
  if (entry->item_id == failing_id) {
    failed = true;
    return text + line("Error from ZOLP_write_replace_and_cloneitem!") + exit;
  }
  if (entry->child != nullptr) {
    text +=
        line("---> One Level down") + recursive_walk(entry->child, depth + 1, failing_id, failed);
    if (failed) {
      return text + error + exit;
    }
    text += line("<--- One Level up");
  }
  if (entry->next != nullptr) {
    text += line("Next knot") + recursive_walk(entry->next, depth + 1, failing_id, failed);
    if (failed) {
      return text + error + exit;
    }
  }
  return text + exit;
}

TEST_F(CloneFiles, WalkTracesLikeARecursionAlsoWhenItFails) {
  site.fix_columns();
  assy_entry* last = nullptr;
  ASSERT_EQ(ZOLP_read_assylist(
                folder
                    .write("list.txt", item_row(1, "A") + item_row(2, "B") + item_row(3, "C") +
                                           item_row(3, "D") + item_row(2, "E") + item_row(3, "F") +
                                           item_row(2, "G") + item_row(1, "H") + item_row(1, "I"))
                    .c_str(),
                &last),
            0);
  assy_entry* root = tool::assembly_root(last);
  // A line that the long id of the record that fails does not fit into.
  site.preference("VPD_clone_itemtemplate",
                  folder.write("clone.txt", std::string(485, 'x') + "%%ITEM_ID%%\n"));
  for (const std::string failing_id : {"none", "A", "D", "F", "G", "H", "I"}) {
    assy_entry* failing = nullptr;
    tool::visit_assembly(root, [&](const assy_entry& entry, std::size_t) {
      if (entry.item_id == failing_id) {
        failing = const_cast<assy_entry*>(&entry);
      }
      return true;
    });
    if (failing != nullptr) {
      std::strcpy(failing->item_id, std::string(20, failing_id[0]).c_str());
    }
    bool failed = false;
    const std::string expected =
        recursive_walk(root, 0, failing != nullptr ? failing->item_id : failing_id, failed);
    trace.clear();
    EXPECT_EQ(write_assylist(root) == "status 1", failed);
    std::string walked;
    for (const std::string& line : trace.lines()) {
      const std::string text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
      for (const char* kept : {"->ZOLP_write_assylist", "<-ZOLP_write_assylist", "ID ", "Next knot",
                               "---> One", "<--- One", "Error from ZOLP_write_"}) {
        if (text.starts_with(kept)) {
          walked += line.substr(0, line.find(" File:")).substr(0, line.find(" zolp_rb")) + "\n";
        }
      }
    }
    EXPECT_EQ(walked, expected) << failing_id;
    if (failing != nullptr) {
      std::strcpy(failing->item_id, failing_id.c_str());
    }
  }
  tool::free_assembly(root);
}

TEST_F(CloneFiles, WalkWritesEntriesOfItemsOnly) {
  assy_entry top = record("TOP", "CLONE");
  assy_entry dataset = record("SET", "CLONE", "QNPART");
  assy_entry below = record("LOW", "RETAIN");
  assy_entry other = record("OTHER", "KEEP");
  assy_entry sibling = record("NEXT", "RETAIN");
  top.child = &dataset;
  dataset.child = &below;
  dataset.next = &other;
  other.next = &sibling;
  EXPECT_EQ(write_assylist(&top), "C TOP N\nR LOW\nR NEXT\n");
  EXPECT_EQ(write_assylist(nullptr), "");
  ork_host_fail_call("PREF_initialize", 3, 4711);
  EXPECT_EQ(write_assylist(&top), "status 4711");
  EXPECT_EQ(folder.read("entries.txt"), "C TOP N\nR LOW\n");
  EXPECT_TRUE(trace.has("Error from ZOLP_write_item - mode: RETAIN! File:zolp_rb_utils.cpp"));
}

}  // namespace
