// FOLDER_: workspace objects that hold others.

#include "ork/folder.h"

#include <algorithm>
#include <unordered_set>

#include "handout.h"
#include "operation.h"
#include "ork/wso.h"
#include "types.h"

namespace host {

namespace {

void require_folder(tag folder) {
  if (!store().is_a(folder, "Folder")) {
    refuse(FOLDER_not_a_folder, "object " + std::to_string(folder));
  }
}

/** What goes in, each object once. */
std::vector<tag> insertable(int count, const tag* objects) {
  require(count >= 0 && (count == 0 || objects != nullptr), "there are no objects");
  std::vector<tag> inserted;
  std::unordered_set<tag> known;
  for (int i = 0; i < count; ++i) {
    if (!store().is_a(objects[i], "WorkspaceObject")) {
      refuse(WSO_not_a_workspace_object, "object " + std::to_string(objects[i]));
    }
    if (known.insert(objects[i]).second) {
      inserted.push_back(objects[i]);
    }
  }
  return inserted;
}

void insert(tag folder, const std::vector<tag>& objects, int position) {
  const Values& contents = store().values(folder, "contents");
  if (position < 0 || static_cast<std::size_t>(position) > contents.size()) {
    refuse(FOLDER_no_such_position,
           std::to_string(position) + " of " + std::to_string(contents.size()));
  }
  const std::unordered_set<tag> moved(objects.begin(), objects.end());
  const auto place = contents.begin() + position;
  Values changed;
  const auto is_kept = [&moved](const Scalar& value) {
    return !moved.contains(std::get<tag>(value));
  };
  std::copy_if(contents.begin(), place, std::back_inserter(changed), is_kept);
  changed.insert(changed.end(), objects.begin(), objects.end());
  std::copy_if(place, contents.end(), std::back_inserter(changed), is_kept);
  store().set_values(folder, "contents", std::move(changed));
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int FOLDER_create(const char* name, const char* description, tag* folder) {
  host::clear(folder);
  return operation("FOLDER_create", Needs::session, [&] {
    host::require_all(name, description, folder);
    host::require(*name != '\0', "the folder has no name");
    *folder = host::make_workspace_object(host::type_of_class("Folder", "Folder"), name,
                                          {{"object_desc", std::string(description)}});
  });
}

int FOLDER_insert_instances(tag folder, int count, const tag* objects, int position) {
  return operation("FOLDER_insert_instances", Needs::session, [&] {
    host::require_folder(folder);
    host::insert(folder, host::insertable(count, objects), position);
  });
}

int FOLDER_list_instances(tag folder, int* count, tag** objects) {
  host::clear(count);
  host::clear(objects);
  return operation("FOLDER_list_instances", Needs::session, [&] {
    host::require_all(count, objects);
    host::require_folder(folder);
    std::vector<tag> contents;
    for (const host::Scalar& value : host::store().values(folder, "contents")) {
      contents.push_back(std::get<tag>(value));
    }
    host::hand_out(contents, count, objects);
  });
}
