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

std::string id_of(tag object) {
  const std::string id = handed_out("the id of an object", [object](char** text) {
    return WSO_get_object_id_string(object, text);
  });
  return !id.empty() ? id : "(object " + std::to_string(object) + ")";
}

std::string name_of(tag object) {
  std::array<char, WSO_name_size + 1> name{};
  require(WSO_get_name(object, name.data()), "the name of an object");
  return name.data();
}

std::string class_of(tag object) {
  tag class_id = NULLTAG;
  require(STORE_class_of_instance(object, &class_id), "the class of an object");
  return handed_out("the name of a class",
                    [class_id](char** text) { return STORE_name_of_class(class_id, text); });
}

std::string type_of(tag object) {
  std::array<char, WSO_name_size + 1> type{};
  require(WSO_get_object_type(object, type.data()), "the type of an object");
  return type.data();
}

std::string type_name(tag type) {
  std::array<char, ZOLP_NAME_SIZE + 1> name{};
  require(ZOLP_TYPE_ask_name(type, name.data()), "the name of a type");
  return name.data();
}

Owner owner_of(tag object) {
  std::array<char, ORG_name_size + 1> user{};
  std::array<char, ORG_name_size + 1> group{};
  require(ZOLP_ask_ownership_names(object, user.data(), group.data()), "the owner of an object");
  return {user.data(), group.data()};
}

std::string date_text(const date_s& date) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", date.year, date.month + 1, date.day,
                date.hour, date.minute);
  return date.year == 0 ? "" : text;
}

std::string display_value(tag object, const char* attribute) {
  return handed_out(attribute, [object, attribute](char** text) {
    return OBJ_UIF_get_value(object, attribute, text);
  });
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

}  // namespace tool
