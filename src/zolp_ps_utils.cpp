// BOM lines: their values, and walks over the lines below one.
//
// The walks call themselves once per level. What goes into their frames is kept small: structures
// are as deep as sites make them, and the stack is the host process's.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "call_frame.h"
#include "host_memory.h"
#include "numbering_pass.h"
#include "ork/bomw.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::HostPtr;
using orktool::out;
using orktool::print_failure;
using orktool::shown;

// --------------------------------------------------------------------------- values of a line

int ZOLP_getSequenceNo(tag line, char** seq_no) {
  FRAME(frame, "ZOLP_getSequenceNo");
  int status = ORK_ok;
  *seq_no = nullptr;
  TRACED(status, "OBJ_get_value_string(bomline, \"bl_sequence_no\", seqno)",
         OBJ_get_value_string(line, "bl_sequence_no", seq_no));
  ZOLP_TRACE("seqno <%s>\n", *seq_no);
  return frame.leave(status);
}

int ZOLP_setSequenceNo(tag line, const char* seq_no) {
  FRAME(frame, "ZOLP_setSequenceNo");
  int status = ORK_ok;
  TRACED(status, "OBJ_set_value_string(bomline, \"bl_sequence_no\", seqno)",
         OBJ_set_value_string(line, "bl_sequence_no", seq_no));
  return frame.leave(status);
}

int ZOLP_getQuantity(tag line, char** quantity) {
  FRAME(frame, "ZOLP_getQuantity");
  int status = ORK_ok;
  *quantity = nullptr;
  TRACED(status, "OBJ_get_value_string(bomline, \"bl_quantity\", quantity)",
         OBJ_get_value_string(line, "bl_quantity", quantity));
  return frame.leave(status);
}

int ZOLP_setQuantity(tag line, const char* quantity) {
  FRAME(frame, "ZOLP_setQuantity");
  int status = ORK_ok;
  TRACED(status, "OBJ_set_value_string(bomline, \"bl_quantity\", quantity)",
         OBJ_set_value_string(line, "bl_quantity", quantity));
  return frame.leave(status);
}

int ZOLP_get_bomline_revtag(tag line, tag* item_rev) {
  FRAME(frame, "ZOLP_get_bomline_revtag");
  int status = ORK_ok;
  int attribute = 0;
  *item_rev = NULLTAG;
  TRACED(status, "BOMW_line_look_up_attribute(\"bl_revision\", &attribute)",
         BOMW_line_look_up_attribute("bl_revision", &attribute));
  if (status == ORK_ok) {
    TRACED(status, "BOMW_line_get_attribute_tag(bomline, attribute, item_rev)",
           BOMW_line_get_attribute_tag(line, attribute, item_rev));
  }
  ZOLP_TRACE("Found for BOMLine <%d> rev tag <%d>\n", shown(line), shown(*item_rev));
  return frame.leave(status);
}

int ZOLP_get_bomline_itemtag(tag line, tag* item) {
  FRAME(frame, "ZOLP_get_bomline_itemtag");
  int status = ORK_ok;
  int attribute = 0;
  *item = NULLTAG;
  TRACED(status, "BOMW_line_look_up_attribute(\"bl_item\", &attribute)",
         BOMW_line_look_up_attribute("bl_item", &attribute));
  if (status == ORK_ok) {
    TRACED(status, "BOMW_line_get_attribute_tag(bomline, attribute, item)",
           BOMW_line_get_attribute_tag(line, attribute, item));
  }
  return frame.leave(status);
}

int ZOLP_get_bomline_item_and_rev(tag line, char** item_id, char** rev_id) {
  FRAME(frame, "ZOLP_get_bomline_item_and_rev");
  int status = ORK_ok;
  *item_id = nullptr;
  *rev_id = nullptr;
  TRACED(status, "OBJ_get_value_string(bomline, \"bl_item_item_id\", item_id)",
         OBJ_get_value_string(line, "bl_item_item_id", item_id));
  TRACED(status, "OBJ_get_value_string(bomline, \"bl_rev_item_revision_id\", rev_id)",
         OBJ_get_value_string(line, "bl_rev_item_revision_id", rev_id));
  ZOLP_TRACE("Found for BOMLine <%d> item <%s> rev <%s>\n", shown(line), *item_id, *rev_id);
  return frame.leave(status);
}

// ------------------------------------------------------------------------------- resequencing

