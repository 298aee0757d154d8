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

tag view_type() {
  tag type = NULLTAG;
  prepared(STRUCT_find_view_type("view", &type), "view type");
  return type;
}

tag rule() {
  tag found = NULLTAG;
  prepared(CONFIG_find("Released", &found), "rule");
  return found;
}

// ------------------------------------------------------------------ view types and occurrences

/** The test of a view revision's class: one that fails says no. */
std::vector<Step> view_steps() {
  const std::vector<std::string> rest = {"STRUCT_get_bom_view_of_bvr", "STRUCT_get_bom_view_type"};
  return {ignores("STORE_class_id_of_class", "1").calls(rest),
          ignores("STORE_class_of_instance", "1").calls(rest), ignores("STORE_is_descendant", "1"),
          passes("STRUCT_get_bom_view_of_bvr", "0"), passes("STRUCT_get_bom_view_type", "0")};
}

void add_view_types(Cases& cases) {
  cases.add("ZOLP_IsViewOfType(unsigned int, unsigned int, bool*)", "")
      .good({0, "1"})
      .steps(view_steps())
      .call([](Run& run) {
        const tag view = view_revision();
        const tag type = view_type();
        bool verdict = false;
        run.call([&] { return ZOLP_IsViewOfType(view, type, &verdict); });
        run.out(verdict ? 1 : 0);
      });
  cases.add("ZOLP_IsViewOfType(unsigned int, char const*, bool*)", "")
      .good({0, "1"})
      .steps(joined({aborts("STRUCT_find_view_type", "0")}, view_steps()))
      .call([](Run& run) {
        const tag view = view_revision();
        bool verdict = false;
        run.call([&] { return ZOLP_IsViewOfType(view, "view", &verdict); });
        run.out(verdict ? 1 : 0);
      });
}

/** What a call makes of an item that stands for a child. */
template <typename Ask>
auto ask_child(Ask ask) {
  return [ask](Run& run) {
    const tag released = rule();
    tag item = untouched_tag;
    tag revision = untouched_tag;
    char* type_name = untouched<char>();
    run.call(ask, released, &item, &revision, &type_name);
    run.out_tag(item).out_tag(revision).out(type_name);
    MEM_free(type_name);
  };
}

const std::vector<std::string> class_test = {"STORE_class_id_of_class", "STORE_class_of_instance",
                                             "STORE_is_descendant"};

/** An item for which a rule gives the revision. */
std::vector<Step> configured_steps() {
  const char* good = "S1|S1/A|Item";
  const char* neither = "untouched|untouched|Item";
  const std::vector<std::string> rest =
      joined(class_test, {"WSO_get_object_type", "CONFIG_item_get_configured"});
  return {ignores("STORE_class_id_of_class", good).calls(rest),
          ignores("STORE_class_of_instance", good).calls(rest),
          ignores("STORE_is_descendant", good),
          answers("STORE_class_id_of_class", 2010, neither).calls({"WSO_get_object_type"}),
          answers("STORE_class_of_instance", 2010, neither).calls({"WSO_get_object_type"}),
          answers("STORE_is_descendant", 2010, neither).calls({"WSO_get_object_type"}),
          ignores("WSO_get_object_type", "S1|S1/A|"),
          passes("CONFIG_item_get_configured", "S1|0|Item")};
}

void add_children(Cases& cases) {
  const Outcome without_type = {0, "S1|S1/A|null"};
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, unsigned int, unsigned int*, unsigned int*, "
          "char**)",
          "an item")
      .good({0, "S1|S1/A|Item"})
      .steps(configured_steps())
      .allocations({without_type})
      .call(ask_child([](tag released, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), released, item, revision, type_name);
      }));
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, char const*, unsigned int*, unsigned int*, "
          "char**)",
          "an item")
      .good({0, "S1|S1/A|Item"})
      .steps(joined({answers("CONFIG_find", 2010, "untouched|untouched|Item")
                         .calls(joined(joined(class_test, class_test), {"WSO_get_object_type"}))},
                    configured_steps()))
      .allocations({without_type})
      .call(ask_child([](tag, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), "Released", item, revision, type_name);
      }));
  const char* neither = "untouched|untouched|ItemRevision";
  const std::vector<std::string> rest = joined(class_test, {"WSO_get_object_type"});
  const char* good = "S1|untouched|ItemRevision";
  const std::vector<std::string> rest_of_good = {"WSO_get_object_type", "ITEM_get_item_of_rev"};
  cases.add("ZOLP_GetItemFromOccObj(unsigned int, unsigned int*, char**)", "a revision")
      .good({0, good})
      .steps({ignores("STORE_class_id_of_class", neither).calls(rest),
              ignores("STORE_class_of_instance", neither).calls(rest),
              ignores("STORE_is_descendant", neither).calls(rest),
              ignores("STORE_class_id_of_class", good).calls(rest_of_good),
              ignores("STORE_class_of_instance", good).calls(rest_of_good),
              ignores("STORE_is_descendant", good), ignores("WSO_get_object_type", "S1|untouched|"),
              passes("ITEM_get_item_of_rev", "0|untouched|ItemRevision")})
      .allocations({exhausted(0, "S1|untouched|null")})
      .call(ask_child([](tag, tag* item, tag*, char** type_name) {
        return ZOLP_GetItemFromOccObj(object("S1/A"), item, type_name);
      }));
}

