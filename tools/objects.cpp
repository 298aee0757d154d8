#include "objects.h"

#include <array>
#include <cstdio>

#include "error.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_orktool.h"

namespace tool {

void require(int status, const std::string& what) {
  if (status != ORK_ok) {
    throw Error("cannot read " + what + " (" + platform_error_text(status) + ")",
                advice_for(status, "see the call trace, set ZOLP_TRACE_LEVEL=4"));
  }
}

std::string id_of(tag object) {
  const std::string id =
      handed_out([object](char** text) { WSO_get_object_id_string(object, text); });
  return !id.empty() ? id : "(object " + std::to_string(object) + ")";
}

std::string class_of(tag object) {
  tag class_id = NULLTAG;
  STORE_class_of_instance(object, &class_id);
  return handed_out([class_id](char** text) { STORE_name_of_class(class_id, text); });
}

std::string type_name(tag type) {
  std::array<char, ZOLP_NAME_SIZE + 1> name{};
  ZOLP_TYPE_ask_name(type, name.data());
  return name.data();
}

std::string date_text(const date_s& date) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", date.year, date.month + 1, date.day,
                date.hour, date.minute);
  return date.year == 0 ? "" : text;
}

std::string display_value(tag object, const char* attribute) {
  return handed_out(
      [object, attribute](char** text) { OBJ_UIF_get_value(object, attribute, text); });
}

tag find_object(const std::string& id) {
  tag object = NULLTAG;
  require(ZOLP_ITEM_find_item(id.c_str(), &object), "item " + id);
  const std::size_t slash = id.rfind('/');
  if (object == NULLTAG && slash != std::string::npos) {
    require(ZOLP_ITEM_find_rev(id.substr(0, slash).c_str(), id.substr(slash + 1).c_str(), &object),
            "revision " + id);
  }
  if (object == NULLTAG) {
    throw Error("there is no item or revision " + id, "see \"zolp find '*'\" for what there is");
  }
  return object;
}

std::vector<tag> find_by_pattern(const std::string& pattern) {
  return listed("the objects", [&pattern](int* count, tag** objects) {
    return WSO_find(pattern.c_str(), count, objects);
  });
}

Json summary_of(tag object) {
  std::array<char, WSO_name_size + 1> type{};
  std::array<char, ZOLP_NAME_SIZE + 1> status{};
  std::array<char, ORG_name_size + 1> owner{};
  std::array<char, ORG_name_size + 1> group{};
  WSO_get_object_type(object, type.data());
  ZOLP_ask_latest_status(object, status.data());
  ZOLP_ask_ownership_names(object, owner.data(), group.data());
  return {{"id", id_of(object)},
          {"class", class_of(object)},
          {"type", type.data()},
          {"owner", owner.data()},
          {"status", status.data()}};
}

void print_summaries(const Json& summaries) {
  Table table({"id", "class", "type", "owner", "status"});
  for (const Json& object : summaries) {
    table.add_row(
        {object["id"], object["class"], object["type"], object["owner"], object["status"]});
  }
  table.print();
}

}  // namespace tool
