// Related objects, attributes of classes, file names of exports.

#include <ctime>

#include "support/fixed_time.h"
#include "sweep.h"

namespace sweep {

namespace {

void add_relations(Cases& cases) {
  const auto related = [](const char* name, const char* relation, logical reverse) {
    return outputs_of(ZOLP_GetAttachedObjs, object(name), relation, out, out, reverse);
  };
  cases.add("ZOLP_GetAttachedObjs", "attached objects").call(related("100/B", "Documents", 0));
  cases.add("ZOLP_GetAttachedObjs", "attached objects of any type").call(related("100/B", "", 0));
  cases.add("ZOLP_GetAttachedObjs", "objects that it is attached to")
      .call(related("100/A", "Documents", 1));
  cases.add("ZOLP_GetFirstAttachedObj", "attached objects")
      .call(outputs_of(ZOLP_GetFirstAttachedObj, object("100/B"), "Documents", out, logical{0}));
  cases.add("ZOLP_GetFirstAttachedObj", "objects that it is attached to")
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
  cases.add("ListAllClassAttributes", "into an array of its own").call(list_attributes(0));
  cases.add("ListAllClassAttributes", "into a caller's array that must grow")
      .call(list_attributes(1));
  cases.add("ZOLP_buildFileName")
      .call(outputs_of(ZOLP_buildFileName, object("100/B"), "p", out, "txt"))
      .prepare([] { static const test::FixedTime fixed_time; });
}

}  // namespace sweep
