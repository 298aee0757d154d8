#include "clock.h"
#include "support/fixed_time.h"
#include "support/site.h"

namespace {

class Objects : public test::TestOn<> {
 protected:
  Objects() {
    EXPECT_EQ(ork_host_seed(test::file_text("orktool/seeds/objects.json").c_str()), ORK_ok);
    site.log_in();
    item = find_item("100");
    released = find_revision("100", "A");
    own = find_revision("100", "B");
    reserved = find_revision("100", "C");
    trace.clear();
  }

  static tag find_item(const char* id) { return ask(ZOLP_ITEM_find_item, id); }

  static tag find_revision(const char* id, const char* revision) {
    return ask(ZOLP_ITEM_find_rev, id, revision);
  }

  static tag relation_type(const char* name) { return ask(REL_find_relation_type, name); }

  static void relate(tag primary, tag secondary, const char* type) {
    ASSERT_EQ(REL_save_relation(
                  ask(REL_create_relation, primary, secondary, relation_type(type), NULLTAG)),
              ORK_ok);
  }

  tag item = NULLTAG;
  tag released = NULLTAG;
  tag own = NULLTAG;
  tag reserved = NULLTAG;
};

// --------------------------------------------------------------- ownership, access and locks

TEST_F(Objects, AccessIsCheckedForUserAndGroup) {
  tag user = NULLTAG;
  tag group = NULLTAG;
  ZOLP_identify_user_and_group("ada", "engineering", &user, &group);
  trace.clear();
  EXPECT_EQ(ZOLP_check_access(user, group, own, ACCESS_privilege_write), 0);
  EXPECT_EQ(trace.lines()[1],
            "  user_tag:" + std::to_string(user) + ":\tgroup_tag:" + std::to_string(group) +
                ":\tobj_tag:" + std::to_string(own) + ":\tn_accessors:2:\tprivileg:WRITE:");
  EXPECT_EQ(ZOLP_check_access(user, group, reserved, ACCESS_privilege_write), 1);
  EXPECT_TRUE(trace.has("  You do not have access on the object:Press"));
  EXPECT_EQ(ZOLP_check_access(user, group, own, "FLY"), 1);
  EXPECT_EQ(ZOLP_check_access(user, group, 4000000000U, ACCESS_privilege_write), 1);
  EXPECT_TRUE(trace.has("  You do not have access on the object:"));
}

TEST_F(Objects, VerifyLoadsAndLocksOnlyWhatIsNot) {
  EXPECT_EQ(ZOLP_verify_state_and_lock_of_object(own), ORK_ok);
  EXPECT_THAT(trace.lines()[0],
              StartsWith(" ->ZOLP_verify_state_and_lock zolp_allg_utilities.cpp"));
  EXPECT_TRUE(trace.has("  object:" + std::to_string(own) + ": locked by :ada:"));
  trace.clear();
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_verify_state_and_lock_of_object(own), ORK_ok);
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("STORE_get_instance_state", "STORE_get_instance_lock",
                          "STORE_who_locked_instance"));
  EXPECT_EQ(trace.missing({"  Object: " + std::to_string(own) + " is loaded!",
                           "  Object: " + std::to_string(own) + " is locked!"}),
            "");
  EXPECT_EQ(OBJ_refresh(own, 0), ORK_ok);
}

// ------------------------------------------------------------------------ release statuses

