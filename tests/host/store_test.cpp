#include "store.h"

#include <cmath>

#include "demo_site.h"
#include "failure.h"

using host::InstanceState;
using host::Store;

namespace {

/** Status of the refusal of an action; ORK_ok when it is not refused. */
template <typename Action>
int status_of(const Action& action) {
  try {
    action();
    return ORK_ok;
  } catch (const host::Failure& failure) {
    return failure.status();
  }
}

/** Two stores on one file, as two processes have them, but in one that can look at both; locks are
 * the process's. */
class StoreTest : public testing::Test {
 protected:
  tag new_item(const std::string& id) {
    const tag item = store_.create(store_.class_named("Item"));
    store_.set(item, "item_id", id);
    store_.set(item, "object_name", std::string("Bracket"));
    return item;
  }
  tag saved_item(const std::string& id) {
    const tag item = new_item(id);
    store_.save(item);
    store_.refresh(item, false);
    return item;
  }

  test::TemporaryFolder folder_;
  host::Database database_{folder_.path("site.db")};
  host::Presence presence_{folder_.path("site.db")};
  Store store_{database_, presence_};
  host::Database other_database_{folder_.path("site.db")};
  Store other_{other_database_, presence_};
};

}  // namespace

TEST_F(StoreTest, NewInstancesAndChangesArePrivateUntilTheyAreSaved) {
  const tag item = new_item("1");
  EXPECT_EQ(status_of([&] { other_.load(item); }), STORE_unknown_tag);
  store_.save(item);
  EXPECT_TRUE(store_.is_locked(item)) << "what was saved stays locked";
  store_.refresh(item, false);
  EXPECT_EQ(other_.text(item, "object_name"), "Bracket");
  EXPECT_THAT(other_.find("WorkspaceObject"), ElementsAre(item));
  const auto rename = [&](const char* name) { store_.set(item, "object_name", std::string(name)); };
  EXPECT_EQ(status_of([&] { rename("Holder"); }), STORE_not_locked);
  EXPECT_EQ(status_of([&] { store_.save(item); }), STORE_not_locked);

  store_.lock(item);
  rename("Holder");
  EXPECT_EQ(store_.text(item, "object_name"), "Holder");
  EXPECT_EQ(other_.text(item, "object_name"), "Bracket");
  EXPECT_TRUE(store_.has_unsaved_changes());
  store_.refresh(item, false);
  EXPECT_EQ(store_.text(item, "object_name"), "Bracket") << "dropped by the unlocking refresh";
  EXPECT_FALSE(store_.has_unsaved_changes());

  store_.refresh(item, true);
  rename("Holder");
  store_.save(item);
  store_.refresh(item, false);
  EXPECT_EQ(other_.text(item, "object_name"), "Bracket") << "loaded before, so from memory";
  other_.lock(item);
  EXPECT_EQ(other_.text(item, "object_name"), "Holder") << "whoever gets the lock sees all";
}

TEST_F(StoreTest, ValuesKeepTheirKindLengthAndNumber) {
  const host::Class& type = store_.define_class("Probe", store_.class_named("Object"));
  const std::pair<const char*, host::Kind> kinds[] = {
      {"integers", host::Kind::integer}, {"reals", host::Kind::real},
      {"logicals", host::Kind::logical}, {"dates", host::Kind::date},
      {"tags", host::Kind::reference},
  };
  for (const auto& [name, kind] : kinds) {
    store_.define_attribute(type, {name, kind, true});
  }
  store_.define_attribute(type, {"texts", host::Kind::text, true, 5});
  store_.define_attribute(type, {"one", host::Kind::integer});

  const tag probe = store_.create(type);
  const std::pair<const char*, host::Values> cases[] = {
      {"integers", {-2147483647 - 1, 0, 7}},
      {"reals", {0.1, -1e300}},
      {"logicals", {true, false}},
      {"dates", {date_s{2024, 1, 29, 23, 59, 58}, date_s{}}},
      {"tags", {probe, tag{NULLTAG}}},
      {"texts", {std::string("äöx"), std::string(), std::string("äöx")}},
  };
  store_.save(probe);
  for (const auto& [name, values] : cases) {
    store_.set_values(probe, name, values);
  }
  store_.save(probe);
  for (const auto& [name, values] : cases) {
    EXPECT_EQ(other_.values(probe, name), values) << name;
  }

  const auto set = [&](const char* name, host::Scalar value) {
    return status_of([&] { store_.set(probe, name, std::move(value)); });
  };
  EXPECT_EQ(set("one", std::string("1")), STORE_wrong_value_type);
  EXPECT_EQ(set("integers", 1), STORE_wrong_value_type);
  EXPECT_EQ(set("two", 1), STORE_unknown_attribute);
  EXPECT_EQ(status_of([&] { store_.set_values(probe, "one", {1, 2}); }), STORE_wrong_value_type);
  EXPECT_EQ(status_of([&] { store_.set_values(probe, "texts", {std::string("123456")}); }),
            STORE_value_too_long);
  EXPECT_EQ(status_of([&] { store_.set_values(probe, "reals", {std::nan("")}); }),
            ORK_invalid_argument);
  EXPECT_FALSE(store_.has_unsaved_changes());
}

