// Release statuses, tests of types and classes, lookup of items.

#include "ork/item.h"
#include "ork/mem.h"
#include "ork/store.h"
#include "ork/type.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_statuses(Cases& cases) {
  const char* nothing = "99|untouched";
  cases.add("ZOLP_ask_status_names", "two statuses")
      .good({0, "2|Released Obsolete"})
      .steps({aborts("OBJ_load", nothing), aborts("OBJ_get_value_tags", nothing),
              aborts("OBJ_get_value_string", nothing), aborts("OBJ_get_value_string", nothing)})
      .allocations({exhausted(1, nothing), exhausted(1, nothing), exhausted(1, nothing)})
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
  cases.add("ZOLP_ask_status", "two statuses")
      .good({0, "2|Released|2024|Obsolete|2025"})
      .steps({aborts("OBJ_load", nothing), aborts("OBJ_get_value_tags", nothing),
              aborts("OBJ_get_value_string", nothing), aborts("OBJ_get_value_date", nothing),
              aborts("OBJ_get_value_string", nothing), aborts("OBJ_get_value_date", nothing)})
      .allocations({exhausted(1, nothing)})
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
  cases.add("ZOLP_ask_latest_status", "two statuses")
      .good({0, "Obsolete"})
      .steps({aborts("OBJ_load"), aborts("OBJ_get_value_tags"), aborts("OBJ_get_value_string")})
      .call([](Run& run) {
        char name[ZOLP_NAME_SIZE + 1] = "x";
        run.call(ZOLP_ask_latest_status, object("100/A"), name);
        run.out(name);
      });
}

template <typename Ask>
auto ask(Ask ask_one) {
  return [ask_one](Run& run) {
    logical answer = untouched_number;
    run.call(ask_one, &answer);
    run.out(answer);
  };
}

void add_classes_and_types(Cases& cases) {
  cases.add("ZOLP_TYPE_ask_name", "")
      .good({0, "Press"})
      .steps({passes("TYPE_get_name2", "")})
      .call([](Run& run) {
        tag type = NULLTAG;
        prepared(TYPE_find_type("Press", nullptr, &type), "type");
        char name[ZOLP_NAME_SIZE + 1] = "";
        run.call(ZOLP_TYPE_ask_name, type, name);
        run.out(name);
      });
  const std::vector<Step> class_test = {passes("STORE_class_id_of_class", "99"),
                                        passes("STORE_class_of_instance", "99"),
                                        passes("STORE_is_descendant", "99")};
  cases.add("ZOLP_isObjectOfClass", "")
      .good({0, "1"})
      .steps(class_test)
      .call(ask([](logical* answer) {
        return ZOLP_isObjectOfClass(object("100"), "WorkspaceObject", answer);
      }));
  cases.add("ZOLP_isWorkspaceObject", "")
      .good({0, "1"})
      .steps(class_test)
      .call(ask([](logical* answer) { return ZOLP_isWorkspaceObject(object("100"), answer); }));
  cases.add("ZOLP_isObjectOfTypeExt", "of a subtype")
      .good({0, "1"})
      .steps({passes("TYPE_find_type", "0"), passes("TYPE_get_object_type", "0"),
              passes("TYPE_is_type_of", "0")})
      .call(ask([](logical* answer) {
        return ZOLP_isObjectOfTypeExt(object("100"), "Machine", answer, 1);
      }));
  cases.add("ZOLP_isObjectOfType", "")
      .good({0, "1"})
      .steps({passes("TYPE_find_type", "0"), passes("TYPE_get_object_type", "0")})
      .call(
          ask([](logical* answer) { return ZOLP_isObjectOfType(object("100"), "Press", answer); }));
}

/** Asks about the revision of an item that this process has made. */
void ask_about_new_item(Run& run) {
  tag item = NULLTAG;
  tag revision = NULLTAG;
  const std::string id = "new " + std::to_string(run.number);
  prepared(ITEM_create_item(id.c_str(), "New", nullptr, "A", &item, &revision), "item");
  logical is_new = untouched_number;
  run.call(ZOLP_Test_STORE_instance_isNew, revision, &is_new);
  run.out(is_new);
}

void add_states(Cases& cases) {
  cases.add("ZOLP_Test_STORE_instance_isNew", "a new item")
      .good({0, "1"})
      .steps({// The state of no item cannot be asked for, which fails by itself.
              answers("ITEM_get_item_of_rev", STORE_unknown_tag, "0")
                  .calls({"STORE_get_instance_state"}),
              passes("STORE_get_instance_state", "0"),
              passes("REL_find_relation_type", "1").goes_on(), passes("REL_list_relations", "0")})
      .call(ask_about_new_item);
  cases.add("ZOLP_TestModifiableAndNotCheckout", "modifiable")
      .good({1, ""})
      .steps({answers("RSV_assert_object_modifiable", 0)
                  .unwrapped()
                  .calls({"WSO_get_object_id_string"}),
              answers("ACCESS_check_privilege", 0).calls({"WSO_get_object_id_string"}),
              ignores("RSV_is_checked_out").unwrapped()})
      .call([](Run& run) { run.call(ZOLP_TestModifiableAndNotCheckout, object("100/B")); });
  cases.add("ZOLP_TestModifiableAndNotCheckout", "checked out")
      .good({0, ""})
      .steps({answers("RSV_assert_object_modifiable", 0)
                  .unwrapped()
                  .calls({"WSO_get_object_id_string"}),
              answers("ACCESS_check_privilege", 0).calls({"WSO_get_object_id_string"}),
              answers("RSV_is_checked_out", 1).unwrapped(), ignores("WSO_get_object_id_string")})
      .call([](Run& run) { run.call(ZOLP_TestModifiableAndNotCheckout, object("100/C")); });
  cases.add("ZOLP_isItemReplica", "a replica")
      .good({0, "1"})
      .steps({passes("STORE_site_id", "0"), passes("STORE_lookup_imc", "0"),
              passes("STORE_location_of_instance", "0")})
      .call(ask([](logical* answer) { return ZOLP_isItemReplica(object("200"), answer); }));
}

template <typename Find>
auto find(Find find_one) {
  return [find_one](Run& run) {
    tag found = untouched_tag;
    run.call(find_one, &found);
    run.out_tag(found);
  };
}

void add_lookups(Cases& cases) {
  cases.add("ZOLP_ITEM_find_item", "")
      .good({0, "100"})
      .steps({passes("ITEM_find_items_by_key_attributes", "0")})
      .call(find([](tag* item) { return ZOLP_ITEM_find_item("100", item); }));
  cases.add("ZOLP_ITEM_find_rev", "")
      .good({0, "100/B"})
      .steps({passes("ITEM_find_item_revs_by_key_attributes", "0")})
      .call(find([](tag* revision) { return ZOLP_ITEM_find_rev("100", "B", revision); }));
  cases.add("ZOLP_ask_attachment_type", "")
      .good({0, "Documents|Documents"})
      .steps({answers("REL_list_all_related_objects", 0, "0|"),
              ignores("TYPE_get_name2", "Documents|")})
      .call([](Run& run) {
        tag type = NULLTAG;
        char name[ZOLP_NAME_SIZE + 1] = "";
        run.call(ZOLP_ask_attachment_type, object("100/B"), object("100/A"), &type, name);
        run.out_tag(type).out(name);
      });
}

}  // namespace

void add_type_cases(Cases& cases) {
  add_statuses(cases);
  add_classes_and_types(cases);
  add_states(cases);
  add_lookups(cases);
}

}  // namespace sweep
