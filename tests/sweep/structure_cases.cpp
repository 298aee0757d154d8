// View types, occurrences, BOM lines and the walks over them.

#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/struct.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

/** First of the objects that an operation lists. */
template <typename List>
tag first_of(List list) {
  int count = 0;
  tag* found = nullptr;
  prepared(list(&count, &found), "list");
  prepared(count > 0 ? ORK_ok : 1, "an object");
  const tag first = found[0];
  MEM_free(found);
  return first;
}

tag view_revision() {
  return first_of([](int* count, tag** found) {
    return STRUCT_list_bom_view_revisions(object("T/A"), count, found);
  });
}

tag occurrence() {
  return first_of([](int* count, tag** found) {
    return STRUCT_list_occurrences(view_revision(), count, found);
  });
}

// ------------------------------------------------------------------ view types and occurrences

const std::string class_test =
    "STORE_class_id_of_class STORE_class_of_instance STORE_is_descendant ";

void add_view_types(Cases& cases) {
  // A test of a view revision's class that fails says no.
  const std::string steps = R"(ignores STORE_class_id_of_class STORE_class_of_instance
      then STRUCT_get_bom_view_of_bvr STRUCT_get_bom_view_type: 1; ignores STORE_is_descendant: 1;
    passes STRUCT_get_bom_view_of_bvr STRUCT_get_bom_view_type: 0)";
  const auto ask_with = [](auto type_of_run) {
    return [type_of_run](Run& run) {
      const tag view = view_revision();
      const auto type = type_of_run();
      bool verdict = false;
      run.call([&] { return ZOLP_IsViewOfType(view, type, &verdict); });
      run.out(verdict ? 1 : 0);
    };
  };
  cases.add("ZOLP_IsViewOfType(unsigned int, unsigned int, bool*)", "", "good 0: 1;" + steps)
      .call(ask_with([] {
        tag type = NULLTAG;
        prepared(STRUCT_find_view_type("view", &type), "view type");
        return type;
      }));
  cases
      .add("ZOLP_IsViewOfType(unsigned int, char const*, bool*)", "",
           "good 0: 1; aborts STRUCT_find_view_type: 0;" + steps)
      .call(ask_with([] { return "view"; }));
}

/** What a call makes of an item that stands for a child. */
template <typename Ask>
auto ask_child(Ask ask) {
  return [ask](Run& run) {
    tag released = NULLTAG;
    prepared(CONFIG_find("Released", &released), "rule");
    tag item = untouched_tag;
    tag revision = untouched_tag;
    char* type_name = untouched<char>();
    run.call(ask, released, &item, &revision, &type_name);
    run.out_tag(item).out_tag(revision).out(type_name);
    MEM_free(type_name);
  };
}

void add_children(Cases& cases) {
  // An item for which a rule gives the revision.
  const std::string configured =
      "ignores STORE_class_id_of_class STORE_class_of_instance then " + class_test + R"(
        WSO_get_object_type CONFIG_item_get_configured: S1|S1/A|Item;
      ignores STORE_is_descendant: S1|S1/A|Item; answers 2010 )" +
      class_test + R"( then WSO_get_object_type: untouched|untouched|Item;
      ignores WSO_get_object_type: S1|S1/A|; passes CONFIG_item_get_configured: S1|0|Item;
      exhausted 0: S1|S1/A|null)";
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, unsigned int, unsigned int*, unsigned int*, "
          "char**)",
          "an item", "good 0: S1|S1/A|Item;" + configured)
      .call(ask_child([](tag released, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), released, item, revision, type_name);
      }));
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, char const*, unsigned int*, unsigned int*, "
          "char**)",
          "an item",
          "good 0: S1|S1/A|Item; answers 2010 CONFIG_find then " + class_test + class_test +
              "WSO_get_object_type: untouched|untouched|Item;" + configured)
      .call(ask_child([](tag, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), "Released", item, revision, type_name);
      }));
  cases
      .add("ZOLP_GetItemFromOccObj(unsigned int, unsigned int*, char**)", "a revision",
           "good 0: S1|untouched|ItemRevision; ignores " + class_test + "then " + class_test + R"(
             WSO_get_object_type: untouched|untouched|ItemRevision;
           ignores STORE_class_id_of_class STORE_class_of_instance
             then WSO_get_object_type ITEM_get_item_of_rev: S1|untouched|ItemRevision;
           ignores STORE_is_descendant: S1|untouched|ItemRevision;
           ignores WSO_get_object_type: S1|untouched|;
           passes ITEM_get_item_of_rev: 0|untouched|ItemRevision;
           exhausted 0: S1|untouched|null)")
      .call(ask_child([](tag, tag* item, tag*, char** type_name) {
        return ZOLP_GetItemFromOccObj(object("S1/A"), item, type_name);
      }));
}

