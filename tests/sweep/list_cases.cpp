// Release lists, clone log, clone batch and clone entries.

#include "sweep.h"
#include "tools/assembly_tree.h"

namespace sweep {

namespace {

/** A file of this run's own with these contents. */
std::string file(const char* name, const std::string& text) {
  std::ofstream(path(name), std::ios::binary) << text;
  return path(name);
}

void set_templates() {
  const std::pair<const char*, std::string> preferences[] = {
      {"Header", file("header.txt", "top %%INPUTASSY_ID%%\n")},
      {"VPD_clone_itemtemplate", file("clone.txt", "clone %%ITEM_ID%%\n")},
      {"VPD_retain_itemtemplate", file("retain.txt", "retain %%ITEM_ID%%\n")},
      {"VPD_clone_datasettemplate", file("clone_d.txt", "clone %%DATASET_NAME%%\n")},
      {"VPD_retain_datasettemplate", file("retain_d.txt", "retain %%QNPARTNAME%%\n")},
      {"ZOLP_qnversion", "v16"},
      {"ZOLP_qnclone_prg", "clone_program"},
      {"ZOLP_clonelogfile", "clone.log"},
      {"ZOLP_precloneactionfile", file("pre.txt", "before\n")},
      {"ZOLP_postcloneactionsfile", file("post.txt", "after\n")}};
  for (const auto& [name, value] : preferences) {
    const char* text = value.c_str();
    prepared(ork_host_set_preference(name, 1, &text), name);
  }
}

/** An item line in the columns of the clone log. */
std::string item_line(const char* level, const char* id, const char* status = "") {
  char line[400];
  std::snprintf(line, sizeof line,
                "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;"
                "%-32.32s\n",
                level, (std::string(id) + "/A").c_str(), "", "", "new/B", "New", "", status, "",
                "");
  return line;
}

std::string list_of_two() {
  return file("list.txt", item_line("1", "top") + item_line("2", "part", "Released"));
}

void fix_columns() {
  set_templates();
  prepared(ZOLP_create_clonelogheader(list_of_two().c_str(), path("columns.log").c_str(), "Header"),
           "columns");
}

void add_list_readers(Cases& cases) {
  cases.add("ZOLP_read_itemrevlist").call([](Run& run) {
    const std::string list = file("items.txt", "     1100\n");
    int count = untouched_number;
    char** ids = nullptr;
    char** levels = nullptr;
    int* counts = nullptr;
    run.call(ZOLP_read_itemrevlist, list.c_str(), &count, &ids, &levels, &counts);
    run.out(count);
    if (ids != nullptr) {
      run.out(ids[0]).out(levels[0]).out(counts[0]);
      std::free(ids[0]);
      std::free(levels[0]);
    }
    std::free(ids);
    std::free(levels);
    std::free(counts);
  });
  const auto copy = [](auto function) {
    return [function](Run& run) {
      const std::string list = list_of_two();
      const std::string copied = path("copy.txt");
      run.call(function, list.c_str(), copied.c_str());
      run.out(contents(copied) == contents(list) ? "same" : "different");
    };
  };
  cases.add("ZOLP_clean_list").call(copy(ZOLP_clean_list));
  cases.add("ZOLP_remove_doubles_from_list")
      .call(copy(ZOLP_remove_doubles_from_list))
      .prepare(fix_columns);
  cases.add("ZOLP_scan_usage").call(copy([](const char* list, const char* copied) {
    return ZOLP_scan_usage(list, copied, 0, nullptr);
  }));
}

void add_tree_readers(Cases& cases) {
  cases.add("ZOLP_read_assylist")
      .call([](Run& run) {
        const std::string list = path("list.txt");
        assy_entry* last = nullptr;
        run.call(ZOLP_read_assylist, list.c_str(), &last);
        run.out(last != nullptr ? last->item_id : "null");
        if (last != nullptr) {
          tool::free_assembly(tool::assembly_root(last));
        }
      })
      .prepare(fix_columns);
  cases.add("read_item_basic_data")
      .call([](Run& run) {
        const std::string line = item_line("1", "top");
        char id[129], revision[129], new_id[129], new_revision[129];
        run.call(read_item_basic_data, line.c_str(), "/", id, revision, new_id, new_revision);
        run.out(id).out(new_id);
      })
      .prepare(fix_columns);
  cases.add("read_dataset_basic_data")
      .call([](Run& run) {
        const std::string line = item_line("", "");
        assy_entry item{};
        std::snprintf(item.type, sizeof item.type, "ItemRev");
        run.call(read_dataset_basic_data, line.c_str(), "QNPART", 0, &item);
        run.out(item.child != nullptr ? item.child->type : "none");
        std::free(item.child);
      })
      .prepare(fix_columns);
}

void add_clone_log(Cases& cases) {
  cases.add("ZOLP_create_clonelogheader")
      .call([](Run& run) {
        const std::string list = list_of_two();
        const std::string log = path("clone.log");
        std::remove(log.c_str());
        run.call(ZOLP_create_clonelogheader, list.c_str(), log.c_str(), "Header");
        run.out(contents(log));
      })
      .prepare(set_templates);
  cases.add("ZOLP_write_info_about_relation", "two related objects").call([](Run& run) {
    FILE_handle log = nullptr;
    prepared(FILE_create_text_file(path("info.log").c_str(), &log), "log");
    run.call(ZOLP_write_info_about_relation, object("100/B"), "Documents", "p ", &log);
    prepared(FILE_close_text_file(log), "log");
    const std::string text = contents(path("info.log"));
    run.out(static_cast<int>(std::count(text.begin(), text.end(), '\n')));
  });
}

assy_entry record(const char* mode) {
  assy_entry entry{};
  std::snprintf(entry.type, sizeof entry.type, "ItemRev");
  std::snprintf(entry.item_id, sizeof entry.item_id, "%s", mode);
  std::snprintf(entry.mode, sizeof entry.mode, "%s", mode);
  return entry;
}

/** Writes entries into a file and shows it. */
template <typename Write, typename... Arguments>
auto written_by(Write write, Arguments... arguments) {
  return [=](Run& run) {
    std::FILE* out_file = std::fopen(path("entries.txt").c_str(), "w");
    run.call(write, &out_file, arguments...);
    std::fclose(out_file);
    run.out(contents(path("entries.txt")));
  };
}

void add_clone_entries(Cases& cases) {
  cases.add("ZOLP_write_startbat")
      .call([](Run& run) {
        const std::string batch = path("start.bat");
        std::remove(batch.c_str());
        assy_entry top = record("CLONE");
        run.call(ZOLP_write_startbat, batch.c_str(), &top);
        run.out(contents(batch));
      })
      .prepare(set_templates);
  const auto add = [&](const char* function, std::function<void(Run&)> write) {
    cases.add(function).call(std::move(write)).prepare(set_templates);
  };
  add("ZOLP_write_item", written_by(ZOLP_write_item, "100", "A", "VPD_retain_itemtemplate"));
  add("ZOLP_write_replace_and_cloneitem", written_by(ZOLP_write_replace_and_cloneitem, "100", "A",
                                                     "200", "B", "New", "VPD_clone_itemtemplate"));
  add("ZOLP_write_retaindataset",
      written_by(ZOLP_write_retaindataset, "100", "A", "relation", "part"));
  add("ZOLP_write_clonedataset",
      written_by(ZOLP_write_clonedataset, "100", "A", "name", "relation", "200", "B", "New"));
  cases.add("ZOLP_write_assylist", "a record and its child")
      .call(written_by([](std::FILE** out_file) {
        assy_entry top = record("CLONE");
        assy_entry child = record("RETAIN");
        top.child = &child;
        child.parent = &top;
        return ZOLP_write_assylist(*out_file, &top);
      }))
      .prepare(set_templates);
}

}  // namespace

void add_list_cases(Cases& cases) {
  add_list_readers(cases);
  add_tree_readers(cases);
  add_clone_log(cases);
  add_clone_entries(cases);
}

}  // namespace sweep
