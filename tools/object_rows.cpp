#include "object_rows.h"

#include <array>

#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "object_json.h"
#include "objects.h"
#include "zolp_orktool.h"

namespace tool {

ObjectRows::ObjectRows(bool as_json) : table_({"id", "class", "type", "owner", "status"}) {
  if (as_json) {
    json_.emplace();
  }
}

void ObjectRows::add(tag object) {
  try {
    std::array<char, ZOLP_NAME_SIZE + 1> status{};
    require(ZOLP_ask_latest_status(object, status.data()), "the release status of an object");
    Json row = told_of(object);
    row["owner"] = owner_of(object).user;
    row["status"] = status.data();
    row["error"] = nullptr;
    print(row);
  } catch (const Error&) {
    add_unreadable(object, failure_text(ORK_ok));
  }
}

void ObjectRows::add_unreadable(tag object, const std::string& why) {
  const std::string id = known_as(object);
  print({{"tag", object},
         {"id", id},
         {"item", nullptr},
         {"revision", nullptr},
         {"name", ""},
         {"class", ""},
         {"type", ""},
         {"owner", ""},
         {"status", ""},
         {"error", why}});
  if (unreadable_++ == 0) {
    first_unreadable_ = id + " (" + why + ")";
  }
  forget_failures();
}

/** What a row begins with; a table shows less than JSON, and costs less. */
Json ObjectRows::told_of(tag object) const {
  if (json_) {
    return object_json(object);
  }
  return {{"id", id_of(object)}, {"class", class_of(object)}, {"type", type_of(object)}};
}

void ObjectRows::print(const Json& row) {
  constexpr std::size_t rows_at_once = 1000;
  if (json_) {
    json_->add(row);
  } else {
    table_.add_row({row["id"], row["class"], row["type"], row["owner"], row["status"]});
  }
  if (++rows_ % rows_at_once == 0) {
    forget_failure(ork_host_forget_read());
  }
}

void ObjectRows::finish() {
  if (json_) {
    json_->finish();
  } else {
    table_.finish();
  }
  if (unreadable_ > 0) {
    throw Error(
        counted(unreadable_, "object") + " cannot be read, the first is " + first_unreadable_,
        "log in as somebody who may, or see the call trace, set ZOLP_TRACE_LEVEL=4");
  }
}

}  // namespace tool
