// Release lists, item lists and the files of a clone run. `list_columns.h` shows what a list is.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "call_frame.h"
#include "files.h"
#include "host_memory.h"
#include "item_list.h"
#include "list_columns.h"
#include "list_copies.h"
#include "list_files.h"
#include "ork/file.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "release_list_reader.h"
#include "template_filler.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::close_written;
using orktool::column_positions;
using orktool::contains;
using orktool::copy_text;
using orktool::Field;
using orktool::File;
using orktool::here;
using orktool::HostPtr;
using orktool::is_read_completely;
using orktool::is_same_file;
using orktool::Line;
using orktool::LineReader;
using orktool::open_error;
using orktool::open_file;
using orktool::out;
using orktool::Place;
using orktool::Replaced;
using orktool::Replacement;
using orktool::take_field;
using orktool::text_or_empty;
using orktool::write_error;

namespace {

/** Runs what may throw; exhausted memory becomes status 1, for no exception leaves the library. */
template <typename Body>
int with_memory_check(const orktool::Frame& frame, const char* text, Body body) {
  try {
    return frame.leave(body());
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR(text);
    return frame.leave(1);
  }
}

}  // namespace

// -------------------------------------------------------------------------------- item list

int ZOLP_read_itemrevlist(const char* file, int* count, char*** item_ids, char*** levels,
                          int** counts) {
  FRAME(frame, "ZOLP_read_itemrevlist");
  const File list = open_file(file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_itemrevlist");
    return 1;
  }
  return with_memory_check(frame, "ZOLP_read_itemrevlist alloc Memory", [&] {
    orktool::ItemListArrays items;
    orktool::read_item_list(list.get(), items);
    if (!is_read_completely(list.get(), file)) {
      return 1;
    }
    items.hand_over(count, item_ids, levels, counts);
    return 0;
  });
}

// ------------------------------------------------------------------------ copies of a list

namespace {

/** Copies a list by way of `copy(reader, copy_file)`. The exit line of a failed open has its name.
 */
template <typename Copy>
int copy_list(const orktool::Frame& frame, const char* failed_open, const char* in_file,
              const char* out_file, Copy copy) {
  orktool::ListCopy files;
  if (!orktool::open_list_copy(in_file, out_file, files)) {
    frame.leave_as(failed_open);
    return 1;
  }
  return with_memory_check(frame, "release list alloc Memory", [&] {
    LineReader reader(files.in.get());
    copy(reader, files.out);
    const int status = orktool::close_list_copy(files, out_file);
    return is_read_completely(files.in.get(), in_file) ? status : 1;
  });
}

}  // namespace

int ZOLP_clean_list(const char* in_file, const char* out_file) {
  FRAME(frame, "ZOLP_clean_list");
  return copy_list(frame, "ERROR: ZOLP_clean_list", in_file, out_file,
                   orktool::copy_without_empty_blocks);
}

int ZOLP_remove_doubles_from_list(const char* in_file, const char* out_file) {
  FRAME(frame, "ZOLP_remove_doubles_from_list");
  // The name under which callers' scripts look for a list that cannot be opened.
  return copy_list(frame, "ERROR: ZOLP_read_itemrevlist", in_file, out_file,
                   orktool::copy_first_of_each_item);
}

int ZOLP_scan_usage(const char* in_file, const char* out_file, int n_patterns, char** patterns) {
  FRAME(frame, "ZOLP_scan_usage");
  const auto copy_used_lines = [&](LineReader& reader, const File& copy) {
    orktool::copy_used_lines(reader, copy, n_patterns, patterns);
  };
  return copy_list(frame, "ERROR: ZOLP_read_itemrevlist", in_file, out_file, copy_used_lines);
}

// ---------------------------------------------------------------------------- assembly tree

namespace {

/** Splits a cell at the first separator; false when the separator is not in it. */
bool split_cell(const Field& cell, std::string_view separator, char* id, char* revision) {
  const std::string_view text(cell);
  const std::size_t at = separator.empty() ? std::string_view::npos : text.find(separator);
  if (at == std::string_view::npos) {
    copy_text(id, sizeof(Field), cell);
    return false;
  }
  id[text.copy(id, at)] = '\0';
  copy_text(revision, sizeof(Field), cell + at + separator.size());
  return true;
}

}  // namespace