namespace {

/** Reads the lines right below a line. Not part of the recursion's frames. */
[[gnu::noinline]] int read_children(tag line, int* count, HostPtr<tag>& children) {
  int status = ORK_ok;
  TRACED(status, "BOMW_line_get_child_lines(bomline, &count, &children)",
         BOMW_line_get_child_lines(line, count, out(children)));
  if (status != ORK_ok || children == nullptr) {
    *count = 0;
  }
  return status;
}

/** One pass, or one for each line that is to keep its number. Not part of the recursion's frames.
 */
[[gnu::noinline]] int number_children(const tag* children, int count, int* number, int increment,
                                      const tag* not_desired, int not_desired_count) {
  try {
    const int passes = not_desired != nullptr ? not_desired_count : 0;
    if (passes < 1) {
      orktool::number_all(children, count, number, increment);
    }
    for (int k = 0; k < passes; ++k) {
      orktool::number_all_but(children, count, number, increment, k, not_desired[k]);
    }
    return 0;
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR("ZOLP_resequence_bom alloc Memory");
    return 1;
  }
}

}  // namespace

int ZOLP_resequence_bom(tag line, int* current_seq, int* increment, logical recursive,
                        int max_depth, int* depth, tag* not_desired, int not_desired_count) {
  FRAME(frame, "ZOLP_resequence_bom");
  ZOLP_TRACE("count_of_not_desired_bomlines:%d\n", not_desired_count);
  int number = *current_seq;
  int step = *increment;
  ZOLP_TRACE("local_current_seq_no:%d: local_seqno_incr:%d:\n", number, step);
  int count = 0;
  HostPtr<tag> children;
  read_children(line, &count, children);
  ZOLP_TRACE("Count of children:%d \n", count);
  if (number_children(children.get(), count, &number, step, not_desired, not_desired_count) != 0) {
    return 1;
  }
  bool descends = recursive != 0;
  if (descends && max_depth != 0) {
    ++*depth;
    ZOLP_TRACE("depth:%d\n", *depth);
    descends = *depth <= max_depth;
  }
  for (int i = 0; descends && i < count; ++i) {
    if (ZOLP_resequence_bom(children.get()[i], &number, &step, recursive, max_depth, depth,
                            not_desired, not_desired_count) != 0) {
      return 1;
    }
  }
  return frame.leave(0);
}

// ------------------------------------------------------------------------------------ packing

namespace {

constexpr char pack_name[] = "ZOLP_pack_bom";

/**
 * Packs the children of a line. A child whose packing has merged lines ends it: `merged` tells so,
 * and the line is packed anew.
 */
int pack_children(tag line, logical recursive, bool* merged) {
  FRAME(frame, pack_name);
  int status = ORK_ok;
  int count = 0;
  HostPtr<tag> children;
  TRACED(status, "BOMW_line_get_child_lines(bomline, &count, &childs)",
         BOMW_line_get_child_lines(line, &count, out(children)));
  for (int i = 0; children != nullptr && i < count && status == ORK_ok; ++i) {
    TRACED(status, "BOMW_line_pack(childs[i])", BOMW_line_pack(children.get()[i]));
    if (status != ORK_ok || recursive == 0) {
      continue;
    }
    int new_count = 0;
    HostPtr<tag> new_children;
    TRACED(status, "BOMW_line_get_child_lines(bomline, &count2, &childs2)",
           BOMW_line_get_child_lines(line, &new_count, out(new_children)));
    if (status != ORK_ok) {
      break;
    }
    new_children.reset();
    if (new_count != count) {
      *merged = true;
      frame.stay_open();
      return status;
    }
    status = ZOLP_pack_bom(children.get()[i], recursive);
  }
  return frame.leave(status);
}

}  // namespace

int ZOLP_pack_bom(tag line, logical recursive) {
  // Packing a line anew is a call inside the call. There are as many as children that merge, so a
  // loop makes them, and ends their frames from the innermost outwards.
  int open_frames = -1;
  int status = ORK_ok;
  bool merged = false;
  do {
    ++open_frames;
    merged = false;
    status = pack_children(line, recursive, &merged);
  } while (merged);
  for (; open_frames > 0; --open_frames) {
    LEAVE_FRAME(pack_name);
  }
  return status;
}

// ------------------------------------------------------------------------------ depth and size

