#include "support/release_list.h"

namespace {

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
  EXPECT_EQ(trace.missing({"headerpref:Header template_file_name:" + folder.path("header.txt"),
                           " <-get_format_positions zolp_rb_utils.cpp:",
                           "OUTSTRING:ada:Newstuff %%DEFAULT_CONTAINER%%"}),
            "");
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
  // The clone log goes over none of the files that it is made from.
  const std::string header = folder.read("header.txt");
  EXPECT_EQ(create(folder.path("list.txt"), "header.txt"), 1);
  EXPECT_EQ(create(folder.path("list.txt"), "list.txt"), 1);
  EXPECT_EQ(folder.read("header.txt") + folder.read("list.txt"), header + top);
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
  EXPECT_EQ(trace.missing({"Error: %%NEW_NAME%% does not fit into a line of 499 characters!",
                           "Error from replace new_name! File:zolp_rb_utils.cpp [Line:"}),
            "");
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
  EXPECT_EQ(trace.missing({"Error from open precloneactionsfile:<" + folder.path("missing") +
                               ">! Program will be terminated now.",
                           "Error from open precloneactionsfile:<" + folder.path("missing") +
                               ">! File:zolp_rb_utils.cpp [Line:"}),
            "");
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
  EXPECT_EQ(trace.missing({"mode:Item = " + path, path + " closed"}), "");
  EXPECT_EQ(written(ZOLP_write_replace_and_cloneitem, "ID", "REV", "NID", "NREV", "NAME", "Item"),
            "ID,%%ITEM_ID%%,REV,NREV,NID,NAME,%%NEW_NAME%%,%%QNPARTNAME%%,%%RELATIONNAME%%,"
            "%%RELATION%%,%%DATASET_NAME%%\n");
  EXPECT_EQ(written(ZOLP_write_retaindataset, "ID", "REV", "RELATION", "PART"),
            "ID,%%ITEM_ID%%,REV,%%NEW_REV%%,%%NEW_ID%%,%%NEW_NAME%%,%%NEW_NAME%%,PART,RELATION,"
            "%%RELATION%%,%%DATASET_NAME%%\n");
  EXPECT_EQ(written(ZOLP_write_clonedataset, "ID", "REV", "SET", "RELATION", "NID", "NREV", "NAME"),
            "ID,%%ITEM_ID%%,REV,NREV,NID,NAME,NAME,%%QNPARTNAME%%,%%RELATIONNAME%%,RELATION,SET\n");
  EXPECT_EQ(
      trace.missing({"preference:VPD_clone_datasettemplate = " + path, path + " geschlossen"}), "");
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

/** The walk's own lines, without places. */
std::vector<std::string> walk_lines(const test::TraceCapture& trace) {
  std::vector<std::string> walked;
  for (const std::string& line : trace.lines()) {
    for (const char* kept : {"->ZOLP_write_assylist", "<-ZOLP_write_assylist", " ID ", "Next knot",
                             "---> One", "<--- One", "Error from ZOLP_write_"}) {
      if (line.find(kept) != std::string::npos) {
        walked.push_back(line.substr(0, line.find(" File:")).substr(0, line.find(" zolp_rb")));
        break;
      }
    }
  }
  return walked;
}

TEST_F(CloneFiles, WalkTracesLikeARecursionAlsoWhenItFails) {
  assy_entry a = record("A", "CLONE"), b = record("B", "CLONE"), c = record("C", "CLONE");
  a.child = &b;
  b.next = &c;
  const auto begun = [](int depth, const char* id) {
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');
    return std::vector<std::string>{indent + " ->ZOLP_write_assylist", indent + "  ID " + id};
  };
  trace.clear();
  EXPECT_EQ(write_assylist(&a), "C A N\nC B N\nC C N\n");
  std::vector<std::string> expected = begun(0, "A");
  expected.push_back("  ---> One Level down");
  for (const auto& [depth, id] : {std::pair{1, "B"}, {2, "C"}}) {
    const std::vector<std::string> lines = begun(depth, id);
    expected.insert(expected.end(), lines.begin(), lines.end());
    if (depth == 1) {
      expected.push_back("    Next knot");
    }
  }
  expected.insert(expected.end(), {"     <-ZOLP_write_assylist", "   <-ZOLP_write_assylist",
                                   "  <--- One Level up", " <-ZOLP_write_assylist"});
  EXPECT_EQ(walk_lines(trace), expected);

  // A line that the last record's id does not fit into.
  site.preference("VPD_clone_itemtemplate",
                  folder.write("clone.txt", std::string(485, 'x') + "%%ITEM_ID%%\n"));
  std::strcpy(c.item_id, std::string(20, 'C').c_str());
  trace.clear();
  EXPECT_EQ(write_assylist(&a), "status 1");
  const std::vector<std::string> ends = walk_lines(trace);
  EXPECT_THAT(std::vector<std::string>(ends.end() - 6, ends.end()),
              ElementsAre("      Error from ZOLP_write_replace_and_cloneitem!",
                          "     <-ZOLP_write_assylist", "    Error from ZOLP_write_assylist!",
                          "   <-ZOLP_write_assylist", "  Error from ZOLP_write_assylist!",
                          " <-ZOLP_write_assylist"));
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
