#include <numeric>
#include <random>
#include <unordered_set>

#include "support/site.h"

namespace {

/** An array of tags as the library's callers have it. */
struct Tags {
  Tags() = default;
  Tags(std::initializer_list<tag> elements) {
    for (const tag element : elements) {
      array =
          static_cast<tag*>(MEM_crealloc(array, static_cast<std::size_t>(count) + 1, sizeof(tag)));
      array[count++] = element;
    }
  }
  ~Tags() { MEM_free(array); }
  Tags(const Tags&) = delete;
  Tags& operator=(const Tags&) = delete;

  std::vector<tag> elements() const { return {array, array + count}; }

  int count = 0;
  tag* array = nullptr;
};

class Arrays : public testing::Test {
 protected:
  ~Arrays() override { EXPECT_EQ(ork_host_block_count(), 0U); }
  test::TraceCapture trace;
};

TEST_F(Arrays, AddKeepsOrderAndRefusesDuplicatesAndNull) {
  Tags tags;
  for (const tag element : {7U, 5U, 7U, 4294967295U, 5U}) {
    EXPECT_EQ(ZOLP_addElement(element, &tags.count, &tags.array), 0);
  }
  EXPECT_THAT(tags.elements(), ElementsAre(7, 5, 4294967295U));
  EXPECT_THAT(trace.lines(), testing::Contains("  \tinserted_object:-1\tarray[2]:-1"));
  trace.clear();
  EXPECT_EQ(ZOLP_addElement(NULLTAG, &tags.count, &tags.array), 1);
  EXPECT_EQ(trace.lines().size(), 1U);  // no exit line, and a level stays open
  EXPECT_EQ(ZOLP_GetTraceDepth(), 1);
}

TEST_F(Arrays, SearchFindsInArraysAndInNone) {
  Tags tags{3, 4};
  logical found = 9;
  EXPECT_EQ(ZOLP_searchElement(4, &tags.array, &tags.count, &found), 0);
  EXPECT_EQ(found, 1);
  EXPECT_EQ(trace.lines()[1], "  Object exists");
  EXPECT_EQ(ZOLP_searchElementInArray(5, tags.array, tags.count, &found), 0);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(trace.lines()[4], "  Object does not exist in array");
}

TEST_F(Arrays, LongOnesAreSearchedWhole) {
  Tags tags;
  for (tag element = 1; element <= 200; ++element) {
    for (const tag added : {element, (element + 1) / 2, element}) {
      EXPECT_EQ(ZOLP_addElement(added, &tags.count, &tags.array), 0);
    }
    EXPECT_EQ(tags.count, static_cast<int>(element));
  }
  EXPECT_EQ(ZOLP_removeElement(100, &tags.count, &tags.array), 0);
  EXPECT_EQ(tags.elements()[99], 101U);
  EXPECT_EQ(tags.elements()[198], 200U);
}

TEST_F(Arrays, NullArraysAndNegativeCountsAreEmpty) {
  Tags none;
  logical found = 9;
  none.count = 3;
  EXPECT_EQ(ZOLP_searchElement(4, &none.array, &none.count, &found), 0);
  EXPECT_EQ(found, 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_removeElement(4, &none.count, &none.array), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "System Panik!\n");
  EXPECT_EQ(none.count, 0);
  EXPECT_EQ(ZOLP_excludeObjects(2, nullptr, 0, nullptr, &none.count, &none.array), 0);
  EXPECT_EQ(ZOLP_ifStringInArray("text", 2, nullptr, &found), 0);
  EXPECT_EQ(found, 0);
  for (const int count : {3, -1}) {
    Tags tags;
    tags.count = count;
    EXPECT_EQ(ZOLP_addElement(4, &tags.count, &tags.array), 0);
    EXPECT_THAT(tags.elements(), ElementsAre(4));
  }
}

TEST_F(Arrays, RemoveShrinksAndPanicsOverNothingLeft) {
  Tags tags{1, 2, 1, 3, 1};
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_removeElement(1, &tags.count, &tags.array), 0);
  EXPECT_EQ(ork_host_block_bytes(), 2 * sizeof(tag));
  const std::vector<tag> left = tags.elements();
  EXPECT_EQ(ZOLP_removeElement(9, &tags.count, &tags.array), 0);
  EXPECT_EQ(ZOLP_removeElement(2, &tags.count, &tags.array), 0);
  const std::string before = testing::internal::GetCapturedStdout();
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_removeElement(3, &tags.count, &tags.array), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "System Panik!\n");
  EXPECT_EQ(before, "");
  EXPECT_THAT(left, ElementsAre(2, 3));
  EXPECT_EQ(tags.count, 0);
  EXPECT_EQ(tags.array, nullptr);
}

TEST_F(Arrays, ExcludeAppendsWhatIsNotExcluded) {
  const Tags objects{5, 6, 7, 6, 0, 8};
  const Tags excluded{7};
  Tags result{6, 4};
  EXPECT_EQ(ZOLP_excludeObjects(4, objects.array, 1, excluded.array, &result.count, &result.array),
            0);
  EXPECT_THAT(result.elements(), ElementsAre(6, 4, 5));
  EXPECT_EQ(ZOLP_excludeObjects(6, objects.array, 0, nullptr, &result.count, &result.array), 1);
  EXPECT_THAT(result.elements(), ElementsAre(6, 4, 5, 7));
}

