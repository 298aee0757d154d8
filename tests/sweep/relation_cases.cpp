// Related objects, attributes of classes, file names of exports.

#include <ctime>

#include "ork/mem.h"
#include "ork/store.h"
#include "support/fixed_time.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_relations(Cases& cases) {
  const auto related = [](const char* name, const char* relation, logical reverse) {
    return outputs_of(ZOLP_GetAttachedObjs, object(name), relation, out, out, reverse);
  };
  const std::string unknown_type = "; aborts REL_find_relation_type: 99|untouched;";
  cases
      .add(
          "ZOLP_GetAttachedObjs", "attached objects",
          "good 0: 2|100/C 100/A" + unknown_type + "passes REL_list_secondary_objects_only: 0|null")
      .call(related("100/B", "Documents", 0));
  cases
      .add("ZOLP_GetAttachedObjs", "attached objects of any type",
           "good 0: 2|100/C 100/A; passes REL_list_secondary_objects_only: 0|null")
      .call(related("100/B", "", 0));
  cases
      .add("ZOLP_GetAttachedObjs", "objects that it is attached to",
           "good 0: 1|100/B" + unknown_type +
               "passes REL_list_primary_objects: 0|null; exhausted 1: 0|null")
      .call(related("100/A", "Documents", 1));
  cases
      .add("ZOLP_GetFirstAttachedObj", "attached objects", R"(good 0: 100/C;
        passes +1 REL_find_relation_type: 0; passes REL_list_secondary_objects_only: 0)")
      .call(outputs_of(ZOLP_GetFirstAttachedObj, object("100/B"), "Documents", out, logical{0}));
  cases
      .add("ZOLP_GetFirstAttachedObj", "objects that it is attached to", R"(good 0: 100/B;
        passes +1 REL_find_relation_type: 0; passes REL_list_primary_objects: 0; exhausted 1: 0)")
      .call(outputs_of(ZOLP_GetFirstAttachedObj, object("100/A"), "Documents", out, logical{1}));
}

tag class_named(const char* name) {
  tag class_id = NULLTAG;
  prepared(STORE_class_id_of_class(name, &class_id), name);
  return class_id;
}

int attributes_of(const char* class_name) {
  char* application = nullptr;
  int descriptor = 0;
  int count = 0;
  tag* ids = nullptr;
  prepared(STORE_describe_class(class_named(class_name), 0, nullptr, &application, &descriptor,
                                &count, &ids),
           class_name);
  MEM_free(application);
  MEM_free(ids);
  return count;
}

/** Collects the attributes of item revisions; shows of how many classes, and the room's size. */
auto list_attributes(int capacity) {
  return [capacity](Run& run) {
    const tag revisions = class_named("ItemRevision");
    int room = capacity;
    int count = 0;
    auto* ids = static_cast<tag*>(capacity > 0 ? MEM_alloc(sizeof(tag)) : nullptr);
    run.call(ListAllClassAttributes, revisions, &count, &ids, &room);
    int left = count;
    int classes = 0;
    for (const char* name : {"ItemRevision", "WorkspaceObject", "Object"}) {
      if (left > 0) {
        left -= attributes_of(name);
        classes += left >= 0 ? 1 : 0;
      }
    }
    run.out(classes).out(left == 0 ? "whole" : "in parts");
    run.out(room == count ? "as needed" : std::to_string(room));
    MEM_free(ids);
  };
}

}  // namespace

void add_relation_cases(Cases& cases) {
  add_relations(cases);
  // Without the first room, there is another try with as much as is needed.
  cases
      .add("ListAllClassAttributes", "into an array of its own", R"(good 0: 3|whole|100;
        answers 0 STORE_describe_class: 0|whole|100;
        answers 0 STORE_superclasses_of_class STORE_describe_class: 1|whole|100;
        answers 0 STORE_superclasses_of_class STORE_describe_class: 2|whole|100;
        answers 0 STORE_superclasses_of_class: 3|whole|100; exhausted 0: 3|whole|as needed)")
      .call(list_attributes(0));
  cases
      .add("ListAllClassAttributes", "into a caller's array that must grow", R"(
        good 0: 3|whole|as needed; answers 0 STORE_describe_class: 0|whole|1;
        answers 0 STORE_superclasses_of_class STORE_describe_class: 1|whole|as needed;
        answers 0 STORE_superclasses_of_class STORE_describe_class: 2|whole|as needed;
        answers 0 STORE_superclasses_of_class: 3|whole|as needed;
        exhausted 0: 0|whole|1; exhausted 0: 1|whole|as needed; exhausted 0: 2|whole|as needed)")
      .call(list_attributes(1));
  // Without the item its id cannot be asked for, which fails by itself.
  cases
      .add("ZOLP_buildFileName", "", R"(good 0: p\100_B_14032013090507_1234.txt;
        ignores ITEM_get_item_of_rev ITEM_get_id: p\_B_14032013090507_1234.txt;
        ignores ITEM_get_rev_id: p\100__14032013090507_1234.txt)")
      .call(outputs_of(ZOLP_buildFileName, object("100/B"), "p", out, "txt"))
      .prepare([] { static const test::FixedTime fixed_time; });
}

}  // namespace sweep
