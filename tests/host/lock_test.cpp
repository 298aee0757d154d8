// States and locks of objects, also as another process sees them, and what becomes of their tags.

#include "child_process.h"
#include "objects_site.h"

namespace {

int state_of(tag object) {
  return ask(STORE_get_instance_state, object);
}

struct Holder {
  std::string user_id;
  std::string node;
  date_s since;
};

Holder holder_of(tag object) {
  char* user_id = nullptr;
  char* node = nullptr;
  Holder holder{};
  EXPECT_EQ(STORE_who_locked_instance(object, &user_id, &holder.since, &node), ORK_ok);
  holder.user_id = take(user_id);
  holder.node = take(node);
  return holder;
}

}  // namespace

TEST_F(ObjectsSite, AnObjectIsLoadedLockedChangedAndSaved) {
  log_in_as_designer();
  const tag item = find("000300");
  EXPECT_EQ(state_of(item), STORE_instance_not_loaded);
  EXPECT_EQ(lock_of(item), STORE_no_lock);
  EXPECT_EQ(holder_of(item).user_id, "(null)");
  EXPECT_EQ(state_of(item), STORE_instance_not_loaded) << "asking loads nothing";
  EXPECT_EQ(OBJ_load(item), ORK_ok);
  EXPECT_EQ(state_of(item), STORE_instance_loaded);

  EXPECT_EQ(OBJ_set_value_string(item, "object_desc", "new"), STORE_not_locked);
  EXPECT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_EQ(OBJ_lock(item), ORK_ok) << "it is held already";
  EXPECT_EQ(lock_of(item), STORE_modify_lock);
  const Holder holder = holder_of(item);
  EXPECT_EQ(holder.user_id, "wagner");
  EXPECT_NE(holder.node, "");
  EXPECT_GE(holder.since.year, 2024);
  EXPECT_THAT(test::describe("locks"), HasSubstr("\"user\": \"wagner\""));

  EXPECT_EQ(OBJ_set_value_string(item, "object_desc", "dropped"), ORK_ok);
  EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
  EXPECT_EQ(value_of(item, "object_desc"), "");
  EXPECT_EQ(lock_of(item), STORE_no_lock);
  EXPECT_EQ(OBJ_refresh(item, 1), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(item, "object_desc", "saved"), ORK_ok);
  EXPECT_EQ(OBJ_save(item), ORK_ok);
  EXPECT_EQ(lock_of(item), STORE_modify_lock) << "a save keeps the lock";
  EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
  EXPECT_EQ(value_of(item, "object_desc"), "saved");
  EXPECT_EQ(OBJ_save(item), STORE_not_locked);
}

TEST_F(ObjectsSite, ValuesAreOfTheAttributesKind) {
  log_in_as_designer();
  const tag item = find("000300");
  EXPECT_EQ(refusal(OBJ_get_value_string, item, "colour"), STORE_unknown_attribute);
  EXPECT_THAT(last_error(), HasSubstr("Machined has no colour"));
  EXPECT_EQ(refusal(OBJ_get_value_string, item, "owning_user"), STORE_wrong_value_type);
  EXPECT_THAT(last_error(), HasSubstr("owning_user holds a value of kind reference"));
  EXPECT_EQ(refusal(OBJ_get_value_string, item, nullptr), ORK_invalid_argument);
  EXPECT_EQ(refusal(OBJ_get_value_date, item, "object_name"), STORE_wrong_value_type);
  EXPECT_EQ(refusal(OBJ_get_value_tags, item, "weights"), STORE_wrong_value_type);
  EXPECT_EQ(ask(OBJ_get_value_date, item, "date_released").year, 0) << "the null date";
  EXPECT_EQ(list(OBJ_get_value_tags, item, "release_status_list").size(), 0u);
  EXPECT_EQ(list(OBJ_get_value_tags, item, "owning_user"),
            std::vector<tag>{ask(OBJ_get_owner, item)});

  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(item, "material", "St 52-3"), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(item, "material", "stainless"), STORE_value_too_long);
  EXPECT_EQ(OBJ_set_value_string(item, "weights", "3"), STORE_wrong_value_type);
  EXPECT_EQ(OBJ_set_value_string(item, "colour", "red"), STORE_unknown_attribute);
  EXPECT_EQ(value_of(item, "material"), "St 52-3");
}

