/** @file `zolp bom numbers`: lists the sequence numbers of a product structure. */
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/bom.h"
#include "error.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

/** How the library's list of numbers ends at a line that has none. */
constexpr int line_without_number = 1;

void show_numbers(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  bool is_complete = true;
  std::vector<tag> list = walk_to_list(
      "the sequence numbers are not listed",
      [&](int* count, tag** numbers) {
        return ZOLP_getSeqNoListOfBom(window.top_line(), 0, nullptr, count, numbers);
      },
      line_without_number, &is_complete);
  int next = options.start;
  const bool is_in_use = std::find(list.begin(), list.end(), static_cast<tag>(next)) != list.end();
  if (options.increment == 0 && is_in_use) {
    throw usage_error("--increment is 0 and number " + std::to_string(next) + " is in use",
                      "give another one");
  }
  walk("no number is found", [&] {
    return ZOLP_getUnusedSeqNo(&next, options.increment, static_cast<int>(list.size()),
                               list.data());
  });
  Json numbers = Json::array();
  for (const tag number : list) {
    numbers.push_back(static_cast<int>(number));
  }
  if (options.json) {
    print_json({{"numbers", numbers}, {"complete", is_complete}, {"next_unused", next}});
    return;
  }
  for (const Json& number : numbers) {
    std::printf("%d\n", number.get<int>());
  }
  if (!is_complete) {
    std::puts("(the list ends at a line without a number)");
  }
  std::printf("next unused: %d\n", next);
}

}  // namespace

void add_bom_numbers(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "numbers", "List the sequence numbers in use",
      "\nExample: zolp bom numbers MX-100/B --start 10 --increment 10", show_numbers);
  add_numbering(command, *options);
}

}  // namespace tool