void add_occurrences(Cases& cases) {
  cases.add("GetSeqNo(unsigned int, unsigned int, char**)", "")
      .good({0, "10"})
      .steps({passes("STRUCT_get_seq_no", "null")})
      .call([](Run& run) {
        const tag view = view_revision();
        const tag first = occurrence();
        char* number = untouched<char>();
        run.call(GetSeqNo, view, first, &number);
        run.out(number);
        MEM_free(number);
      });
  cases
      .add(
          "ZOLP_GetOccNoteText(unsigned int, unsigned int, char const*, unsigned int**, int*, "
          "char**)",
          "")
      .good({0, "12 Nm"})
      .steps({passes("STRUCT_list_occurrence_notes", "null"),
              passes("STRUCT_get_note_type_name", "null"),
              passes("STRUCT_get_occurrence_note_text", "null")})
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

template <typename Ask>
auto ask_line_text(Ask ask) {
  return [ask](Run& run) {
    const tag line = child_of(top_line());
    char* text = untouched<char>();
    run.call(ask, line, &text);
    run.out(text);
    MEM_free(text);
  };
}

template <typename Ask>
auto ask_line_object(Ask ask) {
  return [ask](Run& run) {
    const tag line = child_of(top_line());
    tag found = untouched_tag;
    run.call(ask, line, &found);
    run.out_tag(found);
  };
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
  const std::vector<Step> text = {passes("OBJ_get_value_string", "null")};
  cases.add("ZOLP_getSequenceNo", "")
      .good({0, "10"})
      .steps(text)
      .call(ask_line_text(ZOLP_getSequenceNo));
  cases.add("ZOLP_getQuantity", "")
      .good({0, "2"})
      .steps(text)
      .call(ask_line_text(ZOLP_getQuantity));
  cases.add("ZOLP_setSequenceNo", "")
      .good({0, "7"})
      .steps({passes("OBJ_set_value_string", "10")})
      .call(set_line_text("bl_sequence_no", ZOLP_setSequenceNo));
  cases.add("ZOLP_setQuantity", "")
      .good({0, "7"})
      .steps({passes("OBJ_set_value_string", "2")})
      .call(set_line_text("bl_quantity", ZOLP_setQuantity));
  const std::vector<Step> look_up = {passes("BOMW_line_look_up_attribute", "0"),
                                     passes("BOMW_line_get_attribute_tag", "0")};
  cases.add("ZOLP_get_bomline_revtag", "")
      .good({0, "S1/A"})
      .steps(look_up)
      .call(ask_line_object(ZOLP_get_bomline_revtag));
  cases.add("ZOLP_get_bomline_itemtag", "")
      .good({0, "S1"})
      .steps(look_up)
      .call(ask_line_object(ZOLP_get_bomline_itemtag));
  cases.add("ZOLP_get_bomline_item_and_rev", "")
      .good({0, "S1|A"})
      .steps({ignores("OBJ_get_value_string", "null|A"), passes("OBJ_get_value_string", "S1|null")})
      .call([](Run& run) {
        const tag line = child_of(top_line());
        char* item_id = untouched<char>();
        char* revision_id = untouched<char>();
        run.call(ZOLP_get_bomline_item_and_rev, line, &item_id, &revision_id);
        run.out(item_id).out(revision_id);
        MEM_free(item_id);
        MEM_free(revision_id);
      });
}

// ----------------------------------------------------------------------------------------- walks

constexpr const char* children = "BOMW_line_get_child_lines";
constexpr const char* look_up = "BOMW_line_look_up_attribute";
constexpr const char* get_tag = "BOMW_line_get_attribute_tag";
constexpr const char* get_text = "OBJ_get_value_string";
constexpr const char* set_text = "OBJ_set_value_string";

void add_numbering(Cases& cases) {
  // Failures show in the trace; a line whose revision cannot be read gets a number of its own.
  cases.add("ZOLP_resequence_bom", "two children")
      .good({0, "100"})
      .steps({answers(children, 0, "10"),
              ignores(look_up, "100").calls({set_text, look_up, get_tag, set_text}),
              ignores(get_tag, "100"), ignores(set_text, "10"),
              ignores(look_up, "100").calls({set_text}), ignores(get_tag, "100"),
              ignores(set_text, "100")})
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
  cases.add("ZOLP_getUnusedSeqNo", "").good({0, "30", 1}).call([](Run& run) {
    tag used[] = {10, 20};
    int number = 10;
    run.call(ZOLP_getUnusedSeqNo, &number, 10, 2, used);
    run.out(number);
  });
}

void add_packing(Cases& cases) {
  const auto ends = [](const char* operation) { return passes(operation); };
  cases.add("ZOLP_pack_bom", "all levels")
      .steps({ends(children), ends("BOMW_line_pack"), ends(children),
              // below S1, and below S3
              ends(children), ends("BOMW_line_pack"), ends(children), ends(children),
              // S2
              ends("BOMW_line_pack"), ends(children), ends(children)})
      .call([](Run& run) {
        const tag top = top_line();
        run.call(ZOLP_pack_bom, top, logical{1});
      });
}

void add_measures(Cases& cases) {
  // The lines are read in the order T, S1, S3, S2.
  cases.add("ZOLP_get_max_depth_of_ps", "")
      .good({0, "1"})
      .steps({ignores(children, "1").calls({}), ignores(children, "1").calls({children}),
              ignores(children, "1"), ignores(children, "1")})
      .call([](Run& run) {
        const tag top = top_line();
        int depth = 0;
        run.call(ZOLP_get_max_depth_of_ps, top, 0, &depth);
        run.out(depth);
      });
  // A failure ends the walk over the siblings, and is no failure of the line above.
  cases.add("ZOLP_getSizeOfPS", "")
      .good({0, "4"})
      .steps({passes(children, "1"), answers(children, 0, "2"), ignores(children, "4"),
              ignores(children, "4")})
      .call([](Run& run) {
        const tag top = top_line();
        int size = 0;
        run.call(ZOLP_getSizeOfPS, top, 0, nullptr, &size);
        run.out(size);
      });
}

/** A list that a walk appends to, shown by its length. */
template <typename Walk>
auto collect(Walk walk) {
  return [walk](Run& run) {
    const tag top = top_line();
    int count = 0;
    tag* list = nullptr;
    run.call(walk, top, &count, &list);
    run.out(count);
    MEM_free(list);
  };
}

void add_collections(Cases& cases) {
  cases.add("ZOLP_excludeListFromBom", "nothing left out")
      .good({0, "3"})
      .steps({passes(children, "0"), passes(children, "1"), passes(children, "2"),
              passes(children, "3")})
      .allocations({exhausted(1, "0"), exhausted(1, "1"), exhausted(1, "2")})
      .call(collect([](tag top, int* count, tag** list) {
        return ZOLP_excludeListFromBom(top, nullptr, 0, 0, nullptr, count, list);
      }));
  cases.add("ZOLP_getSeqNoListOfBom", "")
      .good({0, "3"})
      .steps({passes(children, "0"), passes(get_text, "0"), passes(children, "1"),
              passes(get_text, "1"), passes(children, "2"), passes(get_text, "2"),
              passes(children, "3")})
      .allocations({exhausted(1, "0"), exhausted(1, "1"), exhausted(1, "2")})
      .call(collect([](tag top, int* count, tag** list) {
        return ZOLP_getSeqNoListOfBom(top, 0, nullptr, count, list);
      }));
  // T once for each of its children, S1 for its child.
  cases.add("ZOLP_exportObjectsFromBom", "items")
      .good({0, "2"})
      .steps({aborts(children, "0"), passes(look_up, "0"), passes(get_tag, "0"),
              ignores("STORE_is_tag_valid", "2"),
              // S1 and S3: a failure there is none of T's, but T's other children are left out
              answers(children, 0, "1").open(1), answers(look_up, 0, "1"), answers(get_tag, 0, "1"),
              ignores("STORE_is_tag_valid", "1"), ignores(children, "2").open(1),
              // T for S2
              passes(look_up, "2"), passes(get_tag, "2"), ignores("STORE_is_tag_valid", "2"),
              ignores(children, "2").open(1)})
      .allocations({exhausted(0, "1"), exhausted(0, "1")})
      .call(collect([](tag top, int* count, tag** list) {
        return ZOLP_exportObjectsFromBom(top, "Item", nullptr, 0, count, list);
      }));
}

void add_search(Cases& cases) {
  // Without one of the two revisions they differ, and the child is looked into.
  const std::vector<std::string> below = {look_up, get_tag, children};
  // One that is found ends the walk without its exit line.
  cases.add("ZOLP_existObjectInBom", "a child")
      .good({0, "1", 1})
      .steps({answers(look_up, 0, "0").calls(joined({children, look_up, get_tag}, below)),
              answers(get_tag, 0, "0").calls(joined({children, look_up, get_tag}, below)),
              answers(children, 0, "0"), answers(look_up, 0, "0").calls(below),
              answers(get_tag, 0, "0").calls(below)})
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
  add_numbering(cases);
  add_packing(cases);
  add_measures(cases);
  add_collections(cases);
  add_search(cases);
}

}  // namespace sweep
