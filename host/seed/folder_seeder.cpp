#include "folder_seeder.h"

#include <algorithm>

#include "object_id.h"
#include "seeded_keys.h"

namespace host {

void FolderSeeder::take_folder(const Node& node) {
  node.allow_only({"key", "contents"}, workspace_members);
  const Node key = node.at("key");
  node.at("name").name();
  if (run_.keyed.contains(key.name())) {
    key.refuse("is given twice");
  }
  const tag known = object_of_seed(store_, key.text());
  if (known != NULLTAG && !store_.is_a(known, "Folder")) {
    key.refuse("the object exists with class \"" + store_.class_of(known).name + "\"");
  }
  const tag folder = take_workspace_object(node, known, type_of(node, "Folder"), {});
  run_.keyed[key.text()] = folder;
  note_object_of_seed(store_, key.text(), folder);
}

void FolderSeeder::take_contents(const Node& node) {
  const auto contents = node.find("contents");
  const tag folder = find_keyed(node.at("key").name());
  if (!contents || folder == NULLTAG) {
    return;  // why there is none has been told
  }
  Values objects;
  each(contents->items(), [&](const Node& place) {
    const tag object = find_object(place);
    if (!store_.is_a(object, "WorkspaceObject")) {
      place.refuse("expected a workspace object");
    }
    if (std::find(objects.begin(), objects.end(), Scalar(object)) != objects.end()) {
      place.refuse("is in the folder already");
    }
    objects.emplace_back(object);
  });
  put_list(*contents, folder, "contents", objects);
  take_making(node, folder);
}

}  // namespace host