TEST_F(Objects, StatusesComeInTheOrderOfAttachment) {
  int count = 9;
  char** names = nullptr;
  ASSERT_EQ(ZOLP_ask_status_names(released, &count, &names), ORK_ok);
  EXPECT_THAT(std::vector<std::string>(names, names + count),
              ElementsAre("Released", "A status with a name of more than 32 characters"));
  for (void* block :
       {static_cast<void*>(names[0]), static_cast<void*>(names[1]), static_cast<void*>(names)}) {
    MEM_free(block);
  }
  ZOLP_status_record* records = nullptr;
  ASSERT_EQ(ZOLP_ask_status(released, &count, &records), ORK_ok);
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(records[1].name, "A status with a name of more tha");
  const date_s& date = records[1].date_released;
  EXPECT_EQ(date.year * 100 + date.month, 202300);
  EXPECT_EQ(date.day * 10000 + date.hour * 100 + date.minute, 20304);
  MEM_free(records);

  std::array<char, 33> latest{};
  EXPECT_EQ(ZOLP_ask_latest_status(released, latest.data()), ORK_ok);
  EXPECT_STREQ(latest.data(), "A status with a name of more tha");
  EXPECT_EQ(ask(ZOLP_checkObjectStatus, released), 1);
  EXPECT_TRUE(trace.has("  of_status[0]:<Released>"));
}

TEST_F(Objects, ObjectsWithoutStatusesLeaveTheArraysAlone) {
  int count = 9;
  char* preset = nullptr;
  char** names = &preset;
  ZOLP_status_record untouched{};
  ZOLP_status_record* records = &untouched;
  std::array<char, 33> latest{'x'};
  EXPECT_EQ(ZOLP_ask_status_names(own, &count, &names), ORK_ok);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(names, &preset);
  EXPECT_EQ(ZOLP_ask_status(own, &count, &records), ORK_ok);
  EXPECT_EQ(records, &untouched);
  EXPECT_EQ(ZOLP_ask_latest_status(own, latest.data()), ORK_ok);
  EXPECT_STREQ(latest.data(), "");
  EXPECT_EQ(ask(ZOLP_checkObjectStatus, own), 0);
}

// -------------------------------------------------------------------------- types and classes

TEST_F(Objects, ClassesAndTypes) {
  EXPECT_EQ(ask(ZOLP_isObjectOfClass, item, "Item"), 1);
  EXPECT_EQ(ask(ZOLP_isObjectOfClass, item, "ItemRevision"), 0);
  logical answer = 9;
  EXPECT_EQ(ZOLP_isObjectOfClass(item, "NoClass", &answer), STORE_unknown_class);
  const auto is_of_type = [](tag object, const char* name, logical include_subtypes) {
    logical type_answer = 9;
    const int status = ZOLP_isObjectOfTypeExt(object, name, &type_answer, include_subtypes);
    EXPECT_NE(type_answer, 9);
    return std::to_string(status) + ":" + std::to_string(type_answer);
  };
  EXPECT_EQ(is_of_type(item, "Press", 0), "0:1");
  EXPECT_EQ(is_of_type(item, "Machine", 0), "0:0");
  EXPECT_EQ(is_of_type(item, "Machine", 1), "0:1");
  EXPECT_EQ(is_of_type(item, "ItemRevision", 1), "0:0");
  trace.clear();
  EXPECT_EQ(is_of_type(item, "NoType", 1), std::to_string(TYPE_unknown_type) + ":0");
  EXPECT_TRUE(trace.has("  Object is NOT of type NoType"));
  EXPECT_EQ(ask(ZOLP_isObjectOfType, item, "Machine"), 0);
}

TEST_F(Objects, TypeNamesAreCutAt32Characters) {
  const std::string long_name = "A_type_with_a_name_of_32_letters";
  const std::string seed = R"({"types": [{"name": ")" + long_name + R"(", "parent": "Item"}]})";
  ASSERT_EQ(ork_host_seed(seed.c_str()), ORK_ok);
  std::array<char, 33> name{};
  name.fill('x');
  EXPECT_EQ(ZOLP_TYPE_ask_name(ask(TYPE_find_type, long_name.c_str(), nullptr), name.data()),
            ORK_ok);
  EXPECT_EQ(std::string(name.data(), 33), long_name + "x");  // not terminated, not overrun
}

