#include "item_list.h"

#include <algorithm>

#include "list_columns.h"
#include "list_files.h"
#include "zolp_basetool.h"

namespace orktool {

void read_item_list(std::FILE* file, ItemListArrays& items) {
  LineReader reader(file);
  while (reader.next()) {
    const std::string_view line = reader.line();
    const int level = level_of(line);
    if (level < 1) {
      continue;
    }
    const std::string_view item_id =
        line.substr(std::min(level_width, line.size()), ZOLP_LIST_FIELD_SIZE);
    const char* stored_id = items.append(item_id, line.substr(0, level_width));
    ZOLP_TRACE("level %d, item_id %s\n", level, stored_id);
  }
  items.count_occurrences();
}

}  // namespace orktool