int read_item_basic_data(const char* line, const char* separator, char* item_id, char* item_rev,
                         char* new_item_id, char* new_item_rev) {
  FRAME(frame, "read_item_basic_data");
  const std::string_view text(text_or_empty(line));
  const std::string_view separator_text(text_or_empty(separator));
  int status = 0;
  item_rev[0] = '\0';
  Field cell;
  take_field(cell, text, column_positions.item_revision);
  if (!split_cell(cell, separator_text, item_id, item_rev)) {
    const Place place = here();
    ZOLP_ERROR("Error: no separator <%s> in item revision <%s>! File:%s [Line:%d]\n",
               separator_text.data(), cell, place.file, place.line);
    status = 1;
  }
  take_field(cell, text, column_positions.new_item_id);
  if (!split_cell(cell, separator_text, new_item_id, new_item_rev)) {
    copy_text(new_item_rev, sizeof(Field), "----");
  }
  ZOLP_TRACE("Input  Assy:%s:\n", item_id);
  ZOLP_TRACE("Input  Assyrev:%s:\n", item_rev);
  ZOLP_TRACE("Output  Assy:%s:\n", new_item_id);
  ZOLP_TRACE("Output  Assyrev:%s:\n", new_item_rev);
  return frame.leave(status);
}

int read_dataset_basic_data(const char* line, const char* dataset_type, int /*ignored*/,
                            assy_entry* current) {
  FRAME(frame, "read_dataset_basic_data");
  const std::string_view text(text_or_empty(line));
  assy_entry* entry = current != nullptr ? orktool::new_entry(text) : nullptr;
  ZOLP_TRACE("nach malloc in %s\n", dataset_type);
  if (entry == nullptr) {
    return frame.leave(0);
  }
  take_field(entry->dataset_name, text, column_positions.datasets);
  ZOLP_TRACE("datasetname: %s\n", entry->dataset_name);
  take_field(entry->new_name, text, column_positions.new_name);
  ZOLP_TRACE("datasetname: %s\n", entry->new_name);
  ZOLP_TRACE("net-item %s\n", current->item_id);
  ZOLP_TRACE("net-type %s\n", current->type);
  copy_text(entry->item_id, current->item_id);
  copy_text(entry->item_rev, current->item_rev);
  copy_text(entry->type, dataset_type);

  const bool is_below_item = contains(current->type, "ItemRev");
  const assy_entry* item = is_below_item ? current : current->parent;
  copy_text(entry->new_item_id, item != nullptr ? item->new_item_id : "");
  copy_text(entry->new_item_rev, item != nullptr ? item->new_item_rev : "");
  if (is_below_item) {
    entry->level = current->level + 1;
    orktool::link_below(entry, current);
  } else {
    entry->level = current->level;
    orktool::link_after(entry, current);
  }
  return frame.leave(0);
}

int ZOLP_read_assylist(const char* file, assy_entry** entry) {
  FRAME(frame, "ZOLP_read_assylist");
  GUARDED("PREF_initialize()", PREF_initialize());
  HostPtr<char> separator_value;
  GUARDED("PREF_get_char_value(\"FLColumnCatIVFSeparatorPref\", 0, &separator)",
          PREF_get_char_value("FLColumnCatIVFSeparatorPref", 0, out(separator_value)));
  Field separator;
  copy_text(separator, separator_value.get());

  const File list = open_file(file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error from opening file:%s! File:%s [Line:%d]\n", file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_assylist");
    return 1;
  }
  if (orktool::is_at_end(list.get())) {
    return frame.leave(0);
  }
  return frame.leave(orktool::read_release_list(list.get(), file, separator, *entry));
}

// -------------------------------------------------------------------- clone log and its head

