#include "object_json.h"

#include <array>

#include "objects.h"
#include "ork/item.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

Json id_of_item(tag item) {
  std::array<char, ITEM_id_size + 1> id{};
  require(ITEM_get_id(item, id.data()), "the id of an item");
  return id.data();
}

Json id_of_revision(tag revision) {
  std::array<char, ITEM_id_size + 1> id{};
  require(ITEM_get_rev_id(revision, id.data()), "the id of a revision");
  return id.data();
}

}  // namespace

bool is_of_class(tag object, const char* class_name) {
  logical answer = 0;
  require(ZOLP_isObjectOfClass(object, class_name, &answer), "the class of an object");
  return answer != 0;
}

Json object_json(tag object) {
  Json item;
  Json revision;
  if (is_of_class(object, "ItemRevision")) {
    tag of = NULLTAG;
    require(ITEM_get_item_of_rev(object, &of), "the item of a revision");
    item = id_of_item(of);
    revision = id_of_revision(object);
  } else if (is_of_class(object, "Item")) {
    item = id_of_item(object);
  }
  return {{"tag", object},          {"id", id_of(object)},     {"item", item},
          {"revision", revision},   {"name", name_of(object)}, {"class", class_of(object)},
          {"type", type_of(object)}};
}

}  // namespace tool
