// Forms, and values of attributes as users write them.

#include "ork/form.h"

#include "data_site.h"
#include "ork/store.h"

using test::DataSite;
using test::last_error;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<std::string> fields(tag form) {
  int count = -1;
  char** names = nullptr;
  EXPECT_EQ(FORM_list_fields(form, &count, &names), ORK_ok) << last_error();
  return test::take(count, names);
}

}  // namespace

TEST_F(DataSite, FormsHaveTheFieldsOfTheirType) {
  tag form = NULLTAG;
  ASSERT_EQ(FORM_create("m", "of the bracket", "ExactMass", &form), ORK_ok) << last_error();
  EXPECT_THAT(fields(form),
              ElementsAre("material", "pieces", "weight", "bought", "weighed", "weigher", "error"));
  ASSERT_EQ(OBJ_UIF_set_value(form, "pieces", "3"), ORK_ok);
  EXPECT_EQ(FORM_initialize(form, "mass", nullptr, "Mass"), FORM_wrong_type);
  EXPECT_EQ(FORM_initialize(form, "mass", nullptr, "ExactMass"), ORK_ok);
  EXPECT_EQ(value(form, "pieces"), "");
  EXPECT_EQ(value(form, "object_name"), "mass");
  EXPECT_EQ(value(form, "object_desc"), "of the bracket");
  ASSERT_EQ(OBJ_save(form) | OBJ_refresh(form, 0), ORK_ok);
  EXPECT_EQ(FORM_initialize(form, "late", nullptr, "ExactMass"), STORE_not_locked);
  EXPECT_EQ(FORM_initialize(find("000100"), "x", nullptr, "Mass"), FORM_not_a_form);

  ASSERT_EQ(FORM_create("release", nullptr, "FreigabeInfo", &form), ORK_ok);
  EXPECT_THAT(fields(form),
              ElementsAre("UrRevision", "UGezPerson", "UGezDate", "UGepPerson", "UGepDate",
                          "UGesPerson", "UGesDate", "UBauPerson", "UBauDate", "UEndPerson",
                          "UEndDate", "UFreiPerson", "UFreiDate"));
  for (const char* type : {"Text", "mass", "VELO_reference", ""}) {
    EXPECT_EQ(FORM_create("x", nullptr, type, &form), TYPE_unknown_type) << type;
    EXPECT_EQ(form, NULLTAG);
  }
  int count = -1;
  char** names = nullptr;
  EXPECT_EQ(FORM_list_fields(find("000100"), &count, &names), FORM_not_a_form);
}