namespace {

/** Formats the header line and takes the columns' positions from it. */
int get_format_positions() {
  FRAME(frame, "get_format_positions");
  orktool::fix_column_positions();
  return frame.leave(0);
}

/** Replaces the first occurrence of a text in a line; 1 when the result would not fit. */
int replace_string(Line& line, std::string_view search, std::string_view replacement) {
  FRAME(frame, "replace_string");
  switch (orktool::replace_first(line, search, replacement)) {
    case Replaced::nothing:
      break;
    case Replaced::text:
      ZOLP_TRACE("OUTSTRING:%s\n", line);
      break;
    case Replaced::no_room: {
      const Place place = here();
      ZOLP_ERROR("Error: %s does not fit into a line of %zu characters! File:%s [Line:%d]\n",
                 search.data(), sizeof line - 1, place.file, place.line);
      return frame.leave(1);
    }
  }
  return frame.leave(0);
}

/** Replaces a placeholder of the header template; reports a failure by its name. */
int replace_in_header(Line& line, const Replacement& replacement) {
  const int status = replace_string(line, replacement.placeholder, replacement.value);
  if (status != 0) {
    const Place place = here();
    ZOLP_ERROR("Error from replace %s! File:%s [Line:%d]\n", replacement.failure, place.file,
               place.line);
  }
  return status;
}

/** The top assembly of a release list, as its first item line has it. */
struct TopAssembly {
  Field item_id, item_rev, new_item_id, new_item_rev, new_name;
};

int read_top_assembly(std::FILE* list, const char* path, const char* separator, TopAssembly& top) {
  LineReader reader(list);
  while (reader.next()) {
    if (orktool::level_of(reader.line()) < 1) {
      continue;
    }
    ZOLP_TRACE("Top level assembly in RL found");
    take_field(top.new_name, reader.line(), column_positions.new_name);
    return read_item_basic_data(reader.line().data(), separator, top.item_id, top.item_rev,
                                top.new_item_id, top.new_item_rev);
  }
  const Place place = here();
  ZOLP_ERROR("Error: no item line in release list:<%s>! File:%s [Line:%d]\n", path, place.file,
             place.line);
  return 1;
}

/** Text for new items' container, by the site's preference for insertions. */
void default_container(Field& container, std::string_view insert_preference, const char* user_id) {
  container[0] = '\0';
  if (insert_preference == "1") {
    std::snprintf(container, sizeof container, "%s:Newstuff", text_or_empty(user_id));
  } else if (insert_preference == "2") {
    copy_text(container, user_id);
  }
}

int write_clone_log_header(const orktool::Frame& frame, const TopAssembly& top,
                           const char* container, const char* template_path,
                           const char* release_list_file, const char* out_file) {
  File clone_log;
  // Opening the clone log empties it: it must not be one of the files that it is made from.
  if (!is_same_file(text_or_empty(out_file), text_or_empty(template_path)) &&
      !is_same_file(text_or_empty(out_file), release_list_file)) {
    clone_log = open_file(out_file, "w");
  }
  if (clone_log == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, out_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_create_clonelogheader");
    return 1;
  }
  File header_template = open_file(template_path, "r+");
  if (header_template == nullptr) {
    const Place place = here();
    ZOLP_ERROR("ERROR: Unable to open headertemplate %s! File:%s [Line:%d]", template_path,
               place.file, place.line);
    return frame.leave(1);
  }
  int status = orktool::fill_template(header_template.get(),
                                      {{"%%DEFAULT_CONTAINER%%", container, "outputfolder"},
                                       {"%%INPUTASSY_ID%%", top.item_id, "inputassy_id"},
                                       {"%%INPUTASSY_REV%%", top.item_rev, "inputassy_rev"},
                                       {"%%OUTPUTASSY_REV%%", top.new_item_rev, "outputassy_rev"},
                                       {"%%OUTPUTASSY_ID%%", top.new_item_id, "outputassy_id"},
                                       {"%%NEW_NAME%%", top.new_name, "new_name"}},
                                      replace_in_header, [&clone_log](const Line& line) {
                                        std::fputs(line, clone_log.get());  // closing it tells
                                        return 0;
                                      });
  if (!is_read_completely(header_template.get(), template_path)) {
    status = 1;
  }
  header_template.reset();
  ZOLP_TRACE("%s closed", template_path);
  if (!close_written(std::move(clone_log)) && status == 0) {
    const Place place = here();
    ZOLP_ERROR(write_error, out_file, place.file, place.line);
    return frame.leave(1);
  }
  ZOLP_TRACE("%s closed", out_file);
  return frame.leave(status);
}

}  // namespace