TEST_F(Objects, NewItemsAreThoseNeitherRevisedNorSavedAs) {
  const auto is_new = [](tag revision) { return ask(ZOLP_Test_STORE_instance_isNew, revision); };
  tag new_item = NULLTAG;
  const tag new_revision = ask(ITEM_create_item, "300", "New", nullptr, "A", &new_item);
  const tag revised = ask(ITEM_create_rev, item, "D");
  EXPECT_EQ(is_new(new_revision), 1);
  EXPECT_TRUE(trace.has("  STORE_get_instance_state returned 7003 "));
  EXPECT_EQ(is_new(revised), 0);
  EXPECT_TRUE(trace.has("  Skip Revise case. "));
  ask(REL_create_relation, new_item, item, relation_type("VELO_based_on"), NULLTAG);
  EXPECT_EQ(is_new(new_revision), 0);
  EXPECT_TRUE(trace.has("  Found VELO_based_on relation. Skip SaveAs case. "));
  EXPECT_EQ(ZOLP_Test_STORE_instance_isNew(new_revision, nullptr), ORK_ok);
}

TEST_F(Objects, ModifiableAreUnreservedWritableUnfrozenObjects) {
  EXPECT_EQ(ZOLP_TestModifiableAndNotCheckout(own), 1);
  EXPECT_EQ(ZOLP_TestModifiableAndNotCheckout(released), 0);
  EXPECT_TRUE(trace.has("TestModifiableAndNotCheckout=919342 on Object:100/A-Press"));
  EXPECT_EQ(ZOLP_TestModifiableAndNotCheckout(reserved), 0);
  EXPECT_TRUE(trace.has("TestModifiableAndNotCheckout=919341 on Object:100/C-Press"));
  ASSERT_EQ(ork_host_seed(R"({"access_rules": []})"), ORK_ok);
  EXPECT_EQ(ZOLP_TestModifiableAndNotCheckout(reserved), 0);
  EXPECT_TRUE(trace.has("TestModifiableAndNotCheckout=919340 on Object:100/C-Press"));
  ork_host_fail_call("WSO_get_object_id_string", 1, failure);
  ork_host_fail_call("ACCESS_check_privilege", 1, failure);
  EXPECT_EQ(ZOLP_TestModifiableAndNotCheckout(own), 0);
  EXPECT_TRUE(trace.has("TestModifiableAndNotCheckout=4711"));
}

TEST_F(Objects, ReplicasBelongToOtherSites) {
  EXPECT_EQ(ask(ZOLP_isItemReplica, item), 0);
  EXPECT_EQ(ask(ZOLP_isItemReplica, find_item("200")), 1);
  EXPECT_EQ(ask(ZOLP_isItemReplica, find_item("nothing")), 0);
  EXPECT_EQ(find_revision("100", "Z"), NULLTAG);
}

// -------------------------------------------------------------------------- lookup, relations

TEST_F(Objects, RelatedObjectsInBothDirections) {
  relate(own, reserved, "Documents");
  relate(own, released, "Drawings");
  relate(own, released, "Documents");
  const auto related = [](tag object, const char* type, logical reverse) {
    int count = 0;
    tag* list = nullptr;
    EXPECT_EQ(ZOLP_GetAttachedObjs(object, type, &count, &list, reverse), ORK_ok);
    return take(count, list);
  };
  EXPECT_THAT(related(own, "Documents", 0), ElementsAre(reserved, released));
  EXPECT_THAT(related(own, "", 0), ElementsAre(reserved, released, released));
  EXPECT_THAT(related(released, nullptr, 1), ElementsAre(own, own));
  EXPECT_TRUE(trace.has("  Obj has 2 parents with relation <(null)>"));
  int count = 9;
  tag* list = &own;
  EXPECT_EQ(ZOLP_GetAttachedObjs(own, "Documents", &count, &list, 1), ORK_ok);
  EXPECT_EQ(list, nullptr);
  list = &own;
  EXPECT_EQ(ZOLP_GetAttachedObjs(own, "NoRelation", &count, &list, 0), ORK_ok);
  EXPECT_EQ(list, &own);
  EXPECT_TRUE(trace.has("  REL_find_relation_type returned 0 for NoRelation"));

  tag first = 99;
  EXPECT_EQ(ZOLP_GetFirstAttachedObj(own, "Drawings", &first, 0), ORK_ok);
  EXPECT_EQ(first, released);
  EXPECT_EQ(ZOLP_GetFirstAttachedObj(released, "Drawings", &first, 0), ORK_ok);
  EXPECT_EQ(first, NULLTAG);

  tag type = NULLTAG;
  std::array<char, 33> name{};
  EXPECT_EQ(ZOLP_ask_attachment_type(own, released, &type, name.data()), ORK_ok);
  EXPECT_STREQ(name.data(), "Drawings");
  EXPECT_EQ(type, relation_type("Drawings"));
  type = NULLTAG;
  name = {'x'};
  EXPECT_EQ(ZOLP_ask_attachment_type(released, own, &type, name.data()), ORK_ok);
  EXPECT_EQ(type, NULLTAG);
  EXPECT_STREQ(name.data(), "x");
}

