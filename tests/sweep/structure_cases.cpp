// View types, occurrences, BOM lines and the walks over them.

#include "sweep.h"

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

void add_view_types(Cases& cases) {
  const auto ask_with = [](auto type_of_run) {
    return [type_of_run](Run& run) {
      const tag view = view_revision();
      const auto type = type_of_run();
      bool verdict = false;
      run.call([&] { return ZOLP_IsViewOfType(view, type, &verdict); });
      run.out(verdict ? 1 : 0);
    };
  };
  cases.add("ZOLP_IsViewOfType(unsigned int, unsigned int, bool*)").call(ask_with([] {
    tag type = NULLTAG;
    prepared(STRUCT_find_view_type("view", &type), "view type");
    return type;
  }));
  cases.add("ZOLP_IsViewOfType(unsigned int, char const*, bool*)").call(ask_with([] {
    return "view";
  }));
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
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, unsigned int, unsigned int*, unsigned int*, "
          "char**)",
          "an item")
      .call(ask_child([](tag released, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), released, item, revision, type_name);
      }));
  cases
      .add(
          "ZOLP_GetItemAndRevFromOccObj(unsigned int, char const*, unsigned int*, unsigned int*, "
          "char**)",
          "an item")
      .call(ask_child([](tag, tag* item, tag* revision, char** type_name) {
        return ZOLP_GetItemAndRevFromOccObj(object("S1"), "Released", item, revision, type_name);
      }));
  cases.add("ZOLP_GetItemFromOccObj(unsigned int, unsigned int*, char**)", "a revision")
      .call(ask_child([](tag, tag* item, tag*, char** type_name) {
        return ZOLP_GetItemFromOccObj(object("S1/A"), item, type_name);
      }));
}

void add_occurrences(Cases& cases) {
  cases.add("GetSeqNo(unsigned int, unsigned int, char**)")
      .call(outputs_of(
          GetSeqNo, [](Run&) { return view_revision(); }, [](Run&) { return occurrence(); }));
  cases
      .add(
          "ZOLP_GetOccNoteText(unsigned int, unsigned int, char const*, unsigned int**, int*, "
          "char**)")
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
  cases.add("ZOLP_getSequenceNo").call(outputs_of(ZOLP_getSequenceNo, first_line));
  cases.add("ZOLP_getQuantity").call(outputs_of(ZOLP_getQuantity, first_line));
  cases.add("ZOLP_setSequenceNo").call(set_line_text("bl_sequence_no", ZOLP_setSequenceNo));
  cases.add("ZOLP_setQuantity").call(set_line_text("bl_quantity", ZOLP_setQuantity));
  cases.add("ZOLP_get_bomline_revtag").call(outputs_of(ZOLP_get_bomline_revtag, first_line));
  cases.add("ZOLP_get_bomline_itemtag").call(outputs_of(ZOLP_get_bomline_itemtag, first_line));
  cases.add("ZOLP_get_bomline_item_and_rev")
      .call(outputs_of(ZOLP_get_bomline_item_and_rev, first_line));
}

// ----------------------------------------------------------------------------------------- walks

void add_changing_walks(Cases& cases) {
  cases.add("ZOLP_resequence_bom", "two children").call([](Run& run) {
    const tag top = top_line();
    int number = 100;
    int increment = 10;
    run.call(
        [&] { return ZOLP_resequence_bom(top, &number, &increment, 0, 0, nullptr, nullptr, 0); });
    run.out(std::string_view(value(child_of(top), "bl_sequence_no")));
    prepared(BOMW_close_window(window), "close");
  });
  cases.add("ZOLP_getUnusedSeqNo").call([](Run& run) {
    tag used[] = {10, 20};
    int number = 10;
    run.call(ZOLP_getUnusedSeqNo, &number, 10, 2, used);
    run.out(number);
  });
  cases.add("ZOLP_pack_bom", "all levels")
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
  cases.add("ZOLP_get_max_depth_of_ps").call(counted([](tag top, int* depth, tag**) {
    return ZOLP_get_max_depth_of_ps(top, 0, depth);
  }));
  cases.add("ZOLP_getSizeOfPS").call(counted([](tag top, int* size, tag**) {
    return ZOLP_getSizeOfPS(top, 0, nullptr, size);
  }));
  cases.add("ZOLP_excludeListFromBom", "nothing left out")
      .call(counted([](tag top, int* count, tag** list) {
        return ZOLP_excludeListFromBom(top, nullptr, 0, 0, nullptr, count, list);
      }));
  cases.add("ZOLP_getSeqNoListOfBom").call(counted([](tag top, int* count, tag** list) {
    return ZOLP_getSeqNoListOfBom(top, 0, nullptr, count, list);
  }));
  cases.add("ZOLP_exportObjectsFromBom", "items").call(counted([](tag top, int* count, tag** list) {
    return ZOLP_exportObjectsFromBom(top, "Item", nullptr, 0, count, list);
  }));
  cases.add("ZOLP_existObjectInBom", "a child").call([](Run& run) {
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