int ZOLP_create_clonelogheader(const char* release_list_file, const char* out_file,
                               const char* header_pref) {
  FRAME(frame, "ZOLP_create_clonelogheader");
  HostPtr<char> separator;
  HostPtr<char> insert_preference;
  HostPtr<char> template_path;
  HostPtr<char> user_id;
  GUARDED("PREF_initialize()", PREF_initialize());
  GUARDED("PREF_get_char_value(\"FLColumnCatIVFSeparatorPref\", 0, &separator)",
          PREF_get_char_value("FLColumnCatIVFSeparatorPref", 0, out(separator)));
  GUARDED("PREF_get_char_value(\"WsoInsertNoSelectionsPref\", 0, &insert_preference)",
          PREF_get_char_value("WsoInsertNoSelectionsPref", 0, out(insert_preference)));
  GUARDED("PREF_get_char_value(header_pref, 0, &template_path)",
          PREF_get_char_value(header_pref, 0, out(template_path)));
  ZOLP_TRACE("headerpref:%s template_file_name:%s\n", header_pref, template_path.get());
  GUARDED("STORE_get_user_id(&user_id)", STORE_get_user_id(out(user_id)));
  get_format_positions();

  File list = open_file(release_list_file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, release_list_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_create_clonelogheader");
    return 1;
  }
  TopAssembly top;
  const int status = read_top_assembly(list.get(), release_list_file, separator.get(), top);
  list.reset();
  if (status != 0) {
    return frame.leave(status);
  }
  Field container;
  default_container(container, text_or_empty(insert_preference.get()), user_id.get());
  return write_clone_log_header(frame, top, container, template_path.get(), release_list_file,
                                out_file);
}

namespace {

/** Writes a clone log line with a text in the column "Tarn Info" alone. */
int write_info_line(const char* prefix, const char* id, FILE_handle log) {
  int status = ORK_ok;
  char info[orktool::line_size];
  Line line;
  std::snprintf(info, sizeof info, "%s%s", text_or_empty(prefix), id);
  std::snprintf(line, sizeof line, orktool::clone_log_line_format, "", "", "", "", "", "", "", "",
                info, "");
  TRACED(status, "FILE_write_file_line(*log, line)", FILE_write_file_line(log, line));
  return status;
}

}  // namespace

int ZOLP_write_info_about_relation(tag item_rev, const char* relation_type_name, const char* prefix,
                                   FILE_handle* log) {
  FRAME(frame, "ZOLP_write_info_about_relation");
  int status = ORK_ok;
  tag relation_type = NULLTAG;
  int count = 0;
  HostPtr<tag> objects;
  TRACED(status, "REL_find_relation_type(relation_type_name, &relation_type)",
         REL_find_relation_type(relation_type_name, &relation_type));
  TRACED(status, "REL_list_secondary_objects_only(item_rev, relation_type, &count, &objects)",
         REL_list_secondary_objects_only(item_rev, relation_type, &count, out(objects)));
  for (int i = 0; objects != nullptr && i < count && status == ORK_ok; ++i) {
    HostPtr<char> id;
    TRACED(status, "WSO_get_object_id_string(objects[i], &id)",
           WSO_get_object_id_string(objects.get()[i], out(id)));
    if (status == ORK_ok) {
      status = write_info_line(prefix, text_or_empty(id.get()), log != nullptr ? *log : nullptr);
    }
  }
  return frame.leave(status);
}

// ------------------------------------------------------------------------------ clone batch

