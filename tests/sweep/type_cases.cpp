// Release statuses, tests of types and classes, lookup of items.

#include "ork/item.h"
#include "ork/mem.h"
#include "ork/type.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_statuses(Cases& cases) {
  cases
      .add("ZOLP_ask_status_names", "two statuses", R"(good 0: 2|Released Obsolete;
        aborts OBJ_load OBJ_get_value_tags OBJ_get_value_string x2: 99|untouched;
        exhausted 1 x3: 99|untouched)")
      .call([](Run& run) {
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
  cases
      .add("ZOLP_ask_status", "two statuses", R"(good 0: 2|Released|2024|Obsolete|2025;
        aborts OBJ_load OBJ_get_value_tags OBJ_get_value_string OBJ_get_value_date
          OBJ_get_value_string OBJ_get_value_date: 99|untouched; exhausted 1: 99|untouched)")
      .call([](Run& run) {
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
  cases
      .add("ZOLP_ask_latest_status", "two statuses", R"(good 0: Obsolete;
        aborts OBJ_load OBJ_get_value_tags OBJ_get_value_string)")
      .call(outputs_of(ZOLP_ask_latest_status, object("100/A")));
}

void add_classes_and_types(Cases& cases) {
  cases.add("ZOLP_TYPE_ask_name", "", "good 0: Press; passes TYPE_get_name2").call([](Run& run) {
    tag type = NULLTAG;
    prepared(TYPE_find_type("Press", nullptr, &type), "type");
    char name[ZOLP_NAME_SIZE + 1] = "";
    run.call(ZOLP_TYPE_ask_name, type, name);
    run.out(name);
  });
  const char* class_test = R"(good 0: 1;
    passes STORE_class_id_of_class STORE_class_of_instance STORE_is_descendant: 99)";
  cases.add("ZOLP_isObjectOfClass", "", class_test)
      .call(outputs_of(ZOLP_isObjectOfClass, object("100"), "WorkspaceObject"));
  cases.add("ZOLP_isWorkspaceObject", "", class_test)
      .call(outputs_of(ZOLP_isWorkspaceObject, object("100")));
  cases
      .add("ZOLP_isObjectOfTypeExt", "of a subtype", R"(good 0: 1;
        passes TYPE_find_type TYPE_get_object_type TYPE_is_type_of: 0)")
      .call(outputs_of(ZOLP_isObjectOfTypeExt, object("100"), "Machine", out, logical{1}));
  cases.add("ZOLP_isObjectOfType", "", "good 0: 1; passes TYPE_find_type TYPE_get_object_type: 0")
      .call(outputs_of(ZOLP_isObjectOfType, object("100"), "Press"));
}

void add_states(Cases& cases) {
  // The state of no item cannot be asked for, which fails by itself.
  cases
      .add("ZOLP_Test_STORE_instance_isNew", "a new item", R"(good 0: 1;
        answers STORE_unknown_tag ITEM_get_item_of_rev then STORE_get_instance_state: 0;
        passes STORE_get_instance_state: 0; passes goes_on REL_find_relation_type: 1;
        passes REL_list_relations: 0)")
      .call(outputs_of(ZOLP_Test_STORE_instance_isNew, [](Run& run) {
        tag item = NULLTAG;
        tag revision = NULLTAG;
        const std::string id = "new " + std::to_string(run.number);
        prepared(ITEM_create_item(id.c_str(), "New", nullptr, "A", &item, &revision), "item");
        return revision;
      }));
  const std::string not_readable = R"(
    answers 0 unwrapped RSV_assert_object_modifiable then WSO_get_object_id_string;
    answers 0 ACCESS_check_privilege then WSO_get_object_id_string;)";
  cases
      .add("ZOLP_TestModifiableAndNotCheckout", "modifiable",
           "good 1;" + not_readable + "ignores unwrapped RSV_is_checked_out")
      .call(outputs_of(ZOLP_TestModifiableAndNotCheckout, object("100/B")));
  cases
      .add("ZOLP_TestModifiableAndNotCheckout", "checked out",
           "good 0;" + not_readable +
               "answers 1 unwrapped RSV_is_checked_out; ignores WSO_get_object_id_string")
      .call(outputs_of(ZOLP_TestModifiableAndNotCheckout, object("100/C")));
  cases
      .add("ZOLP_isItemReplica", "a replica", R"(good 0: 1;
        passes STORE_site_id STORE_lookup_imc STORE_location_of_instance: 0)")
      .call(outputs_of(ZOLP_isItemReplica, object("200")));
}

}  // namespace

void add_type_cases(Cases& cases) {
  add_statuses(cases);
  add_classes_and_types(cases);
  add_states(cases);
  cases.add("ZOLP_ITEM_find_item", "", "good 0: 100; passes ITEM_find_items_by_key_attributes: 0")
      .call(outputs_of(ZOLP_ITEM_find_item, "100"));
  cases
      .add("ZOLP_ITEM_find_rev", "",
           "good 0: 100/B; passes ITEM_find_item_revs_by_key_attributes: 0")
      .call(outputs_of(ZOLP_ITEM_find_rev, "100", "B"));
  cases
      .add("ZOLP_ask_attachment_type", "", R"(good 0: Documents|Documents;
        answers 0 REL_list_all_related_objects: untouched|x;
        ignores TYPE_get_name2: Documents|x)")
      .call(outputs_of(ZOLP_ask_attachment_type, object("100/B"), object("100/A")));
}

}  // namespace sweep
