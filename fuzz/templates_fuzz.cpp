// Templates of clone entries and of the clone log's head. An input's first line holds the values of
// the placeholders, separated by "|"; the rest is the template.

#include <algorithm>
#include <array>
#include <utility>

#include "fuzz/site.h"
#include "zolp_orktool.h"

namespace {

constexpr std::size_t line_size = 500;

using Replacements = std::vector<std::pair<std::string, std::string>>;

/** What a writer of entries is to write; false when a line does not fit its buffer. */
bool fill_template(std::string_view text, const Replacements& replacements, std::string* filled) {
  for (std::string line : fuzz::lines_of(text, line_size)) {
    for (const auto& [placeholder, value] : replacements) {
      const std::size_t at = line.find(placeholder);
      if (at == std::string::npos) {
        continue;
      }
      line.replace(at, placeholder.size(), value);
      if (line.size() >= line_size) {
        return false;
      }
    }
    *filled += line;
  }
  return true;
}

template <typename Write>
void check_entry(std::string_view text, const Replacements& replacements, Write write) {
  const fuzz::MemoryFile entries;
  std::FILE* out = std::fopen(entries.path(), "w");
  const int status = write(&out);
  std::fclose(out);
  std::string expected;
  const bool fits = fill_template(text, replacements, &expected);
  fuzz::check(status == (fits ? 0 : 1), "a template is filled unless a line gets too long");
  fuzz::check(entries.read() == expected, "each placeholder is replaced once");
}

void check_head(const std::array<std::string, 7>& values) {
  const fuzz::MemoryFile list;
  const fuzz::MemoryFile log;
  list.write("1     ;" + values[0] + "/" + values[1] + "\n");
  const int status = ZOLP_create_clonelogheader(list.path(), log.path(), "Template");
  fuzz::check(status == 0 || status == 1, "the clone log's head");
}

void check_batch(const fuzz::MemoryFile& actions, const std::array<std::string, 7>& values) {
  const fuzz::MemoryFile batch;
  for (const char* preference : {"ZOLP_precloneactionfile", "ZOLP_postcloneactionsfile"}) {
    fuzz::set_preference(preference, actions.path());
  }
  fuzz::set_preference("ZOLP_qnversion", values[0].c_str());
  fuzz::set_preference("ZOLP_qnclone_prg", values[1].c_str());
  fuzz::set_preference("ZOLP_clonelogfile", values[2].c_str());
  assy_entry top{};
  fuzz::check(ZOLP_write_startbat(batch.path(), &top) == 0, "the batch file");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::open_site();
  fuzz::print_into_nothing();
  fuzz::trace_into_nothing();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::text_of(data, size);
  const std::size_t first_line = std::min(input.find('\n'), size);
  std::array<std::string, 7> values;
  const std::vector<std::string> given =
      fuzz::split(fuzz::terminated(input.substr(0, first_line)), '|');
  std::copy_n(given.begin(), std::min(given.size(), values.size()), values.begin());
  const std::string& id = values[0];
  const std::string& revision = values[1];
  const std::string& new_id = values[2];
  const std::string& new_revision = values[3];
  const std::string& name = values[4];
  const std::string& relation = values[5];
  const std::string& dataset = values[6];
  const std::string_view text = input.substr(std::min(first_line + 1, size));
  const fuzz::MemoryFile file;
  file.write(text);
  for (const char* preference :
       {"Template", "VPD_retain_datasettemplate", "VPD_clone_datasettemplate"}) {
    fuzz::set_preference(preference, file.path());
  }
  check_entry(text, {{"%%ITEM_ID%%", id}, {"%%ITEM_REV%%", revision}}, [&](std::FILE** out) {
    return ZOLP_write_item(out, id.c_str(), revision.c_str(), "Template");
  });
  check_entry(text,
              {{"%%ITEM_ID%%", id},
               {"%%ITEM_REV%%", revision},
               {"%%NEW_REV%%", new_revision},
               {"%%NEW_ID%%", new_id},
               {"%%NEW_NAME%%", name}},
              [&](std::FILE** out) {
                return ZOLP_write_replace_and_cloneitem(out, id.c_str(), revision.c_str(),
                                                        new_id.c_str(), new_revision.c_str(),
                                                        name.c_str(), "Template");
              });
  check_entry(text,
              {{"%%ITEM_ID%%", id},
               {"%%QNPARTNAME%%", name},
               {"%%RELATIONNAME%%", relation},
               {"%%ITEM_REV%%", revision}},
              [&](std::FILE** out) {
                return ZOLP_write_retaindataset(out, id.c_str(), revision.c_str(), relation.c_str(),
                                                name.c_str());
              });
  check_entry(text,
              {{"%%ITEM_ID%%", id},
               {"%%ITEM_REV%%", revision},
               {"%%RELATION%%", relation},
               {"%%DATASET_NAME%%", dataset},
               {"%%NEW_NAME%%", name},
               {"%%NEW_REV%%", new_revision},
               {"%%NEW_ID%%", new_id},
               {"%%NEW_NAME%%", name}},
              [&](std::FILE** out) {
                return ZOLP_write_clonedataset(out, id.c_str(), revision.c_str(), dataset.c_str(),
                                               relation.c_str(), new_id.c_str(),
                                               new_revision.c_str(), name.c_str());
              });
  check_head(values);
  check_batch(file, values);
  return 0;
}