namespace {

/** Opens an action file; reports one that cannot be opened. */
File open_action_file(const char* path, const char* kind, Place place = here()) {
  File file = open_file(path, "r");
  if (file == nullptr) {
    ZOLP_ERROR("Error from open %s:<%s>! Program will be terminated now.\n", kind, path);
    ZOLP_ERROR("Error from open %s:<%s>! File:%s [Line:%d]\n", kind, path, place.file, place.line);
  }
  return file;
}

/** Copies the lines of an action file; 1 when it cannot be read to its end. */
int copy_lines(const File& from, const char* path, const File& to) {
  LineReader reader(from.get());
  while (reader.next()) {
    write_text(to, reader.line());
  }
  return is_read_completely(from.get(), path) ? 0 : 1;
}

/** What the batch file is made of. */
struct BatchSettings {
  HostPtr<char> version, program, log_file, pre_actions, post_actions;
};

int write_batch(const BatchSettings& settings, const assy_entry& top, const File& batch) {
  const std::string_view version(text_or_empty(settings.version.get()));
  const char* program = text_or_empty(settings.program.get());
  const char* log_file = text_or_empty(settings.log_file.get());
  if (contains(version, "v15") || contains(version, "V15")) {
    std::fprintf(batch.get(),
                 "%s -pim=yes -i=@DB/%s/%s -o=@DB/%s/%s -l=%s -missing_comps=true "
                 "-out_of_sync=true",
                 program, top.item_id, top.item_rev, top.new_item_id, top.new_item_rev, log_file);
  }
  if (contains(version, "v16") || contains(version, "V16")) {
    const File pre = open_action_file(settings.pre_actions.get(), "precloneactionsfile");
    if (pre == nullptr) {
      return 1;
    }
    const File post = open_action_file(settings.post_actions.get(), "postcloneactionsfile");
    if (post == nullptr) {
      return 1;
    }
    if (copy_lines(pre, settings.pre_actions.get(), batch) != 0) {
      return 1;
    }
    std::fprintf(batch.get(), "%s -pim=yes -o=CLONE -l=%s 1>clone.out 2>clone.log\n", program,
                 log_file);
    return copy_lines(post, settings.post_actions.get(), batch);
  }
  return 0;
}

}  // namespace

int ZOLP_write_startbat(const char* batch_file, assy_entry* top) {
  FRAME(frame, "ZOLP_write_startbat");
  BatchSettings settings;
  GUARDED("PREF_get_char_value(\"ZOLP_qnversion\", 0, &version)",
          PREF_get_char_value("ZOLP_qnversion", 0, out(settings.version)));
  GUARDED("PREF_get_char_value(\"ZOLP_qnclone_prg\", 0, &program)",
          PREF_get_char_value("ZOLP_qnclone_prg", 0, out(settings.program)));
  GUARDED("PREF_get_char_value(\"ZOLP_clonelogfile\", 0, &log_file)",
          PREF_get_char_value("ZOLP_clonelogfile", 0, out(settings.log_file)));
  GUARDED("PREF_get_char_value(\"ZOLP_precloneactionfile\", 0, &pre_actions)",
          PREF_get_char_value("ZOLP_precloneactionfile", 0, out(settings.pre_actions)));
  GUARDED("PREF_get_char_value(\"ZOLP_postcloneactionsfile\", 0, &post_actions)",
          PREF_get_char_value("ZOLP_postcloneactionsfile", 0, out(settings.post_actions)));
  if (top == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error: no top assembly for batch file:<%s>! File:%s [Line:%d]\n", batch_file,
               place.file, place.line);
    return frame.leave(1);
  }
  std::printf("post-action-file:%s\n", text_or_empty(settings.post_actions.get()));
  std::printf("pre-action-file:%s\n", text_or_empty(settings.pre_actions.get()));

  File batch;
  // Opening the batch file empties it: it must not be one of the files that go into it.
  if (!is_same_file(text_or_empty(batch_file), text_or_empty(settings.pre_actions.get())) &&
      !is_same_file(text_or_empty(batch_file), text_or_empty(settings.post_actions.get()))) {
    batch = open_file(batch_file, "w");
  }
  if (batch == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, batch_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_itemrevlist");
    return 1;
  }
  int status = write_batch(settings, *top, batch);
  if (!close_written(std::move(batch)) && status == 0) {
    const Place place = here();
    ZOLP_ERROR(write_error, batch_file, place.file, place.line);
    status = 1;
  }
  return frame.leave(status);
}

// ---------------------------------------------------------------------------- clone entries

