// Release lists, clone log, clone batch and clone entries.

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ork/file.h"
#include "ork_host.h"
#include "sweep.h"
#include "tools/assembly_tree.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

/** A file of this run's own with these contents. */
std::string file(const char* name, const std::string& text) {
  std::ofstream(path(name), std::ios::binary) << text;
  return path(name);
}

void set_preference(const char* name, const std::string& value) {
  const char* text = value.c_str();
  prepared(ork_host_set_preference(name, 1, &text), name);
}

void set_templates() {
  set_preference("Header", file("header.txt", "top %%INPUTASSY_ID%%\n"));
  set_preference("VPD_clone_itemtemplate", file("clone.txt", "clone %%ITEM_ID%%\n"));
  set_preference("VPD_retain_itemtemplate", file("retain.txt", "retain %%ITEM_ID%%\n"));
  set_preference("VPD_clone_datasettemplate", file("clone_d.txt", "clone %%DATASET_NAME%%\n"));
  set_preference("VPD_retain_datasettemplate", file("retain_d.txt", "retain %%QNPARTNAME%%\n"));
  set_preference("ZOLP_qnversion", "v16");
  set_preference("ZOLP_qnclone_prg", "clone_program");
  set_preference("ZOLP_clonelogfile", "clone.log");
  set_preference("ZOLP_precloneactionfile", file("pre.txt", "before\n"));
  set_preference("ZOLP_postcloneactionsfile", file("post.txt", "after\n"));
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
  const auto read = [](Run& run) {
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
  };
  cases.add("ZOLP_read_itemrevlist", "").good({0, "1|100\n|     1|1"}).call(read);
  const auto copy = [](auto function) {
    return [function](Run& run) {
      const std::string list = list_of_two();
      const std::string copied = path("copy.txt");
      run.call(function, list.c_str(), copied.c_str());
      run.out(contents(copied) == contents(list) ? "same" : "different");
    };
  };
  cases.add("ZOLP_clean_list", "").good({0, "same"}).call(copy(ZOLP_clean_list));
  cases.add("ZOLP_remove_doubles_from_list", "")
      .good({0, "same"})
      .call(copy(ZOLP_remove_doubles_from_list))
      .prepare(fix_columns);
  cases.add("ZOLP_scan_usage", "")
      .good({0, "same"})
      .call(copy([](const char* list, const char* copied) {
        return ZOLP_scan_usage(list, copied, 0, nullptr);
      }));
}

void add_tree_readers(Cases& cases) {
  cases.add("ZOLP_read_assylist", "")
      .good({0, "part"})
      .steps({aborts("PREF_initialize", "null"), aborts("PREF_get_char_value", "null")})
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
  cases.add("read_item_basic_data", "")
      .good({0, "top|new"})
      .call([](Run& run) {
        const std::string line = item_line("1", "top");
        char id[129];
        char revision[129];
        char new_id[129];
        char new_revision[129];
        run.call(read_item_basic_data, line.c_str(), "/", id, revision, new_id, new_revision);
        run.out(id).out(new_id);
      })
      .prepare(fix_columns);
  cases.add("read_dataset_basic_data", "")
      .good({0, "QNPART"})
      .makes_do("none")
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
  const auto ends = [](const char* operation) { return aborts(operation, "none"); };
  cases.add("ZOLP_create_clonelogheader", "")
      .good({0, "top top\n"})
      .steps({ends("PREF_initialize"), ends("PREF_get_char_value"), ends("PREF_get_char_value"),
              ends("PREF_get_char_value"), ends("STORE_get_user_id")})
      .call([](Run& run) {
        const std::string list = list_of_two();
        const std::string log = path("clone.log");
        std::remove(log.c_str());
        run.call(ZOLP_create_clonelogheader, list.c_str(), log.c_str(), "Header");
        run.out(contents(log));
      })
      .prepare(set_templates);
  // A relation type that cannot be found stands for all of them.
  cases.add("ZOLP_write_info_about_relation", "two related objects")
      .good({0, "2"})
      .steps({ignores("REL_find_relation_type", "2"),
              passes("REL_list_secondary_objects_only", "0"),
              passes("WSO_get_object_id_string", "0"), passes("FILE_write_file_line", "0"),
              passes("WSO_get_object_id_string", "1"), passes("FILE_write_file_line", "1")})
      .call([](Run& run) {
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

void add_clone_batch(Cases& cases) {
  const Step ends = aborts("PREF_get_char_value", "none");
  cases.add("ZOLP_write_startbat", "")
      .good({0,
             "before\nclone_program -pim=yes -o=CLONE -l=clone.log 1>clone.out "
             "2>clone.log\nafter\n"})
      .steps({ends, ends, ends, ends, ends})
      .call([](Run& run) {
        const std::string batch = path("start.bat");
        std::remove(batch.c_str());
        assy_entry top = record("CLONE");
        run.call(ZOLP_write_startbat, batch.c_str(), &top);
        run.out(contents(batch));
      })
      .prepare(set_templates);
}

/** Writes entries into a file and shows it. */
template <typename Write>
auto write_entries(Write write) {
  return [write](Run& run) {
    std::FILE* out = std::fopen(path("entries.txt").c_str(), "w");
    run.call(write, out);
    std::fclose(out);
    run.out(contents(path("entries.txt")));
  };
}

void add_clone_entries(Cases& cases) {
  const std::vector<Step> ends = {aborts("PREF_initialize"), aborts("PREF_get_char_value")};
  cases.add("ZOLP_write_item", "")
      .good({0, "retain 100\n"})
      .steps(ends)
      .call(write_entries([](std::FILE* out) {
        return ZOLP_write_item(&out, "100", "A", "VPD_retain_itemtemplate");
      }))
      .prepare(set_templates);
  cases.add("ZOLP_write_replace_and_cloneitem", "")
      .good({0, "clone 100\n"})
      .steps(ends)
      .call(write_entries([](std::FILE* out) {
        return ZOLP_write_replace_and_cloneitem(&out, "100", "A", "200", "B", "New",
                                                "VPD_clone_itemtemplate");
      }))
      .prepare(set_templates);
  cases.add("ZOLP_write_retaindataset", "")
      .good({0, "retain part\n"})
      .steps(ends)
      .call(write_entries([](std::FILE* out) {
        return ZOLP_write_retaindataset(&out, "100", "A", "relation", "part");
      }))
      .prepare(set_templates);
  cases.add("ZOLP_write_clonedataset", "")
      .good({0, "clone name\n"})
      .steps(ends)
      .call(write_entries([](std::FILE* out) {
        return ZOLP_write_clonedataset(&out, "100", "A", "name", "relation", "200", "B", "New");
      }))
      .prepare(set_templates);
  // A record with a child: what was written before a failure stands.
  cases.add("ZOLP_write_assylist", "a record and its child")
      .good({0, "clone CLONE\nretain RETAIN\n"})
      .steps({aborts("PREF_initialize"), aborts("PREF_get_char_value"),
              aborts("PREF_initialize", "clone CLONE\n"),
              aborts("PREF_get_char_value", "clone CLONE\n")})
      .call(write_entries([](std::FILE* out) {
        assy_entry top = record("CLONE");
        assy_entry child = record("RETAIN");
        top.child = &child;
        child.parent = &top;
        return ZOLP_write_assylist(out, &top);
      }))
      .prepare(set_templates);
}

}  // namespace

void add_list_cases(Cases& cases) {
  add_list_readers(cases);
  add_tree_readers(cases);
  add_clone_log(cases);
  add_clone_batch(cases);
  add_clone_entries(cases);
}

}  // namespace sweep