void add_occurrences(Cases& cases) {
  cases
      .add("GetSeqNo(unsigned int, unsigned int, char**)", "",
           "good 0: 10; passes STRUCT_get_seq_no: null")
      .call(outputs_of(
          GetSeqNo, [](Run&) { return view_revision(); }, [](Run&) { return occurrence(); }));
  cases
      .add(
          "ZOLP_GetOccNoteText(unsigned int, unsigned int, char const*, unsigned int**, int*, "
          "char**)",
          "", R"(good 0: 12 Nm; passes STRUCT_list_occurrence_notes STRUCT_get_note_type_name
             STRUCT_get_occurrence_note_text: null)")
      .call([](Run& run) {
        const tag view = view_revision();
        const tag first = occurrence();
        tag* notes = nullptr;
        int count = 0;
        char* text = untouched<char>();
        run.call(ZOLP_GetOccNoteText, view, first, "Torque", &notes, &count, &text);
        run.out(text);
        MEM_free(text);
        MEM_free(notes);
      });
}

// ------------------------------------------------------------------------------- values of lines

tag window = NULLTAG; /**< the latest one */

/** The line of T, in a window of its own; below it are S1 and S2, and S3 below S1. */
tag top_line() {
  tag top = NULLTAG;
  prepared(BOMW_create_window(&window), "window");
  prepared(BOMW_set_window_top_line(window, object("T/A"), NULLTAG, NULLTAG, &top), "top line");
  return top;
}

tag child_of(tag line) {
  return first_of(
      [line](int* count, tag** found) { return BOMW_line_get_child_lines(line, count, found); });
}

std::string value(tag line, const char* attribute) {
  char* text = nullptr;
  prepared(OBJ_get_value_string(line, attribute, &text), attribute);
  const std::string copy = text != nullptr ? text : "null";
  MEM_free(text);
  return copy;
}

/** The first line below the top. */
tag first_line(Run&) {
  return child_of(top_line());
}

template <typename Set>
auto set_line_text(const char* attribute, Set set) {
  return [attribute, set](Run& run) {
    const tag line = child_of(top_line());
    run.call(set, line, "7");
    run.out(std::string_view(value(line, attribute)));
    prepared(BOMW_close_window(window), "close");
  };
}

void add_line_values(Cases& cases) {
  const std::string text = "; passes OBJ_get_value_string: null";
  cases.add("ZOLP_getSequenceNo", "", "good 0: 10" + text)
      .call(outputs_of(ZOLP_getSequenceNo, first_line));
  cases.add("ZOLP_getQuantity", "", "good 0: 2" + text)
      .call(outputs_of(ZOLP_getQuantity, first_line));
  cases.add("ZOLP_setSequenceNo", "", "good 0: 7; passes OBJ_set_value_string: 10")
      .call(set_line_text("bl_sequence_no", ZOLP_setSequenceNo));
  cases.add("ZOLP_setQuantity", "", "good 0: 7; passes OBJ_set_value_string: 2")
      .call(set_line_text("bl_quantity", ZOLP_setQuantity));
  const std::string looked_up =
      "; passes BOMW_line_look_up_attribute BOMW_line_get_attribute_tag: 0";
  cases.add("ZOLP_get_bomline_revtag", "", "good 0: S1/A" + looked_up)
      .call(outputs_of(ZOLP_get_bomline_revtag, first_line));
  cases.add("ZOLP_get_bomline_itemtag", "", "good 0: S1" + looked_up)
      .call(outputs_of(ZOLP_get_bomline_itemtag, first_line));
  cases
      .add("ZOLP_get_bomline_item_and_rev", "", R"(good 0: S1|A;
        ignores OBJ_get_value_string: null|A; passes OBJ_get_value_string: S1|null)")
      .call(outputs_of(ZOLP_get_bomline_item_and_rev, first_line));
}

// ----------------------------------------------------------------------------------------- walks

void add_changing_walks(Cases& cases) {
  // Failures show in the trace; a line whose revision cannot be read gets a number of its own.
  cases
      .add("ZOLP_resequence_bom", "two children", R"(good 0: 100;
        answers 0 BOMW_line_get_child_lines: 10;
        ignores BOMW_line_look_up_attribute then OBJ_set_value_string BOMW_line_look_up_attribute
          BOMW_line_get_attribute_tag OBJ_set_value_string: 100;
        ignores BOMW_line_get_attribute_tag: 100; ignores OBJ_set_value_string: 10;
        ignores BOMW_line_look_up_attribute then OBJ_set_value_string: 100;
        ignores BOMW_line_get_attribute_tag OBJ_set_value_string: 100)")
      .call([](Run& run) {
        const tag top = top_line();
        int number = 100;
        int increment = 10;
        run.call([&] {
          return ZOLP_resequence_bom(top, &number, &increment, 0, 0, nullptr, nullptr, 0);
        });
        run.out(std::string_view(value(child_of(top), "bl_sequence_no")));
        prepared(BOMW_close_window(window), "close");
      });
  // A number that is free ends it without its exit line.
  cases.add("ZOLP_getUnusedSeqNo", "", "good 0 +1: 30").call([](Run& run) {
    tag used[] = {10, 20};
    int number = 10;
    run.call(ZOLP_getUnusedSeqNo, &number, 10, 2, used);
    run.out(number);
  });
  // S1, below it S3; then S2.
  cases
      .add("ZOLP_pack_bom", "all levels", R"(good 0; passes BOMW_line_get_child_lines BOMW_line_pack
          BOMW_line_get_child_lines x2 BOMW_line_pack BOMW_line_get_child_lines x2 BOMW_line_pack
          BOMW_line_get_child_lines x2)")
      .call(outputs_of(
          ZOLP_pack_bom, [](Run&) { return top_line(); }, logical{1}));
}

