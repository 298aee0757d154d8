// Related objects, attributes of classes, file names of exports.

#include <ctime>

#include "ork/mem.h"
#include "ork/store.h"
#include "support/fixed_time.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

auto list_related(const char* name, const char* relation, logical reverse) {
  return [=](Run& run) {
    int count = untouched_number;
    tag* list = untouched<tag>();
    run.call(ZOLP_GetAttachedObjs, object(name), relation, &count, &list, reverse);
    run.out(count).out_tags(count, list);
    MEM_free(list == untouched<tag>() ? nullptr : list);
  };
}

auto find_first_related(const char* name, logical reverse) {
  return [=](Run& run) {
    tag first = untouched_tag;
    run.call(ZOLP_GetFirstAttachedObj, object(name), "Documents", &first, reverse);
    run.out_tag(first);
  };
}

void add_relations(Cases& cases) {
  const Step unknown_type = aborts("REL_find_relation_type", "99|untouched");
  cases.add("ZOLP_GetAttachedObjs", "attached objects")
      .good({0, "2|100/C 100/A"})
      .steps({unknown_type, passes("REL_list_secondary_objects_only", "0|null")})
      .call(list_related("100/B", "Documents", 0));
  cases.add("ZOLP_GetAttachedObjs", "attached objects of any type")
      .good({0, "2|100/C 100/A"})
      .steps({passes("REL_list_secondary_objects_only", "0|null")})
      .call(list_related("100/B", "", 0));
  cases.add("ZOLP_GetAttachedObjs", "objects that it is attached to")
      .good({0, "1|100/B"})
      .steps({unknown_type, passes("REL_list_primary_objects", "0|null")})
      .allocations({exhausted(1, "0|null")})
      .call(list_related("100/A", "Documents", 1));
  cases.add("ZOLP_GetFirstAttachedObj", "attached objects")
      .good({0, "100/C"})
      .steps({passes("REL_find_relation_type", "0").open(1),
              passes("REL_list_secondary_objects_only", "0")})
      .call(find_first_related("100/B", 0));
  cases.add("ZOLP_GetFirstAttachedObj", "objects that it is attached to")
      .good({0, "100/B"})
      .steps(
          {passes("REL_find_relation_type", "0").open(1), passes("REL_list_primary_objects", "0")})
      .allocations({exhausted(1, "0")})
      .call(find_first_related("100/A", 1));
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
      left -= left > 0 ? attributes_of(name) : 0;
      classes += left >= 0 && count > 0 ? 1 : 0;
      if (left == 0) {
        break;
      }
    }
    run.out(classes).out(left == 0 ? "whole" : "in parts");
    run.out(room == count ? "as needed" : std::to_string(room));
    MEM_free(ids);
  };
}

void add_attributes(Cases& cases) {
  const auto ends = [](const char* operation, const char* collected) {
    return answers(operation, 0, collected);
  };
  cases.add("ListAllClassAttributes", "into an array of its own")
      .good({0, "3|whole|100"})
      .steps({ends("STORE_describe_class", "0|whole|100"),
              ends("STORE_superclasses_of_class", "1|whole|100"),
              ends("STORE_describe_class", "1|whole|100"),
              ends("STORE_superclasses_of_class", "2|whole|100"),
              ends("STORE_describe_class", "2|whole|100"),
              ends("STORE_superclasses_of_class", "3|whole|100")})
      .allocations(  // Without the first room, there is another try with as much as is needed.
          {exhausted(0, "3|whole|as needed")})
      .call(list_attributes(0));
  cases.add("ListAllClassAttributes", "into a caller's array that must grow")
      .good({0, "3|whole|as needed"})
      .steps({ends("STORE_describe_class", "0|whole|1"),
              ends("STORE_superclasses_of_class", "1|whole|as needed"),
              ends("STORE_describe_class", "1|whole|as needed"),
              ends("STORE_superclasses_of_class", "2|whole|as needed"),
              ends("STORE_describe_class", "2|whole|as needed"),
              ends("STORE_superclasses_of_class", "3|whole|as needed")})
      .allocations({exhausted(0, "0|whole|1"), exhausted(0, "1|whole|as needed"),
                    exhausted(0, "2|whole|as needed")})
      .call(list_attributes(1));
}

void add_file_names(Cases& cases) {
  cases.add("ZOLP_buildFileName", "")
      .good({0, "p\\100_B_14032013090507_1234.txt"})
      .steps({// Without the item its id cannot be asked for, which fails by itself.
              ignores("ITEM_get_item_of_rev", "p\\_B_14032013090507_1234.txt"),
              ignores("ITEM_get_id", "p\\_B_14032013090507_1234.txt"),
              ignores("ITEM_get_rev_id", "p\\100__14032013090507_1234.txt")})
      .call([](Run& run) {
        char name[ZOLP_FILE_NAME_SIZE] = "x";
        run.call(ZOLP_buildFileName, object("100/B"), "p", name, "txt");
        run.out(name);
      })
      .prepare([] { static const test::FixedTime fixed_time; });
}

}  // namespace

void add_relation_cases(Cases& cases) {
  add_relations(cases);
  add_attributes(cases);
  add_file_names(cases);
}

}  // namespace sweep