TEST_F(StoreTest, AClassMayGetAttributesWhileInstancesAreLoaded) {
  const tag item = saved_item("1");
  store_.load(item);
  store_.define_attribute(store_.class_named("WorkspaceObject"), {"mass", host::Kind::real});
  EXPECT_TRUE(store_.values(item, "mass").empty());
  store_.lock(item);
  store_.set(item, "mass", 2.5);
  store_.save(item);
  EXPECT_EQ(store_.text(item, "item_id"), "1");

  // A process that opened the file earlier meets the class when it meets an instance of it.
  const tag made = store_.create(store_.define_class("Late", store_.class_named("Item")));
  store_.save(made);
  EXPECT_TRUE(other_.is_a(made, "Item"));
  EXPECT_EQ(status_of([&] {
              store_.define_attribute(store_.class_named("Object"), {"mass", host::Kind::real});
            }),
            ORK_invalid_argument);
}

TEST_F(StoreTest, TagsOfDeletedAndUnknownInstancesAreToldApart) {
  const tag item = saved_item("1");
  const tag known = saved_item("3");
  other_.load(known);
  for (const tag removed : {item, known}) {
    store_.lock(removed);
    store_.remove(removed);
  }
  EXPECT_EQ(other_.state(known), InstanceState::loaded);
  EXPECT_FALSE(other_.exists(known));
  EXPECT_EQ(status_of([&] { other_.lock(known); }), STORE_deleted_tag);
  for (Store* store : {&store_, &other_}) {
    EXPECT_EQ(status_of([&] { store->load(item); }), STORE_deleted_tag);
    EXPECT_EQ(status_of([&] { store->lock(item); }), STORE_deleted_tag);
    EXPECT_EQ(status_of([&] { store->state(item); }), STORE_deleted_tag);
    EXPECT_EQ(status_of([&] { store->load(item + 1000); }), STORE_unknown_tag);
  }
  EXPECT_GT(saved_item("1"), item) << "the id is free again, the tag is not";

  const tag dropped = new_item("2");
  store_.remove(dropped);
  EXPECT_EQ(status_of([&] { store_.load(dropped); }), STORE_unknown_tag);
}

TEST_F(StoreTest, KeysAndReferencesStayWhole) {
  const tag item = saved_item("1");
  const tag twin = new_item("1");
  EXPECT_EQ(status_of([&] { store_.save(twin); }), STORE_key_taken);
  store_.set(twin, "item_id", std::string("2"));

  const tag revision = store_.create(store_.class_named("ItemRevision"));
  store_.set(revision, "item_revision_id", std::string("A"));
  store_.set(revision, "item_tag", twin);
  EXPECT_EQ(status_of([&] { store_.save(revision); }), STORE_refers_to_unsaved);
  EXPECT_EQ(status_of([&] { other_.load(revision); }), STORE_unknown_tag) << "nothing is saved";
  store_.save(twin);
  store_.save(revision);
  EXPECT_EQ(status_of([&] { store_.remove(twin); }), STORE_referenced);
  store_.remove(revision);
  store_.remove(twin);
  EXPECT_THAT(other_.find("Item"), ElementsAre(item));
}

TEST_F(StoreTest, OfTwoRelationsMadeAtOnceOneIsSaved) {
  const tag item = saved_item("1");
  const tag type = store_.find_type("VELO_reference");
  const Store::Criteria ends = {
      {"primary_object", item}, {"secondary_object", item}, {"relation_type", type}};
  const tag relation = store_.create(store_.class_named("Relation"), ends);
  const tag twin = other_.create(other_.class_named("Relation"), ends);
  EXPECT_THAT(store_.find_new("Relation", ends), ElementsAre(relation));
  store_.save(relation);
  EXPECT_EQ(status_of([&] { other_.save(twin); }), REL_exists);
  EXPECT_THAT(store_.find_new("Relation", ends), ElementsAre());
}

TEST_F(StoreTest, SavingAllSavesNewInstancesBeforeThoseThatReferToThem) {
  const tag folder = store_.create(store_.class_named("Folder"));
  store_.save(folder);
  const tag item = new_item("1");
  store_.set_values(folder, "contents", {item});
  store_.save(store_.changed_instances());
  EXPECT_EQ(other_.values(folder, "contents"), host::Values{item});
  EXPECT_FALSE(store_.has_unsaved_changes());
}

TEST_F(StoreTest, FilesOfANewerFormatAreRefused) {
  database_.execute("UPDATE meta SET value = '99' WHERE name = 'schema_version'");
  try {
    host::Database database(folder_.path("site.db"));
    host::Presence presence(folder_.path("site.db"));
    const Store store(database, presence);
    FAIL() << "opened";
  } catch (const host::Failure& failure) {
    EXPECT_EQ(failure.status(), ORK_site_not_available);
    EXPECT_THAT(failure.detail(), HasSubstr("99"));
  }
}
