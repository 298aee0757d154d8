#include "outside.h"

#include <charconv>

#include "failure.h"
#include "ork/ork.h"
#include "os.h"
#include "utf8_path.h"

namespace host {

namespace {

bool read_number(std::string_view text, int* number) {
  const auto read = std::from_chars(text.data(), text.data() + text.size(), *number);
  return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

/** Takes what stands behind the last mark off a text. @return false when there is no mark. */
bool take_behind(char mark, std::string_view* text, std::string_view* taken) {
  const std::size_t at = text->rfind(mark);
  if (at == std::string_view::npos) {
    return false;
  }
  *taken = text->substr(at + 1);
  *text = text->substr(0, at);
  return true;
}

/** A name that no operation has would be an order that nothing ever meets. */
void require_operation(const std::string& name) {
  const bool can_be_looked_up = os::symbol_of_process("ORK_auto_login") != nullptr;
  if (name != "*" && can_be_looked_up && os::symbol_of_process(name.c_str()) == nullptr) {
    refuse(ORK_invalid_argument, "there is no operation \"" + name + "\"");
  }
}

FaultOrder fault_order(std::string_view text) {
  FaultOrder order;
  std::string_view operation = text;
  std::string_view status;
  std::string_view nth = "1";
  const bool is_read = take_behind('=', &operation, &status) && read_number(status, &order.status);
  take_behind(':', &operation, &nth);
  if (!is_read || !read_number(nth, &order.nth) || order.nth < 1 || operation.empty()) {
    refuse(ORK_invalid_argument, "\"" + std::string(text) + "\" is not OPERATION[:N]=STATUS");
  }
  order.operation = operation;
  require_operation(order.operation);
  return order;
}

DelayOrder delay_order(std::string_view text) {
  DelayOrder order;
  std::string_view operation = text;
  std::string_view time;
  if (!take_behind('=', &operation, &time) || !read_number(time, &order.milliseconds) ||
      order.milliseconds < 0 || operation.empty()) {
    refuse(ORK_invalid_argument, "\"" + std::string(text) + "\" is not OPERATION=MILLISECONDS");
  }
  order.operation = operation;
  require_operation(order.operation);
  return order;
}

/** What stands between commas, each as `read` has it. */
template <typename Order>
std::vector<Order> orders_of(std::string_view text, Order (*read)(std::string_view)) {
  std::vector<Order> orders;
  while (!text.empty()) {
    const std::size_t end = text.find(',');
    orders.push_back(read(text.substr(0, end)));
    text = end != std::string_view::npos ? text.substr(end + 1) : std::string_view();
  }
  return orders;
}

}  // namespace

std::vector<FaultOrder> fault_orders(std::string_view text) {
  return orders_of(text, fault_order);
}

std::vector<DelayOrder> delay_orders(std::string_view text) {
  return orders_of(text, delay_order);
}

void JournalFile::open(const std::string& path) {
  file_ = std::ofstream();
  file_.open(utf8_path(path), std::ios::app | std::ios::binary);
  if (!file_) {
    refuse(ORK_invalid_argument, path + " cannot be written");
  }
}

void JournalFile::write(const char* operation, int status) noexcept {
  try {
    file_ << operation << ' ' << status << '\n' << std::flush;
  } catch (const std::exception&) {
    // No reason to fail an operation that has been done.
  }
}

}  // namespace host
