#include "list_columns.h"

#include <cstdio>
#include <cstring>

namespace orktool {
namespace {

constexpr char title_level[] = "Level";
constexpr char title_item_revision[] = "Item Revision";
constexpr char title_datasets[] = "Datasets";
constexpr char title_type[] = "Type";
constexpr char title_new_item_id[] = "New Item ID";
constexpr char title_new_name[] = "New Name";
constexpr char title_bom_mode[] = "BOM Mode";
constexpr char title_release_status[] = "Rel-Status";
constexpr char title_tarn_info[] = "Tarn Info";
constexpr char title_pf_info[] = "PF Info";

}  // namespace

ColumnPositions column_positions{};

void fix_column_positions() {
  char header[line_size];
  std::snprintf(header, sizeof header, clone_log_line_format, title_level, title_item_revision,
                title_datasets, title_type, title_new_item_id, title_new_name, title_bom_mode,
                title_release_status, title_tarn_info, title_pf_info);
  const auto position_of = [&header](const char* title) {
    return static_cast<int>(std::strstr(header, title) - header);
  };
  column_positions = {position_of(title_level),       position_of(title_item_revision),
                      position_of(title_datasets),    position_of(title_type),
                      position_of(title_new_item_id), position_of(title_new_name),
                      position_of(title_bom_mode),    position_of(title_release_status),
                      position_of(title_tarn_info),   position_of(title_pf_info)};
}

}  // namespace orktool