TEST_F(DataSite, ValuesAreWrittenAsUsersWriteThem) {
  tag form = NULLTAG;
  ASSERT_EQ(FORM_create("m", nullptr, "Mass", &form), ORK_ok);
  const struct {
    const char* field;
    const char* text;
    const char* shown;
  } good[] = {{"material", "8 bytes!", "8 bytes!"},
              {"material", " ", " "},
              {"pieces", "-2147483648", "-2147483648"},
              {"pieces", "007", "7"},
              {"weight", "1.50", "1.5"},
              {"weight", "-2e9", "-2000000000.0"},
              {"bought", "True", "True"},
              {"bought", "False", "False"},
              {"weighed", "21-Nov-2026", "21-Nov-2026"},
              {"weighed", "1-nov-2026 00:00", "01-Nov-2026"},
              {"weighed", "29-Feb-2028 23:59", "29-Feb-2028 23:59"}};
  for (const auto& [field, text, shown] : good) {
    EXPECT_EQ(OBJ_UIF_set_value(form, field, text), ORK_ok) << last_error();
    EXPECT_EQ(value(form, field), shown);
  }
  const struct {
    const char* field;
    const char* text;
    const char* why;
  } bad[] = {{"pieces", "2147483648", "a whole number from -2147483648 to 2147483647"},
             {"pieces", "1.0", "pieces cannot be \"1.0\""},
             {"pieces", "1 ", "a whole number"},
             {"pieces", "+1", "a whole number"},
             {"weight", "1,5", "a number such as -1.5 or 2e9"},
             {"weight", "1e999", "a number such as"},
             {"weight", "inf", "a number such as"},
             {"weight", "nan", "a number such as"},
             {"bought", "true", "True or False"},
             {"weighed", "31-Feb-2026",
              "expected a date such as \"21-Nov-2026 13:05\": there is no such date"},
             {"weighed", "2026-11-21", "a date such as"},
             {"weighed", "21-Nov-2026 ", "a date such as"},
             {"weighed", "21-Nov-2026 24:00", "a date such as"}};
  for (const auto& [field, text, why] : bad) {
    const std::string before = value(form, field);
    EXPECT_EQ(OBJ_UIF_set_value(form, field, text), OBJ_value_not_understood) << text;
    EXPECT_THAT(last_error(), HasSubstr(why));
    EXPECT_EQ(value(form, field), before);
  }
  EXPECT_EQ(OBJ_UIF_set_value(form, "material", "9 bytes!!"), STORE_value_too_long);
  EXPECT_EQ(OBJ_UIF_set_value(form, "weigher", "wagner"), STORE_wrong_value_type);
  EXPECT_EQ(OBJ_UIF_set_value(form, "colour", "red"), STORE_unknown_attribute);
  EXPECT_EQ(OBJ_UIF_set_value(NULLTAG, "pieces", "1"), STORE_unknown_tag);
  ASSERT_EQ(OBJ_save(form) | OBJ_refresh(form, 0), ORK_ok);
  EXPECT_EQ(OBJ_UIF_set_value(form, "pieces", "1"), STORE_not_locked);
  ASSERT_EQ(OBJ_lock(form), ORK_ok);
  for (const char* field : {"material", "pieces", "weight", "bought", "weighed"}) {
    EXPECT_EQ(OBJ_UIF_set_value(form, field, ""), ORK_ok);
    EXPECT_EQ(value(form, field), "");
  }
}

TEST_F(DataSite, DatesFollowTheSitesFormat) {
  const tag form = [] {
    tag made = NULLTAG;
    EXPECT_EQ(FORM_create("m", nullptr, "Mass", &made), ORK_ok);
    return made;
  }();
  const struct {
    const char* format;
    const char* day;
    const char* day_and_time;
  } formats[] = {{"%d.%m.%Y, %H:%M", "21.11.2026", "21.11.2026, 13:05"},
                 {"%H.%M on %d/%m/%Y", "00.00 on 21/11/2026", "13.05 on 21/11/2026"},
                 {"%Y%m%d", "20261121", "20261121"}};
  for (const auto& [format, day, day_and_time] : formats) {
    ASSERT_EQ(seed(std::string(R"({"texts": {"en": {"DefaultDateFormat": ")") + format + "\"}}}"),
              ORK_invalid_argument)
        << "a session has unsaved changes";
    ASSERT_EQ(OBJ_save(form), ORK_ok);
    ASSERT_EQ(seed(std::string(R"({"texts": {"en": {"DefaultDateFormat": ")") + format + "\"}}}"),
              ORK_ok)
        << last_error();
    for (const char* text : {day, day_and_time}) {
      EXPECT_EQ(OBJ_UIF_set_value(form, "weighed", text), ORK_ok) << last_error();
      EXPECT_EQ(value(form, "weighed"), text);
    }
  }
}

TEST_F(DataSite, SeedsFillMasterFormsAndFormsOfDatasets) {
  const tag item = find("000100");
  tag relation_type = NULLTAG;
  ASSERT_EQ(TYPE_find_type("VELO_master_form", nullptr, &relation_type), ORK_ok);
  int count = -1;
  tag* forms = nullptr;
  ASSERT_EQ(REL_list_secondary_objects_only(item, relation_type, &count, &forms), ORK_ok);
  const std::vector<tag> found = test::take(count, forms);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(value(found[0], "object_name"), "Bracket");
  EXPECT_EQ(value(found[0], "material"), "steel");
  EXPECT_EQ(value(found[0], "weight"), "1.25");

  const tag release = references(dataset("model"))[2].object;
  EXPECT_EQ(value(release, "object_name"), "Release");
  EXPECT_EQ(value(release, "UGezDate"), "21-Nov-2026");
  EXPECT_EQ(value(release, "UGezPerson"), "wagner");
  EXPECT_THAT(test::describe("form_types"), HasSubstr("UrRevision"));
}
