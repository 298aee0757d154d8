// Release statuses, tests of types and classes, lookup of items.

#include "sweep.h"

namespace sweep {

namespace {

void add_statuses(Cases& cases) {
  cases.add("ZOLP_ask_status_names", "two statuses").call([](Run& run) {
    int count = untouched_number;
    char** names = untouched<char*>();
    run.call(ZOLP_ask_status_names, object("100/A"), &count, &names);
    run.out(count).out_texts(count, names);
    if (names != untouched<char*>()) {
      MEM_free(names[0]);
      MEM_free(names[1]);
      MEM_free(names);
    }
  });
  cases.add("ZOLP_ask_status", "two statuses").call([](Run& run) {
    int count = untouched_number;
    ZOLP_status_record* records = untouched<ZOLP_status_record>();
    run.call(ZOLP_ask_status, object("100/A"), &count, &records);
    run.out(count);
    if (records == untouched<ZOLP_status_record>()) {
      run.out("untouched");
      return;
    }
    for (int i = 0; i < count; ++i) {
      run.out(records[i].name).out(records[i].date_released.year);
    }
    MEM_free(records);
  });
  cases.add("ZOLP_ask_latest_status", "two statuses")
      .call(outputs_of(ZOLP_ask_latest_status, object("100/A")));
}

void add_classes_and_types(Cases& cases) {
  cases.add("ZOLP_TYPE_ask_name").call([](Run& run) {
    tag type = NULLTAG;
    prepared(TYPE_find_type("Press", nullptr, &type), "type");
    char name[ZOLP_NAME_SIZE + 1] = "";
    run.call(ZOLP_TYPE_ask_name, type, name);
    run.out(name);
  });
  cases.add("ZOLP_isObjectOfClass")
      .call(outputs_of(ZOLP_isObjectOfClass, object("100"), "WorkspaceObject"));
  cases.add("ZOLP_isWorkspaceObject").call(outputs_of(ZOLP_isWorkspaceObject, object("100")));
  cases.add("ZOLP_isObjectOfTypeExt", "of a subtype")
      .call(outputs_of(ZOLP_isObjectOfTypeExt, object("100"), "Machine", out, logical{1}));
  cases.add("ZOLP_isObjectOfType").call(outputs_of(ZOLP_isObjectOfType, object("100"), "Press"));
}

void add_states(Cases& cases) {
  cases.add("ZOLP_Test_STORE_instance_isNew", "a new item")
      .call(outputs_of(ZOLP_Test_STORE_instance_isNew, [](Run& run) {
        tag item = NULLTAG;
        tag revision = NULLTAG;
        const std::string id = "new " + std::to_string(run.number);
        prepared(ITEM_create_item(id.c_str(), "New", nullptr, "A", &item, &revision), "item");
        return revision;
      }));
  cases.add("ZOLP_TestModifiableAndNotCheckout", "modifiable")
      .call(outputs_of(ZOLP_TestModifiableAndNotCheckout, object("100/B")));
  cases.add("ZOLP_TestModifiableAndNotCheckout", "checked out")
      .call(outputs_of(ZOLP_TestModifiableAndNotCheckout, object("100/C")));
  cases.add("ZOLP_isItemReplica", "a replica").call(outputs_of(ZOLP_isItemReplica, object("200")));
}

}  // namespace

void add_type_cases(Cases& cases) {
  add_statuses(cases);
  add_classes_and_types(cases);
  add_states(cases);
  cases.add("ZOLP_ITEM_find_item").call(outputs_of(ZOLP_ITEM_find_item, "100"));
  cases.add("ZOLP_ITEM_find_rev").call(outputs_of(ZOLP_ITEM_find_rev, "100", "B"));
  cases.add("ZOLP_ask_attachment_type")
      .call(outputs_of(ZOLP_ask_attachment_type, object("100/B"), object("100/A")));
}

}  // namespace sweep