/** A walk that counts from 0, or appends to a list; shown is the number in the end. */
template <typename Walk>
auto counted(Walk walk) {
  return [walk](Run& run) {
    const tag top = top_line();
    int count = 0;
    tag* list = nullptr;
    run.call(walk, top, &count, &list);
    run.out(count);
    MEM_free(list);
  };
}

void add_reading_walks(Cases& cases) {
  // The lines are read in the order T, S1, S3, S2.
  cases
      .add("ZOLP_get_max_depth_of_ps", "", R"(good 0: 1; ignores BOMW_line_get_child_lines then: 1;
        ignores BOMW_line_get_child_lines then BOMW_line_get_child_lines: 1;
        ignores BOMW_line_get_child_lines x2: 1)")
      .call(counted(
          [](tag top, int* depth, tag**) { return ZOLP_get_max_depth_of_ps(top, 0, depth); }));
  // A failure ends the walk over the siblings, and is no failure of the line above.
  cases
      .add("ZOLP_getSizeOfPS", "", R"(good 0: 4; passes BOMW_line_get_child_lines: 1;
        answers 0 BOMW_line_get_child_lines: 2; ignores BOMW_line_get_child_lines x2: 4)")
      .call(counted(
          [](tag top, int* size, tag**) { return ZOLP_getSizeOfPS(top, 0, nullptr, size); }));
  const std::string each_exhausted = "; exhausted 1: 0; exhausted 1: 1; exhausted 1: 2";
  cases
      .add("ZOLP_excludeListFromBom", "nothing left out",
           R"(good 0: 3; passes BOMW_line_get_child_lines: 0; passes BOMW_line_get_child_lines: 1;
             passes BOMW_line_get_child_lines: 2; passes BOMW_line_get_child_lines: 3)" +
               each_exhausted)
      .call(counted([](tag top, int* count, tag** list) {
        return ZOLP_excludeListFromBom(top, nullptr, 0, 0, nullptr, count, list);
      }));
  cases
      .add("ZOLP_getSeqNoListOfBom", "",
           R"(good 0: 3; passes BOMW_line_get_child_lines OBJ_get_value_string: 0;
             passes BOMW_line_get_child_lines OBJ_get_value_string: 1;
             passes BOMW_line_get_child_lines OBJ_get_value_string: 2;
             passes BOMW_line_get_child_lines: 3)" +
               each_exhausted)
      .call(counted([](tag top, int* count, tag** list) {
        return ZOLP_getSeqNoListOfBom(top, 0, nullptr, count, list);
      }));
  // T once for each of its children, S1 for its child. A failure at S1 and S3 is none of T's, but
  // T's other children are left out.
  cases
      .add("ZOLP_exportObjectsFromBom", "items", R"(good 0: 2; aborts BOMW_line_get_child_lines: 0;
        passes BOMW_line_look_up_attribute BOMW_line_get_attribute_tag: 0;
        ignores STORE_is_tag_valid: 2; answers 0 +1 BOMW_line_get_child_lines: 1;
        answers 0 BOMW_line_look_up_attribute BOMW_line_get_attribute_tag: 1;
        ignores STORE_is_tag_valid: 1; ignores +1 BOMW_line_get_child_lines: 2;
        passes BOMW_line_look_up_attribute BOMW_line_get_attribute_tag: 2;
        ignores STORE_is_tag_valid: 2; ignores +1 BOMW_line_get_child_lines: 2;
        exhausted 0 x2: 1)")
      .call(counted([](tag top, int* count, tag** list) {
        return ZOLP_exportObjectsFromBom(top, "Item", nullptr, 0, count, list);
      }));
  // Without one of the two revisions they differ, and the child is looked into. One that is found
  // ends the walk without its exit line.
  const std::string below =
      "BOMW_line_look_up_attribute BOMW_line_get_attribute_tag BOMW_line_get_child_lines: 0;";
  const std::string look_up = "BOMW_line_look_up_attribute BOMW_line_get_attribute_tag then ";
  cases
      .add("ZOLP_existObjectInBom", "a child",
           "good 0 +1: 1; answers 0 " + look_up + "BOMW_line_get_child_lines " +
               "BOMW_line_look_up_attribute BOMW_line_get_attribute_tag " + below +
               "answers 0 BOMW_line_get_child_lines: 0; answers 0 " + look_up + below)
      .call([](Run& run) {
        const tag line = child_of(top_line());
        const tag below_line = child_of(line);
        logical found = untouched_number;
        run.call(ZOLP_existObjectInBom, below_line, line, &found);
        run.out(found);
      });
}

}  // namespace

void add_structure_cases(Cases& cases) {
  add_view_types(cases);
  add_children(cases);
  add_occurrences(cases);
  add_line_values(cases);
  add_changing_walks(cases);
  add_reading_walks(cases);
}

}  // namespace sweep
