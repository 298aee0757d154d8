/** @file `zolp bom numbers`: lists the sequence numbers of a product structure. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/bom.h"
#include "error.h"
#include "objects.h"
#include "platform_block.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void show_numbers(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  int count = 0;
  tag* list = nullptr;
  const int status =
      walk([&] { return ZOLP_getSeqNoListOfBom(window.top_line(), 0, nullptr, &count, &list); });
  const PlatformBlock<tag> block(list);
  if (status > 1) {
    require(status, "the sequence numbers");
  }
  int next = options.start;
  if (walk([&] { return ZOLP_getUnusedSeqNo(&next, options.increment, count, list); }) != 0) {
    throw usage_error("--increment is 0 and number " + std::to_string(next) + " is in use",
                      "give another one");
  }
  // A line without a number ends the library's list.
  const bool is_complete = status == 0;
  Json numbers = Json::array();
  for (int i = 0; i < count; ++i) {
    numbers.push_back(static_cast<int>(list[i]));
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

void add_bom_numbers(CLI::App& group) {
  const auto options = std::make_shared<BomOptions>();
  CLI::App* const command = add_bom_command(
      group, options, "numbers", "List the sequence numbers in use",
      "\nExample: zolp bom numbers MX-100/B --start 10 --increment 10", show_numbers);
  add_numbering(*command, *options);
}

}  // namespace tool
