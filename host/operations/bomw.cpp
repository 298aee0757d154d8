// BOMW_: BOM windows.

#include "ork/bomw.h"

#include "access.h"
#include "bom_window.h"
#include "handout.h"
#include "operation.h"
#include "ork/access.h"
#include "ork/item.h"
#include "ork/struct.h"

namespace host {

namespace {

/** A transient object of a class; a tag of none and of an object of another class are refused. */
template <typename Type>
Type& transient(tag object, int status) {
  auto* found = dynamic_cast<Type*>(store().find_transient(object));
  if (found == nullptr) {
    store().class_of(object);  // says what is wrong with the tag
    refuse(status, "object " + std::to_string(object));
  }
  return *found;
}

Window& window_of(tag object) {
  return transient<Window>(object, BOMW_not_a_window);
}

Line& line_of(tag object) {
  return transient<Line>(object, BOMW_not_a_line);
}

Line& show(Window& window, tag revision, tag view_type, tag rule) {
  if (!store().is_a(revision, "ItemRevision")) {
    refuse(ITEM_not_a_revision, "object " + std::to_string(revision));
  }
  if (view_type != NULLTAG && !store().is_a(view_type, "PSViewType")) {
    refuse(STRUCT_not_a_view_type, "object " + std::to_string(view_type));
  }
  require_privilege(revision, ACCESS_privilege_read);
  window.show(revision, view_type != NULLTAG ? view_type : usual_view_type(store()), rule);
  return window.top_line();
}

/** An attribute of lines, by its number. */
const Attribute& attribute_of_lines(int number) {
  for (const Attribute* attribute : store().class_named("BOMLine").slots) {
    if (attribute->id == static_cast<std::uint32_t>(number)) {
      return *attribute;
    }
  }
  refuse(BOMW_unknown_attribute, std::to_string(number));
}

tag tag_value(Line& line, const Attribute& attribute) {
  if (attribute.kind != Kind::reference) {
    refuse(BOMW_wrong_attribute_type,
           attribute.name + " holds a value of kind " + name_of(attribute.kind));
  }
  Values values;
  line.read(attribute.name, &values);
  return values.empty() ? NULLTAG : std::get<tag>(values.front());
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int BOMW_create_window(tag* window) {
  host::clear(window);
  return operation("BOMW_create_window", Needs::session, [&] {
    host::require_all(window);
    *window = host::structures().open_window().handle();
  });
}

int BOMW_set_window_top_line(tag window, tag revision, tag view_type, tag rule, tag* top_line) {
  host::clear(top_line);
  return operation("BOMW_set_window_top_line", Needs::session, [&] {
    host::require_all(top_line);
    *top_line = host::show(host::window_of(window), revision, view_type, rule).handle();
  });
}

int BOMW_get_window_top_line(tag window, tag* top_line) {
  host::clear(top_line);
  return operation("BOMW_get_window_top_line", Needs::session, [&] {
    host::require_all(top_line);
    *top_line = host::window_of(window).top_line().handle();
  });
}

int BOMW_save_window(tag window) {
  return operation("BOMW_save_window", Needs::session, [&] { host::window_of(window).save(); });
}

int BOMW_close_window(tag window) {
  return operation("BOMW_close_window", Needs::session,
                   [&] { host::structures().close_window(host::window_of(window)); });
}

int BOMW_line_get_child_lines(tag line, int* count, tag** children) {
  host::clear(count);
  host::clear(children);
  return operation("BOMW_line_get_child_lines", Needs::session, [&] {
    host::require_all(count, children);
    host::hand_out(host::line_of(line).children(), count, children);
  });
}

int BOMW_line_look_up_attribute(const char* name, int* attribute) {
  host::clear(attribute);
  return operation("BOMW_line_look_up_attribute", Needs::session, [&] {
    host::require_all(name, attribute);
    const host::Attribute* found = host::store().class_named("BOMLine").find_attribute(name);
    if (found == nullptr) {
      host::refuse(BOMW_unknown_attribute, name);
    }
    *attribute = static_cast<int>(found->id);
  });
}

int BOMW_line_get_attribute_tag(tag line, int attribute, tag* value) {
  host::clear(value);
  return operation("BOMW_line_get_attribute_tag", Needs::session, [&] {
    host::require_all(value);
    *value = host::tag_value(host::line_of(line), host::attribute_of_lines(attribute));
  });
}

int BOMW_line_pack(tag line) {
  return operation("BOMW_line_pack", Needs::session, [&] { host::line_of(line).pack(); });
}