namespace {

/** How a writer of entries names in the trace what it reads. */
struct EntryTexts {
  const char* preference;
  const char* closed;
};
constexpr EntryTexts item_texts{"mode:%s = %s\n", "%s closed"};
constexpr EntryTexts clone_dataset_texts{"preference:%s = %s\n", "%s geschlossen"};

int replace_in_entry(Line& line, const Replacement& replacement) {
  return replace_string(line, replacement.placeholder, text_or_empty(replacement.value));
}

/** Writes a line of an entry; reports a failure. */
int write_entry_line(const Line& line, std::FILE* entries) {
  if (std::fputs(line, entries) == EOF) {
    const Place place = here();
    ZOLP_ERROR("Error from write clone entry: %s! File:%s [Line:%d]\n", std::strerror(errno),
               place.file, place.line);
    return 1;
  }
  return 0;
}

/** Writes an entry from the template that a preference names. */
int write_entry(const orktool::Frame& frame, std::FILE** entries, const char* template_preference,
                const EntryTexts& texts, std::initializer_list<Replacement> replacements) {
  if (entries == nullptr || *entries == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error: no open file for clone entries! File:%s [Line:%d]\n", place.file,
               place.line);
    return frame.leave(1);
  }
  HostPtr<char> path;
  GUARDED("PREF_initialize()", PREF_initialize());
  GUARDED("PREF_get_char_value(template_pref, 0, &template_file)",
          PREF_get_char_value(template_preference, 0, out(path)));
  ZOLP_TRACE(texts.preference, template_preference, path.get());
  File entry_template = open_file(path.get(), "r+");
  if (entry_template == nullptr) {
    const Place place = here();
    ZOLP_ERROR("ERROR: Unable to open cloneitem template %s! File:%s [Line:%d]\n", path.get(),
               place.file, place.line);
    return frame.leave(1);
  }
  int status =
      orktool::fill_template(entry_template.get(), replacements, replace_in_entry,
                             [&](const Line& line) { return write_entry_line(line, *entries); });
  if (!is_read_completely(entry_template.get(), path.get())) {
    status = 1;
  }
  entry_template.reset();
  ZOLP_TRACE(texts.closed, path.get());
  return frame.leave(status);
}

}  // namespace

int ZOLP_write_item(FILE** out, const char* item_id, const char* item_rev,
                    const char* template_pref) {
  FRAME(frame, "ZOLP_write_item");
  return write_entry(frame, out, template_pref, item_texts,
                     {{"%%ITEM_ID%%", item_id}, {"%%ITEM_REV%%", item_rev}});
}

int ZOLP_write_replace_and_cloneitem(FILE** out, const char* item_id, const char* item_rev,
                                     const char* new_item_id, const char* new_item_rev,
                                     const char* new_name, const char* template_pref) {
  FRAME(frame, "ZOLP_write_replace_and_cloneitem");
  return write_entry(frame, out, template_pref, item_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%ITEM_REV%%", item_rev},
                      {"%%NEW_REV%%", new_item_rev},
                      {"%%NEW_ID%%", new_item_id},
                      {"%%NEW_NAME%%", new_name}});
}

int ZOLP_write_retaindataset(FILE** out, const char* item_id, const char* item_rev,
                             const char* relation_name, const char* part_name) {
  FRAME(frame, "ZOLP_write_retaindataset");
  return write_entry(frame, out, "VPD_retain_datasettemplate", item_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%QNPARTNAME%%", part_name},
                      {"%%RELATIONNAME%%", relation_name},
                      {"%%ITEM_REV%%", item_rev}});
}

int ZOLP_write_clonedataset(FILE** out, const char* item_id, const char* item_rev,
                            const char* dataset_name, const char* relation, const char* new_item_id,
                            const char* new_item_rev, const char* new_name) {
  FRAME(frame, "ZOLP_write_clonedataset");
  return write_entry(frame, out, "VPD_clone_datasettemplate", clone_dataset_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%ITEM_REV%%", item_rev},
                      {"%%RELATION%%", relation},
                      {"%%DATASET_NAME%%", dataset_name},
                      {"%%NEW_NAME%%", new_name},
                      {"%%NEW_REV%%", new_item_rev},
                      {"%%NEW_ID%%", new_item_id},
                      {"%%NEW_NAME%%", new_name}});
}