int ZOLP_get_max_depth_of_ps(tag line, int level, int* max_depth) {
  FRAME(frame, "ZOLP_get_max_depth_of_ps");
  int count = 0;
  HostPtr<tag> children;
  read_children(line, &count, children);
  const int below = orktool::next_number(level, 1);
  if (*max_depth < below) {
    *max_depth = below;
  }
  for (int i = 0; i < count; ++i) {
    ZOLP_get_max_depth_of_ps(children.get()[i], below, max_depth);
  }
  children.reset();
  // What deeper levels have found is lost here; callers have come to expect it.
  *max_depth = below;
  ZOLP_TRACE("maximale-depth:%d\n", below);
  return frame.leave(0);
}

namespace {

/** Counts a descent. The counter bounds the descents of a whole walk, not their depth. */
bool may_descend(int limit, int* counter) {
  return limit == 0 || ++*counter <= limit;
}

}  // namespace

int ZOLP_getSizeOfPS(tag line, int limit, int* counter, int* size) {
  FRAME(frame, "ZOLP_getSizeOfPS");
  ++*size;
  int count = 0;
  HostPtr<tag> children;
  int status = read_children(line, &count, children);
  if (status != ORK_ok) {
    return frame.leave(print_failure(status));
  }
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    if (may_descend(limit, counter)) {
      status = ZOLP_getSizeOfPS(children.get()[i], limit, counter, size);
    }
  }
  children.reset();
  ZOLP_TRACE("size:%d\n", *size);
  return frame.leave(0);
}

// ---------------------------------------------------------------------- collecting and finding

int ZOLP_excludeListFromBom(tag line, int* counter, int limit, int exclude_count, tag* exclude,
                            int* out_count, tag** out_array) {
  FRAME(frame, "ZOLP_excludeListFromBom");
  int count = 0;
  HostPtr<tag> children;
  int status = read_children(line, &count, children);
  for (int i = 0; i < count && status == ORK_ok; ++i) {
    const tag child = children.get()[i];
    logical found = 0;
    ZOLP_searchElementInArray(child, exclude, exclude_count, &found);
    if (found == 0) {
      status = ZOLP_addElement(child, out_count, out_array);
    }
    if (status == ORK_ok && may_descend(limit, counter)) {
      status = ZOLP_excludeListFromBom(child, counter, limit, exclude_count, exclude, out_count,
                                       out_array);
    }
  }
  return frame.leave(status);
}

int ZOLP_existObjectInBom(tag line, tag top_line, logical* found) {
  FRAME(frame, "ZOLP_existObjectInBom");
  int status = ORK_ok;
  tag wanted = NULLTAG;
  int count = 0;
  HostPtr<tag> children;
  ZOLP_get_bomline_revtag(line, &wanted);
  TRACED(status, "BOMW_line_get_child_lines (top_line, &iChildCount, &children)",
         BOMW_line_get_child_lines(top_line, &count, out(children)));
  if (status != ORK_ok || children == nullptr) {
    count = 0;
  }
  for (int i = 0; i < count; ++i) {
    tag revision = NULLTAG;
    ZOLP_get_bomline_revtag(children.get()[i], &revision);
    if (revision == wanted) {
      *found = 1;
      return 0;
    }
    ZOLP_existObjectInBom(line, children.get()[i], found);
  }
  children.reset();
  // This also takes back what was found further down: only direct children count.
  *found = 0;
  return frame.leave(0);
}

namespace {

/** Reads a line's sequence number and adds it to a list. Not part of the recursion's frames. */
[[gnu::noinline]] int add_sequence_number(tag line, int* count, tag** list) {
  HostPtr<char> text;
  const int status = ZOLP_getSequenceNo(line, out(text));
  if (status != ORK_ok) {
    return status;
  }
  const auto number =
      static_cast<int>(std::strtol(orktool::text_or_empty(text.get()), nullptr, 10));
  return ZOLP_addElement(static_cast<tag>(number), count, list);
}

}  // namespace

int ZOLP_getSeqNoListOfBom(tag line, int limit, int* counter, int* count, tag** list) {
  FRAME(frame, "ZOLP_getSeqNoListOfBom");
  int child_count = 0;
  HostPtr<tag> children;
  int status = read_children(line, &child_count, children);
  for (int i = 0; i < child_count && status == ORK_ok; ++i) {
    status = add_sequence_number(children.get()[i], count, list);
    if (status == ORK_ok && may_descend(limit, counter)) {
      status = ZOLP_getSeqNoListOfBom(children.get()[i], limit, counter, count, list);
    }
  }
  return frame.leave(status);
}

