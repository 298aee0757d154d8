// Error reports, texts, paths and arrays of tags. Most of these call no platform operation, but
// allocate.

#include <cstdlib>

#include "ork/err.h"
#include "ork/mem.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_texts(Cases& cases) {
  cases
      .add("ZOLP_ReportLastOrkError", "a code that is not on the stack", R"(good 0;
        ignores unrecorded unwrapped ERR_get_errors ERR_get_error_text; exhausted 0)")
      .call([](Run& run) {
        // What it returns has no meaning.
        run.call([] { ZOLP_ReportLastOrkError(ORK_wrong_password); });
      });
  cases.add("ZOLP_list_errors", "", "good 0; passes unrecorded ERR_get_errors")
      .call(outputs_of(ZOLP_list_errors, 1))
      .prepare([] { ERR_store_error(ERR_severity_error, 919246); });
  cases.add("ZOLP_CopyString", "", "good 0: text; exhausted 0: null").call([](Run& run) {
    char* copy = run.call(ZOLP_CopyString, "text");
    run.out(copy);
    MEM_free(copy);
  });
  // The working copy and the longer text; the old text is lost with either.
  cases.add("ZOLP_string_append", "", "good 0: one two|same; exhausted 0 x2: null|same")
      .call([](Run& run) {
        char* text = ZOLP_CopyString("one");
        const char* result = run.call(ZOLP_string_append, &text, " two");
        run.out(text).out(result == text ? "same" : "other");
        MEM_free(text);
      });
  // Copy, array, buffer for a field, and each of the two fields.
  cases
      .add("ZOLP_splitItemString", "", R"(good 0: 2|one two;
        exhausted -1 x2: 0|null; exhausted 1: 0|null; exhausted -1 x2: 0|null)")
      .call([](Run& run) {
        int count = untouched_number;
        char** items = untouched<char*>();
        run.call(ZOLP_splitItemString, "one~two", nullptr, &count, &items);
        run.out(count).out_texts(count, items);
        for (int i = 0; i < count; ++i) {
          MEM_free(items[i]);
        }
        MEM_free(items);
      });
  cases.add("ZOLP_ExtendPathVar", "", R"(good 0: D:\t\sub)")
      .call(outputs_of(ZOLP_ExtendPathVar, R"(%SWEEP%\sub)"))
      .prepare([] { setenv("SWEEP", R"(D:\t)", 1); });
}

/** Calls what changes an array of the platform with these elements, and shows what is left. */
template <typename Change>
auto change_array(std::vector<const char*> names, Change change) {
  return [names, change](Run& run) {
    int count = static_cast<int>(names.size());
    auto* array = static_cast<tag*>(count > 0 ? MEM_alloc(names.size() * sizeof(tag)) : nullptr);
    for (std::size_t i = 0; i < names.size(); ++i) {
      array[i] = object(names[i]);
    }
    run.call(change, &count, &array);
    run.out(count).out_tags(count, array);
    MEM_free(array);
  };
}

void add_arrays(Cases& cases) {
  cases.add("ZOLP_addElement", "", "good 0: 1|100; exhausted 1: 0|null")
      .call(change_array({}, [](int* count, tag** array) {
        return ZOLP_addElement(object("100"), count, array);
      }));
  cases
      .add("ZOLP_excludeObjects", "",
           "good 0: 2|100 100/A; exhausted 1: 0|null; exhausted 1: 1|100")
      .call(change_array({}, [](int* count, tag** array) {
        const tag objects[] = {object("100"), object("200"), object("100/A")};
        return ZOLP_excludeObjects(3, objects, 1, &objects[1], count, array);
      }));
  cases.add("ZOLP_eliminateRedundances", "", "good 0: 2|200 100; makes_do: 3|100 200 100")
      .call(change_array({"100", "200", "100"}, [](int* count, tag** array) {
        return ZOLP_eliminateRedundances(*array, count);
      }));
  cases.add("ZOLP_removeElement", "", "good 0: 2|100 100/A; exhausted 1: 2|100 100/A")
      .call(change_array({"100", "200", "100/A"}, [](int* count, tag** array) {
        return ZOLP_removeElement(object("200"), count, array);
      }));
  cases
      .add("ZOLP_removeInvalidTags", "", R"(good 0: 3|100 200 100/A;
        ignores unwrapped STORE_is_tag_valid: 2|200 100/A;
        ignores unwrapped STORE_is_tag_valid: 2|100 100/A;
        ignores unwrapped STORE_is_tag_valid: 2|100 200; exhausted 0: 3|100 200 100/A)")
      .call(change_array({"100", "200", "100/A"}, ZOLP_removeInvalidTags));
}

}  // namespace

void add_text_and_array_cases(Cases& cases) {
  add_texts(cases);
  add_arrays(cases);
}

}  // namespace sweep
