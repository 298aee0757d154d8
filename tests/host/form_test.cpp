// Forms, and values of attributes as users write them.

#include "data_site.h"

namespace {

using Texts = std::array<const char*, 3>;

std::vector<std::string> fields_of(tag form) {
  return list(FORM_list_fields, form);
}

}  // namespace

TEST_F(DataSite, FormsHaveTheFieldsOfTheirType) {
  tag form = ask(FORM_create, "m", "of the bracket", "ExactMass");
  EXPECT_THAT(fields_of(form),
              ElementsAre("material", "pieces", "weight", "bought", "weighed", "weigher", "error"));
  ASSERT_EQ(OBJ_UIF_set_value(form, "pieces", "3"), ORK_ok);
  EXPECT_EQ(FORM_initialize(form, "mass", nullptr, "Mass"), FORM_wrong_type);
  EXPECT_EQ(FORM_initialize(form, "mass", nullptr, "ExactMass"), ORK_ok);
  EXPECT_EQ(shown(form, "pieces"), "");
  EXPECT_EQ(shown(form, "object_name"), "mass");
  EXPECT_EQ(shown(form, "object_desc"), "of the bracket");
  ASSERT_EQ(OBJ_save(form) | OBJ_refresh(form, 0), ORK_ok);
  EXPECT_EQ(FORM_initialize(form, "late", nullptr, "ExactMass"), STORE_not_locked);
  EXPECT_EQ(FORM_initialize(find("000100"), "x", nullptr, "Mass"), FORM_not_a_form);

  form = ask(FORM_create, "release", nullptr, "FreigabeInfo");
  EXPECT_THAT(fields_of(form),
              ElementsAre("UrRevision", "UGezPerson", "UGezDate", "UGepPerson", "UGepDate",
                          "UGesPerson", "UGesDate", "UBauPerson", "UBauDate", "UEndPerson",
                          "UEndDate", "UFreiPerson", "UFreiDate"));
  for (const char* type : {"Text", "mass", "VELO_reference", ""}) {
    EXPECT_EQ(refusal(FORM_create, "x", nullptr, type), TYPE_unknown_type) << type;
  }
  EXPECT_EQ(refusal(FORM_list_fields, find("000100")), FORM_not_a_form);
}

TEST_F(DataSite, ValuesAreWrittenAsUsersWriteThem) {
  const tag form = ask(FORM_create, "m", nullptr, "Mass");
  const Texts good[] = {{"material", "8 bytes!", "8 bytes!"},
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
  for (const auto& [field, text, expected] : good) {
    EXPECT_EQ(OBJ_UIF_set_value(form, field, text), ORK_ok) << last_error();
    EXPECT_EQ(shown(form, field), expected);
  }
  const Texts bad[] = {{"pieces", "2147483648", "a whole number from -2147483648 to 2147483647"},
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
    const std::string before = shown(form, field);
    EXPECT_EQ(OBJ_UIF_set_value(form, field, text), OBJ_value_not_understood) << text;
    EXPECT_THAT(last_error(), HasSubstr(why));
    EXPECT_EQ(shown(form, field), before);
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
    EXPECT_EQ(shown(form, field), "");
  }
}

TEST_F(DataSite, DatesFollowTheSitesFormat) {
  const tag form = ask(FORM_create, "m", nullptr, "Mass");
  const Texts formats[] = {{"%d.%m.%Y, %H:%M", "21.11.2026", "21.11.2026, 13:05"},
                           {"%H.%M on %d/%m/%Y", "00.00 on 21/11/2026", "13.05 on 21/11/2026"},
                           {"%Y%m%d", "20261121", "20261121"}};
  for (const auto& [format, day, day_and_time] : formats) {
    const std::string texts =
        std::string(R"({"texts": {"en": {"DefaultDateFormat": ")") + format + "\"}}}";
    ASSERT_EQ(seed_file(texts), ORK_invalid_argument);
    EXPECT_THAT(last_error(), HasSubstr("unsaved changes"));
    ASSERT_EQ(OBJ_save(form), ORK_ok);
    ASSERT_EQ(seed_file(texts), ORK_ok) << last_error();
    for (const char* text : {day, day_and_time}) {
      EXPECT_EQ(OBJ_UIF_set_value(form, "weighed", text), ORK_ok) << last_error();
      EXPECT_EQ(shown(form, "weighed"), text);
    }
  }
}

TEST_F(DataSite, SeedsFillMasterFormsAndFormsOfDatasets) {
  const tag item = find("000100");
  const std::vector<tag> found =
      list(REL_list_secondary_objects_only, item, test::relation_type("VELO_master_form"));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(shown(found[0], "object_name"), "Bracket");
  EXPECT_EQ(shown(found[0], "material"), "steel");
  EXPECT_EQ(shown(found[0], "weight"), "1.25");

  const tag release = references(dataset("model"))[2].object;
  EXPECT_EQ(shown(release, "object_name"), "Release");
  EXPECT_EQ(shown(release, "UGezDate"), "21-Nov-2026");
  EXPECT_EQ(shown(release, "UGezPerson"), "wagner");
  EXPECT_THAT(test::describe("form_types"), HasSubstr("UrRevision"));
}
