// Error reports, texts, paths and arrays of tags. Most of these call no platform operation, but
// allocate.

#include "sweep.h"

namespace sweep {

namespace {

void add_texts(Cases& cases) {
  cases.add("ZOLP_ReportLastOrkError", "a code that is not on the stack").call([](Run& run) {
    // What it returns has no meaning.
    run.call([] { ZOLP_ReportLastOrkError(ORK_wrong_password); });
  });
  cases.add("ZOLP_list_errors").call(outputs_of(ZOLP_list_errors, 1)).prepare([] {
    ERR_store_error(ERR_severity_error, 919246);
  });
  cases.add("ZOLP_CopyString").call([](Run& run) {
    char* copy = run.call(ZOLP_CopyString, "text");
    run.out(copy);
    MEM_free(copy);
  });
  cases.add("ZOLP_string_append").call([](Run& run) {
    char* text = ZOLP_CopyString("one");
    const char* result = run.call(ZOLP_string_append, &text, " two");
    run.out(text).out(result == text ? "same" : "other");
    MEM_free(text);
  });
  cases.add("ZOLP_splitItemString").call([](Run& run) {
    int count = untouched_number;
    char** items = untouched<char*>();
    run.call(ZOLP_splitItemString, "one~two", nullptr, &count, &items);
    run.out(count).out_texts(count, items);
    for (int i = 0; i < count; ++i) {
      MEM_free(items[i]);
    }
    MEM_free(items);
  });
  cases.add("ZOLP_ExtendPathVar")
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
  cases.add("ZOLP_addElement").call(change_array({}, [](int* count, tag** array) {
    return ZOLP_addElement(object("100"), count, array);
  }));
  cases.add("ZOLP_excludeObjects").call(change_array({}, [](int* count, tag** array) {
    const tag objects[] = {object("100"), object("200"), object("100/A")};
    return ZOLP_excludeObjects(3, objects, 1, &objects[1], count, array);
  }));
  cases.add("ZOLP_eliminateRedundances")
      .call(change_array({"100", "200", "100"}, [](int* count, tag** array) {
        return ZOLP_eliminateRedundances(*array, count);
      }));
  cases.add("ZOLP_removeElement")
      .call(change_array({"100", "200", "100/A"}, [](int* count, tag** array) {
        return ZOLP_removeElement(object("200"), count, array);
      }));
  cases.add("ZOLP_removeInvalidTags")
      .call(change_array({"100", "200", "100/A"}, ZOLP_removeInvalidTags));
}

}  // namespace

void add_text_and_array_cases(Cases& cases) {
  add_texts(cases);
  add_arrays(cases);
}

}  // namespace sweep