namespace {

constexpr char walk_name[] = "ZOLP_write_assylist";
constexpr char walk_error[] = "Error from ZOLP_write_assylist! File:%s [Line:%d]\n";

void trace_record(const assy_entry& entry) {
  ZOLP_TRACE("ID %s\n", entry.item_id);
  ZOLP_TRACE("REV %s\n", entry.item_rev);
  ZOLP_TRACE("NID %s\n", entry.new_item_id);
  ZOLP_TRACE("NREV %s\n", entry.new_item_rev);
  ZOLP_TRACE("ACTION %s\n", entry.mode);
  ZOLP_TRACE("TYPE %s\n", entry.type);
  ZOLP_TRACE("DATASET %s\n", entry.dataset_name);
  ZOLP_TRACE("LEVEL %d\n", entry.level);
}

/** Writes the entry of one record. */
int write_record(std::FILE* out, const assy_entry& entry) {
  trace_record(entry);
  if (std::strcmp(entry.type, "ItemRev") != 0) {
    return 0;
  }
  int status = 0;
  if (std::strcmp(entry.mode, "CLONE") == 0) {
    status = ZOLP_write_replace_and_cloneitem(&out, entry.item_id, entry.item_rev,
                                              entry.new_item_id, entry.new_item_rev, entry.new_name,
                                              "VPD_clone_itemtemplate");
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR("Error from ZOLP_write_replace_and_cloneitem! File:%s [Line:%d]\n", place.file,
                 place.line);
    }
  } else if (std::strcmp(entry.mode, "RETAIN") == 0) {
    status = ZOLP_write_item(&out, entry.item_id, entry.item_rev, "VPD_retain_itemtemplate");
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR("Error from ZOLP_write_item - mode: RETAIN! File:%s [Line:%d]\n", place.file,
                 place.line);
    }
  }
  return status;
}

/** Records whose calls have begun and not ended: one of a level and its siblings before it. */
struct OpenCalls {
  const assy_entry* first;
  const assy_entry* last;
  bool is_below_done = false;
};

/** Begins a record's call: its frame and its own entry. */
int begin_record(std::FILE* out, const assy_entry& entry) {
  ENTER_FRAME(walk_name);
  return write_record(out, entry);
}

/** Ends the calls of a level. Each one ends after that of its next sibling; a failure ends all. */
void end_calls(const OpenCalls& calls, int status) {
  LEAVE_FRAME(walk_name);
  for (const assy_entry* entry = calls.first; entry != calls.last; entry = entry->next) {
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR(walk_error, place.file, place.line);
    }
    LEAVE_FRAME(walk_name);
  }
}

/** Adds a level to those of a walk; false when memory is exhausted. */
bool add_level(std::vector<OpenCalls>& levels, const assy_entry* first) {
  try {
    levels.push_back({first, first});
    return true;
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR("ZOLP_write_assylist alloc Memory");
    return false;
  }
}

/**
 * Writes the entries of a record, of its children and of its later siblings. The trace is that of a
 * function which calls itself for the child and for the next sibling. A loop makes it: a list can
 * have a million siblings, and, where its level drops by several at a time, as many levels of
 * children, and no stack holds a million calls.
 */
int walk_tree(std::FILE* out, const assy_entry& root) {
  std::vector<OpenCalls> levels;
  if (!add_level(levels, &root)) {
    return 1;
  }
  int status = begin_record(out, root);
  while (true) {
    OpenCalls& level = levels.back();
    const assy_entry* child = level.is_below_done ? nullptr : level.last->child;
    if (status == 0 && child != nullptr) {
      ZOLP_TRACE("---> One Level down\n");
      level.is_below_done = true;
      status = add_level(levels, child) ? begin_record(out, *child) : 1;
    } else if (status == 0 && level.last->next != nullptr) {
      ZOLP_TRACE("Next knot\n");
      level.last = level.last->next;
      level.is_below_done = false;
      status = begin_record(out, *level.last);
    } else {
      end_calls(level, status);
      levels.pop_back();
      if (levels.empty()) {
        return status;
      }
      if (status != 0) {
        const Place place = here();
        ZOLP_ERROR(walk_error, place.file, place.line);
      } else {
        ZOLP_TRACE("<--- One Level up\n");
      }
    }
  }
}

}  // namespace

int ZOLP_write_assylist(FILE* out, assy_entry* entry) {
  if (entry == nullptr) {
    FRAME(frame, walk_name);
    return frame.leave(0);
  }
  return walk_tree(out, *entry);
}