TEST_F(Arrays, OnlyTheFirstStringCounts) {
  char first[] = "first";
  char second[] = "second";
  char* strings[] = {first, second};
  const auto is_in = [&](const char* text, int count) {
    logical found = 9;
    EXPECT_EQ(ZOLP_ifStringInArray(text, count, strings, &found), 0);
    return found == 1;
  };
  EXPECT_TRUE(is_in("first", 2));
  EXPECT_FALSE(is_in("second", 2));
  EXPECT_FALSE(is_in("First", 2));
  EXPECT_FALSE(is_in("first", 0));
}

std::vector<tag> without_redundances(std::vector<tag> tags) {
  int count = static_cast<int>(tags.size());
  EXPECT_EQ(ZOLP_eliminateRedundances(tags.data(), &count), 0);
  tags.resize(static_cast<std::size_t>(count));
  return tags;
}

TEST_F(Arrays, EliminateRedundancesTracesWhatItDoes) {
  EXPECT_THAT(without_redundances({5, 7, 5, 9, 7, 5}), ElementsAre(9, 5, 7));
  EXPECT_THAT(
      trace.lines(),
      ElementsAre(StartsWith(" ->ZOLP_eliminateRedundances zolp_array_utils.cpp:"),  //
                  "", "", "  redundances:", "  5 7 5 ", "",                          //
                  "  n:6, zaehler:3", "", "", "  9 ", "", "",                        //
                  "  array aus redundance - k:1", "", "  9 ", "",                    //
                  "  zaehler:3: sizeof_new_array:3", StartsWith(" <-ZOLP_eliminateRedundances ")));
  EXPECT_THAT(without_redundances({}), ElementsAre());
  EXPECT_THAT(without_redundances({3, 1, 2}), ElementsAre(3, 1, 2));
  EXPECT_THAT(without_redundances({5, 5, 5, 7, 7, 9}), ElementsAre(9, 5, 7));
}

TEST(Texts, SpecialCharactersAndCase) {
  const auto replaced = [](std::string text) {
    EXPECT_EQ(ZOLP_RepSpecialChar(text.data()), 0);
    return text;
  };
  EXPECT_EQ(replaced("a/b c:d"), "a_b_c_d");
  EXPECT_EQ(replaced("/;, *:?=\\'#><[]}{|~@&$\"\xB4`"), std::string(25, '_'));
  EXPECT_EQ(replaced("aZ09.-_+%!()^\xE4\xC3\xA4"), "aZ09.-_+%!()^\xE4\xC3\xA4");
  std::string text = "MiXeD 123 \xC4";
  EXPECT_EQ(string_to_lower(text.data()), 0);
  EXPECT_EQ(text, "mixed 123 \xC4");
}

TEST(Texts, ExtendPathVar) {
  const test::TraceCapture trace;
  setenv("ZOLP_TEST", "D:\\t", 1);
  setenv("HOM", "H", 1);
  char buffer[ZOLP_LONG_PATH_SIZE];
  const auto extended = [&buffer](const std::string& path) {
    std::fill(std::begin(buffer), std::end(buffer), '\0');
    std::copy_n("untouched", 9, buffer);
    const int status = ZOLP_ExtendPathVar(path.c_str(), buffer);
    return std::to_string(status) + ":" + buffer;
  };
  EXPECT_EQ(extended("%ZOLP_TEST%\\sub\\x"), "0:D:\\t\\sub\\x");
  EXPECT_EQ(extended("%ZOLP_TEST%"), "0:D:\\t\\");
  EXPECT_EQ(extended("$HOME\\sub"), "0:H\\sub");  // the last letter goes as well
  EXPECT_EQ(extended("C:\\%ZOLP_TEST%"), "0:untouched");
  EXPECT_EQ(extended(""), "0:untouched");
  EXPECT_TRUE(trace.has("Shortened Pathvar is >ZOLP_TEST<"));

  testing::internal::CaptureStdout();
  EXPECT_EQ(extended("%NO_SUCH_VARIABLE%\\x"), "1:untouched");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\n\nERROR: Pathvariable in >%NO_SUCH_VARIABLE%\\x< not defined.\n"
            "Contact your systemadministrator!\n");
  EXPECT_EQ(trace.lines().back(), "  Pathvariable not defined: RETURN!");

  EXPECT_EQ(extended("%ZOLP_TEST%\\" + std::string(256, 's')), "0:D:\\t\\" + std::string(256, 's'));
  EXPECT_EQ(extended("%ZOLP_TEST%\\" + std::string(257, 's')), "1:untouched");
  EXPECT_EQ(extended("%" + std::string(40, 'v') + "\\x"), "1:untouched");
  EXPECT_EQ(extended("%"), "1:untouched");
  setenv("ZOLP_TEST", std::string(ZOLP_LONG_PATH_SIZE - 3, 'v').c_str(), 1);
  EXPECT_EQ(extended("%ZOLP_TEST%\\x"), "0:" + std::string(ZOLP_LONG_PATH_SIZE - 3, 'v') + "\\x");
  EXPECT_EQ(extended("%ZOLP_TEST%\\xy"), "1:untouched");
}

}  // namespace
