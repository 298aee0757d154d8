#include "outside.h"

#include <charconv>

#include "failure.h"
#include "ork/ork.h"
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

FaultOrder fault_order(std::string_view text) {
  FaultOrder order;
  std::string_view operation = text;
  std::string_view status;
  std::string_view nth = "1";
  const bool is_read = take_behind('=', &operation, &status) && read_number(status, &order.status);
  take_behind(':', &operation, &nth);
  if (!is_read || !read_number(nth, &order.nth) || order.nth < 1 || operation.empty()) {
    refuse(ORK_invalid_argument,
           "ORK_HOST_FAULTS: \"" + std::string(text) + "\" is not OPERATION[:N]=STATUS");
  }
  order.operation = operation;
  return order;
}

}  // namespace

std::vector<FaultOrder> fault_orders(std::string_view text) {
  std::vector<FaultOrder> orders;
  while (!text.empty()) {
    const std::size_t end = text.find(',');
    orders.push_back(fault_order(text.substr(0, end)));
    text = end != std::string_view::npos ? text.substr(end + 1) : std::string_view();
  }
  return orders;
}

void JournalFile::open(const std::string& path) {
  file_.open(utf8_path(path), std::ios::app | std::ios::binary);
  if (!file_) {
    refuse(ORK_invalid_argument, "ORK_HOST_JOURNAL: " + path + " cannot be written");
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