int ZOLP_getUnusedSeqNo(int* seq_no, int increment, int count, tag* list) {
  static constexpr char name[] = "ZOLP_getUnusedSeqNo";
  // Trying the next number is a call inside the call, as often as there are used numbers: a loop
  // makes them. The innermost one, which finds its number unused, leaves without an exit line.
  for (int open_frames = 0;; ++open_frames) {
    FRAME(frame, name);
    logical found = 0;
    const int status = ZOLP_searchElement(static_cast<tag>(*seq_no), &list, &count, &found);
    if (status != ORK_ok) {
      return frame.leave(print_failure(status));
    }
    if (found == 0) {
      frame.abandon();
      for (; open_frames > 0; --open_frames) {
        LEAVE_FRAME(name);
      }
      return 0;
    }
    if (increment == 0 || open_frames >= count) {
      // It has come back to a number that it has tried, and would go on for ever.
      const int failed = frame.leave(print_failure(1));
      for (; open_frames > 0; --open_frames) {
        LEAVE_FRAME(name);
      }
      return failed;
    }
    *seq_no = orktool::next_number(*seq_no, increment);
    frame.stay_open();
  }
}

// --------------------------------------------------------------------------- objects of lines

namespace {

/** The list that a walk collects objects in. */
struct ObjectList {
  int* count;
  tag** array;
  bool is_exhausted = false; /**< memory did not suffice for an object */
};

/** Not part of the recursion's frames. */
[[gnu::noinline]] void add_valid_object(tag object, ObjectList& list) {
  if (object == NULLTAG) {
    return;
  }
  int status = ORK_ok;
  logical valid = 0;
  TRACED(status, "STORE_is_tag_valid(object, &valid)", STORE_is_tag_valid(object, &valid));
  if (status == ORK_ok && valid != 0 && ZOLP_addElement(object, list.count, list.array) != ORK_ok) {
    list.is_exhausted = true;
  }
}

/** Not part of the recursion's frames. */
[[gnu::noinline]] int add_datasets(tag revision, ObjectList& list) {
  int count = 0;
  HostPtr<ITEM_attached_object_s> attachments;
  GUARDED("ITEM_list_all_rev_attachments(item_rev, &count, &attachments)",
          ITEM_list_all_rev_attachments(revision, &count, out(attachments)));
  for (int i = 0; attachments != nullptr && i < count && !list.is_exhausted; ++i) {
    const tag attachment = attachments.get()[i].attachment;
    logical is_dataset = 0;
    ZOLP_isObjectOfClass(attachment, "Dataset", &is_dataset);
    if (is_dataset != 0) {
      add_valid_object(attachment, list);
    }
  }
  return ORK_ok;
}

/** What is collected of each line. */
enum class Wanted { nothing, item, revision, datasets };

Wanted wanted_by(std::string_view class_name) {
  return class_name == "Item"           ? Wanted::item
         : class_name == "ItemRevision" ? Wanted::revision
         : class_name == "Dataset"      ? Wanted::datasets
                                        : Wanted::nothing;
}

}  // namespace

int ZOLP_exportObjectsFromBom(tag line, const char* class_name, void* reserved, int reserved2,
                              int* count, tag** list) {
  FRAME(frame, "ZOLP_exportObjectsFromBom");
  if (line == NULLTAG) {
    return frame.leave(1);
  }
  int child_count = 0;
  HostPtr<tag> children;
  GUARDED("BOMW_line_get_child_lines(bomline, &count, &children)",
          BOMW_line_get_child_lines(line, &child_count, out(children)));
  const Wanted wanted = wanted_by(orktool::text_or_empty(class_name));
  int status = ORK_ok;
  ObjectList objects{count, list};
  for (int i = 0;
       children != nullptr && i < child_count && status == ORK_ok && !objects.is_exhausted; ++i) {
    if (wanted != Wanted::nothing) {
      tag object = NULLTAG;
      status = wanted == Wanted::item ? ZOLP_get_bomline_itemtag(line, &object)
                                      : ZOLP_get_bomline_revtag(line, &object);
      if (status != ORK_ok) {
        return frame.leave(print_failure(status));
      }
      if (wanted != Wanted::datasets) {
        add_valid_object(object, objects);
      } else if (status = add_datasets(object, objects); status != ORK_ok) {
        return status;
      }
    }
    status =
        ZOLP_exportObjectsFromBom(children.get()[i], class_name, reserved, reserved2, count, list);
  }
  return frame.leave(0);
}
