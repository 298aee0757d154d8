// WSO_: workspace objects.

#include "ork/wso.h"

#include "handout.h"
#include "object_id.h"
#include "operation.h"

namespace host {

std::string object_id_text(Store& store, tag object) {
  if (!store.is_a(object, "WorkspaceObject")) {
    refuse(WSO_not_a_workspace_object, "object " + std::to_string(object));
  }
  const std::string& name = store.text(object, "object_name");
  if (store.is_a(object, "Item"))
    return store.text(object, "item_id") + "-" + name;
  if (!store.is_a(object, "ItemRevision"))
    return name;
  const tag item = store.reference(object, "item_tag");
  return store.text(item, "item_id") + "/" + store.text(object, "item_revision_id") + "-" + name;
}

}  // namespace host

int WSO_get_object_id_string(tag object, char** id) {
  host::clear(id);
  return host::operation("WSO_get_object_id_string", host::Needs::session, [&] {
    host::require_all(id);
    *id = host::hand_out(host::object_id_text(host::store(), object));
  });
}