TEST_F(Objects, RemovedObjectsLeaveTheArray) {
  tag doomed = NULLTAG;
  const tag doomed_revision = ask(ITEM_create_item, "900", "Doomed", nullptr, "A", &doomed);
  ASSERT_EQ(OBJ_save(doomed), ORK_ok);
  ASSERT_EQ(OBJ_save(doomed_revision), ORK_ok);
  int count = 0;
  tag* array = nullptr;
  for (const tag element : {item, doomed_revision, own, tag{4000000000U}}) {
    ZOLP_addElement(element, &count, &array);
  }
  ASSERT_EQ(OBJ_delete(doomed_revision), ORK_ok);
  EXPECT_EQ(ZOLP_removeInvalidTags(&count, &array), 0);
  EXPECT_THAT(take(count, array), ElementsAre(item, own));
}

// ------------------------------------------------------------------------------- names and time

class FileNames : public Objects {
 protected:
  test::FixedTime fixed_time;

  static std::string name(tag revision, const std::string& path, const std::string& extension) {
    std::array<char, ZOLP_FILE_NAME_SIZE> buffer{"untouched"};
    const int status = ZOLP_buildFileName(revision, path.c_str(), buffer.data(), extension.c_str());
    return std::to_string(status) + ":" + buffer.data();
  }
};

TEST_F(FileNames, AreBuiltFromIdsTimeAndClock) {
  EXPECT_EQ(name(own, "C:\\tmp", "txt"), "0:C:\\tmp\\100_B_14032013090507_1234.txt");
  orktool::replace_clock([] { return 1235; });
  EXPECT_EQ(name(own, "C:\\tmp", "txt"), "0:C:\\tmp\\100_B_14032013090507_1235.txt");
  orktool::replace_clock([] { return 1234; });
  EXPECT_EQ(trace.missing({"  pid:<14032013090507>", "  cpu_time:<1234>",
                           "  before strcpy filenamefileName:<C:\\tmp\\100_B_"}),
            "");
  EXPECT_EQ(name(own, "C:\\", ""), "0:C:\\\\100_B_14032013090507_1234.");
  EXPECT_EQ(name(NULLTAG, "p", "x"), "0:p\\__14032013090507_1234.x");

  const std::size_t fixed = std::string("\\100_B_14032013090507_1234.x").size();
  const std::string longest(255 - fixed, 'p');
  EXPECT_EQ(name(own, longest, "x"), "0:" + longest + "\\100_B_14032013090507_1234.x");
  trace.clear();
  EXPECT_EQ(name(own, longest + "p", "x"), "1:untouched");
  EXPECT_THAT(trace.lines().back(),
              testing::EndsWith("  File Name excezolp allowed file length of 256."));
  EXPECT_EQ(name(own, std::string(5000, 'p'), std::string(5000, 'x')), "1:untouched");
}

TEST_F(FileNames, TimeHasMonthsFromZero) {
  date_s date{};
  ZOLP_GetTime(&date);
  EXPECT_EQ(date.year * 10000 + date.month * 100 + date.day, 20130214);
  EXPECT_EQ(date.hour * 10000 + date.minute * 100 + date.second, 90507);
}

}  // namespace
