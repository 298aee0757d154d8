#include "commands/bom_change.h"

#include "error.h"
#include "objects.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/struct.h"

namespace tool {

namespace {

tag type_of_view(tag view_revision) {
  tag view = NULLTAG;
  tag type = NULLTAG;
  require(STRUCT_get_bom_view_of_bvr(view_revision, &view), "the view");
  require(STRUCT_get_bom_view_type(view, &type), "the view type");
  return type;
}

tag ensure_view(tag item, tag view_type) {
  for (const tag view : listed("the views", [&](int*count, tag**list) {
         return STRUCT_list_bom_views(item, count, list);
       })) {
    tag type = NULLTAG;
    require(STRUCT_get_bom_view_type(view, &type), "the view type");
    if (type == view_type) {
      return view;
    }
  }
  tag view = NULLTAG;
  require_success(STRUCT_create_bom_view(item, view_type, &view), "the view is not made",
                  "start again");
  require_success(OBJ_save(view), "the view is not made", "start again");
  require_success(OBJ_refresh(view, 0), "the view is not made", "start again");
  return view;
}

}  // namespace

tag find_usual_view_type(const std::string& name) {
  tag type = NULLTAG;
  if (name.empty()) {
    require(STRUCT_get_default_view_type(&type), "the site's view type");
  }
  if (type == NULLTAG) {
    const std::string wanted = name.empty() ? "view" : name;
    require(STRUCT_find_view_type(wanted.c_str(), &type), "view type " + wanted,
            {STRUCT_unknown_view_type});
  }
  if (type == NULLTAG) {
    throw Error("there is no view type " + name, "see \"zolp host show FILE view_types\"");
  }
  return type;
}

tag find_view_revision(tag revision, tag view_type) {
  for (const tag found : listed("the structures", [&](int*count, tag**list) {
         return STRUCT_list_bom_view_revisions(revision, count, list);
       })) {
    if (type_of_view(found) == view_type) {
      return found;
    }
  }
  return NULLTAG;
}

tag ensure_view_revision(tag revision, tag view_type) {
  const tag known = find_view_revision(revision, view_type);
  if (known != NULLTAG) {
    return known;
  }
  tag item = NULLTAG;
  tag made = NULLTAG;
  require(ITEM_get_item_of_rev(revision, &item), "the revision's item");
  require_success(STRUCT_create_bom_view_revision(ensure_view(item, view_type), revision, &made),
                  "the structure is not made", "start again");
  require_success(OBJ_save(made), "the structure is not made", "start again");
  require_success(OBJ_refresh(made, 0), "the structure is not made", "start again");
  return made;
}

void change_lines(tag view_revision, const std::string& problem,
                  const std::function<void()>& change) {
  require_success(OBJ_refresh(view_revision, 1), problem,
                  "wait until it is free, or log in as somebody who may change it");
  change();
  require_success(OBJ_save(view_revision), problem, "start again");
  require_success(OBJ_refresh(view_revision, 0), problem, "start again");
}

}  // namespace tool
