// STRUCT_: view types, BOM views and their revisions, occurrences and their notes.

#include "ork/struct.h"

#include "handout.h"
#include "operation.h"
#include "ork/item.h"
#include "structures.h"
#include "types.h"

namespace host {

namespace {

void require_class(tag object, const char* class_name, int status) {
  if (!store().is_a(object, class_name)) {
    refuse(status, "object " + std::to_string(object));
  }
}

tag find_named(const char* class_name, const char* attribute, const char* name, int status) {
  const tag found = store().find_one(class_name, {{attribute, std::string(name)}});
  if (found == NULLTAG) {
    refuse(status, name);
  }
  return found;
}

tag make_view(tag item, tag view_type) {
  require_class(item, "Item", ITEM_not_an_item);
  require_class(view_type, "PSViewType", STRUCT_not_a_view_type);
  return make_workspace_object(store().find_type("PSBOMView"),
                               view_name(store(), item, NULLTAG, view_type),
                               {{"parent_item", item}, {"view_type", view_type}});
}

tag make_view_revision(tag view, tag revision) {
  require_class(view, "PSBOMView", STRUCT_not_a_view);
  require_class(revision, "ItemRevision", ITEM_not_a_revision);
  const tag item = store().reference(view, "parent_item");
  if (store().reference(revision, "item_tag") != item) {
    refuse(STRUCT_other_item);
  }
  return make_workspace_object(
      store().find_type("PSBOMViewRevision"),
      view_name(store(), item, revision, store().reference(view, "view_type")),
      {{"bom_view", view}, {"structure_of", revision}});
}

Occurrence& occurrence_of(tag view_revision, tag object) {
  Structure& structure = structures().of(view_revision);
  structure.occurrences();  // what others have taken out is not there any more
  auto* occurrence = dynamic_cast<Occurrence*>(store().find_transient(object));
  if (occurrence == nullptr || &occurrence->structure() != &structure) {
    refuse(STRUCT_not_an_occurrence, "object " + std::to_string(object));
  }
  return *occurrence;
}

tag add_occurrence(tag view_revision, tag child) {
  Structure& structure = structures().of(view_revision);
  const bool is_revision = store().is_a(child, "ItemRevision");
  if (!is_revision) {
    require_class(child, "Item", STRUCT_not_a_child);
  }
  const tag item = is_revision ? store().reference(child, "item_tag") : child;
  structures().refuse_cycle(item_of_view_revision(store(), view_revision), {item});
  Occurrence& added = structure.add(item, is_revision ? child : NULLTAG);
  structures().note_unsaved(structure);
  return structure.handle(added);
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int STRUCT_find_view_type(const char* name, tag* view_type) {
  host::clear(view_type);
  return operation("STRUCT_find_view_type", Needs::session, [&] {
    host::require_all(name, view_type);
    *view_type = host::find_named("PSViewType", "view_type_name", name, STRUCT_unknown_view_type);
  });
}

int STRUCT_get_default_view_type(tag* view_type) {
  host::clear(view_type);
  return operation("STRUCT_get_default_view_type", Needs::session, [&] {
    host::require_all(view_type);
    *view_type = host::default_view_type(host::store());
  });
}

int STRUCT_create_bom_view(tag item, tag view_type, tag* view) {
  host::clear(view);
  return operation("STRUCT_create_bom_view", Needs::session, [&] {
    host::require_all(view);
    *view = host::make_view(item, view_type);
  });
}

int STRUCT_list_bom_views(tag item, int* count, tag** views) {
  host::clear(count);
  host::clear(views);
  return operation("STRUCT_list_bom_views", Needs::session, [&] {
    host::require_all(count, views);
    host::require_class(item, "Item", ITEM_not_an_item);
    host::hand_out(host::store().find("PSBOMView", {{"parent_item", item}}), count, views);
  });
}

int STRUCT_get_bom_view_type(tag view, tag* view_type) {
  host::clear(view_type);
  return operation("STRUCT_get_bom_view_type", Needs::session, [&] {
    host::require_all(view_type);
    host::require_class(view, "PSBOMView", STRUCT_not_a_view);
    *view_type = host::store().reference(view, "view_type");
  });
}

int STRUCT_create_bom_view_revision(tag view, tag revision, tag* view_revision) {
  host::clear(view_revision);
  return operation("STRUCT_create_bom_view_revision", Needs::session, [&] {
    host::require_all(view_revision);
    *view_revision = host::make_view_revision(view, revision);
  });
}

int STRUCT_list_bom_view_revisions(tag revision, int* count, tag** view_revisions) {
  host::clear(count);
  host::clear(view_revisions);
  return operation("STRUCT_list_bom_view_revisions", Needs::session, [&] {
    host::require_all(count, view_revisions);
    host::require_class(revision, "ItemRevision", ITEM_not_a_revision);
    host::hand_out(host::store().find("PSBOMViewRevision", {{"structure_of", revision}}), count,
                   view_revisions);
  });
}

int STRUCT_get_bom_view_of_bvr(tag view_revision, tag* view) {
  host::clear(view);
  return operation("STRUCT_get_bom_view_of_bvr", Needs::session, [&] {
    host::require_all(view);
    host::require_class(view_revision, "PSBOMViewRevision", STRUCT_not_a_view_revision);
    *view = host::store().reference(view_revision, "bom_view");
  });
}

int STRUCT_create_occurrence(tag view_revision, tag child, tag* occurrence) {
  host::clear(occurrence);
  return operation("STRUCT_create_occurrence", Needs::session, [&] {
    host::require_all(occurrence);
    *occurrence = host::add_occurrence(view_revision, child);
  });
}

int STRUCT_delete_occurrence(tag view_revision, tag occurrence) {
  return operation("STRUCT_delete_occurrence", Needs::session, [&] {
    host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    found.structure().remove(found);
  });
}

int STRUCT_list_occurrences(tag view_revision, int* count, tag** occurrences) {
  host::clear(count);
  host::clear(occurrences);
  return operation("STRUCT_list_occurrences", Needs::session, [&] {
    host::require_all(count, occurrences);
    host::Structure& structure = host::structures().of(view_revision);
    std::vector<tag> handles;
    for (host::Occurrence* occurrence : structure.occurrences()) {
      handles.push_back(structure.handle(*occurrence));
    }
    host::hand_out(handles, count, occurrences);
  });
}

int STRUCT_get_child(tag view_revision, tag occurrence, tag* child) {
  host::clear(child);
  return operation("STRUCT_get_child", Needs::session, [&] {
    host::require_all(child);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    const tag revision = found.structure().revision(found);
    *child = revision != NULLTAG ? revision : found.structure().item(found);
  });
}

int STRUCT_get_seq_no(tag view_revision, tag occurrence, char** sequence_number) {
  host::clear(sequence_number);
  return operation("STRUCT_get_seq_no", Needs::session, [&] {
    host::require_all(sequence_number);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    const std::string& sequence = found.structure().sequence(found);
    if (sequence.empty()) {
      host::refuse(STRUCT_no_sequence_number, "object " + std::to_string(occurrence));
    }
    *sequence_number = host::hand_out(sequence);
  });
}

int STRUCT_set_seq_no(tag view_revision, tag occurrence, const char* sequence_number) {
  return operation("STRUCT_set_seq_no", Needs::session, [&] {
    host::require_all(sequence_number);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    found.structure().set_sequence(found, sequence_number);
  });
}

int STRUCT_get_quantity(tag view_revision, tag occurrence, char** quantity) {
  host::clear(quantity);
  return operation("STRUCT_get_quantity", Needs::session, [&] {
    host::require_all(quantity);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    *quantity = host::hand_out(found.structure().quantity(found));
  });
}

int STRUCT_set_quantity(tag view_revision, tag occurrence, const char* quantity) {
  return operation("STRUCT_set_quantity", Needs::session, [&] {
    host::require_all(quantity);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    found.structure().set_quantity(found, quantity);
  });
}

int STRUCT_find_note_type(const char* name, tag* note_type) {
  host::clear(note_type);
  return operation("STRUCT_find_note_type", Needs::session, [&] {
    host::require_all(name, note_type);
    *note_type = host::find_named("PSNoteType", "note_type_name", name, STRUCT_unknown_note_type);
  });
}

int STRUCT_get_note_type_name(tag note_type, char** name) {
  host::clear(name);
  return operation("STRUCT_get_note_type_name", Needs::session, [&] {
    host::require_all(name);
    host::require_class(note_type, "PSNoteType", STRUCT_not_a_note_type);
    *name = host::hand_out(host::store().text(note_type, "note_type_name"));
  });
}

int STRUCT_list_occurrence_notes(tag view_revision, tag occurrence, int* count, tag** notes) {
  host::clear(count);
  host::clear(notes);
  return operation("STRUCT_list_occurrence_notes", Needs::session, [&] {
    host::require_all(count, notes);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    std::vector<tag> types;
    for (const auto& [type, text] : found.structure().notes(found)) {
      types.push_back(type);
    }
    host::hand_out(types, count, notes);
  });
}

int STRUCT_get_occurrence_note_text(tag view_revision, tag occurrence, tag note, char** text) {
  host::clear(text);
  return operation("STRUCT_get_occurrence_note_text", Needs::session, [&] {
    host::require_all(text);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    for (const auto& [type, content] : found.structure().notes(found)) {
      if (type == note) {
        *text = host::hand_out(content);
        return;
      }
    }
    host::refuse(STRUCT_no_such_note, "note type " + std::to_string(note));
  });
}

int STRUCT_set_occurrence_note_text(tag view_revision, tag occurrence, tag note_type,
                                    const char* text) {
  return operation("STRUCT_set_occurrence_note_text", Needs::session, [&] {
    host::require_all(text);
    const host::Occurrence& found = host::occurrence_of(view_revision, occurrence);
    host::require_class(note_type, "PSNoteType", STRUCT_not_a_note_type);
    found.structure().set_note(found, note_type, text);
  });
}
