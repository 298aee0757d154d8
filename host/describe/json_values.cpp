#include "json_values.h"

#include <type_traits>

#include "dates.h"
#include "object_id.h"

namespace host {

using Json = nlohmann::ordered_json;

nlohmann::ordered_json name_of_reference(Store& store, tag object, const char* attribute) {
  if (object == NULLTAG) {
    return nullptr;
  }
  return store.text(object, attribute);
}

nlohmann::ordered_json value_json(const Scalar& value) {
  if (const auto* date = std::get_if<date_s>(&value)) {
    return date_text(*date);
  }
  return std::visit(
      [](const auto& content) -> Json {
        if constexpr (std::is_same_v<std::decay_t<decltype(content)>, date_s>) {
          return nullptr;
        } else {
          return content;
        }
      },
      value);
}

nlohmann::ordered_json describe_reference(Store& store, tag object) {
  Json described = {{"tag", object}};
  if (store.is_a(object, "WorkspaceObject")) {
    described["id"] = object_id_text(store, object);
  }
  return described;
}

}  // namespace host