TEST_F(ObjectsSite, TagsOfDeletedObjectsAreInvalid) {
  log_in_as_designer();
  const tag item = find("000300");
  EXPECT_TRUE(is_valid(item));
  EXPECT_EQ(OBJ_delete(item), STORE_not_locked);
  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_EQ(OBJ_delete(item), ORK_ok) << last_error();
  EXPECT_FALSE(is_valid(item));
  EXPECT_FALSE(is_valid(NULLTAG));
  EXPECT_FALSE(is_valid(4'000'000));
  EXPECT_FALSE(is_valid(ask(STORE_class_id_of_class, "Item"))) << "a class is no object";
  EXPECT_EQ(refusal(STORE_get_instance_state, item), STORE_deleted_tag);
  EXPECT_EQ(OBJ_load(item), STORE_deleted_tag);
  EXPECT_EQ(refusal(REL_list_all_related_objects, item), STORE_deleted_tag);
  EXPECT_THAT(last_error(), HasSubstr("The object was deleted: object " + std::to_string(item)));

  const tag with_revisions = find("000100");
  ASSERT_EQ(OBJ_lock(with_revisions), ORK_ok);
  EXPECT_EQ(OBJ_delete(with_revisions), STORE_referenced);
  EXPECT_TRUE(is_valid(with_revisions));
}

TEST(LockOfProcess, IsSeenWithItsHolderUntilThatDies) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ASSERT_EQ(ork_host_seed(test::demo_seed), ORK_ok);
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  tag item = NULLTAG;
  ork_host_find_item("000100", "B", &item);
  {
    test::ChildProcess partner({PARTNER_PROGRAM, "hold", path, std::to_string(item)});
    ASSERT_EQ(partner.read_line(), "held");
    EXPECT_EQ(lock_of(item), STORE_no_lock) << "not this process's";
    EXPECT_EQ(holder_of(item).user_id, "partner");
    EXPECT_GE(holder_of(item).since.year, 2024);
    EXPECT_EQ(OBJ_lock(item), STORE_locked_by_other);
    EXPECT_THAT(last_error(),
                HasSubstr("Another session holds the object's lock: object " +
                          std::to_string(item) + ", by user partner on " + holder_of(item).node));
    EXPECT_EQ(OBJ_delete(item), STORE_locked_by_other);
    EXPECT_THAT(test::describe("locks"), HasSubstr("000100/B-Stiff bracket"));
    partner.kill();
    EXPECT_EQ(holder_of(item).user_id, "(null)");
    EXPECT_EQ(test::describe("locks"), "[]");
  }
  EXPECT_EQ(OBJ_lock(item), ORK_ok) << last_error();
  EXPECT_EQ(holder_of(item).user_id, "build");
  // A refresh gives up a lock of this process alone.
  tag other = NULLTAG;
  ork_host_find_item("000100", "A", &other);
  test::ChildProcess holder({PARTNER_PROGRAM, "hold", path, std::to_string(other)});
  ASSERT_EQ(holder.read_line(), "held");
  EXPECT_EQ(OBJ_refresh(other, 1), STORE_locked_by_other);
  EXPECT_EQ(OBJ_refresh(other, 0), ORK_ok);
  EXPECT_EQ(holder_of(other).user_id, "partner");
  EXPECT_EQ(STORE_refresh_instances(1, &other, NULLTAG, STORE_modify_lock), STORE_locked_by_other);

  test::ChildProcess refused({PARTNER_PROGRAM, "hold", path, std::to_string(item)});
  EXPECT_EQ(refused.wait(), 1) << "nor does another process get this one's";
  EXPECT_EQ(ORK_exit_module(0), ORK_ok);
  test::ChildProcess granted({PARTNER_PROGRAM, "hold", path, std::to_string(item)});
  EXPECT_EQ(granted.read_line(), "held") << "locks end with their session";
  ork_host_close();
}
