// Error reports, texts, paths and arrays of tags. Most of these call no platform operation, but
// allocate.

#include <cstdlib>
#include <cstring>

#include "ork/err.h"
#include "ork/mem.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

void add_reports(Cases& cases) {
  cases.add("ZOLP_ReportLastOrkError", "a code that is not on the stack")
      .good({0, ""})
      .steps({ignores("ERR_get_errors").unrecorded().unwrapped(),
              ignores("ERR_get_error_text").unrecorded().unwrapped()})
      .allocations({exhausted(0)})
      .call([](Run& run) {
        // What it returns has no meaning.
        run.call([] { ZOLP_ReportLastOrkError(ORK_wrong_password); });
      });
  cases.add("ZOLP_list_errors", "")
      .good({0, ""})
      .steps({passes("ERR_get_errors").unrecorded()})
      .call([](Run& run) { run.call(ZOLP_list_errors, 1); })
      .prepare([] { ERR_store_error(ERR_severity_error, 919246); });
  cases.add("ZOLP_Version", "").call([](Run& run) { run.call(ZOLP_Version); });
  cases.add("ZOLP_GetTime", "").good({0, "a year"}).call([](Run& run) {
    date_s date{};
    run.call(ZOLP_GetTime, &date);
    run.out(date.year > 2000 ? "a year" : "none");
  });
}

void add_texts(Cases& cases) {
  cases.add("ZOLP_CopyString", "")
      .good({0, "text"})
      .allocations({exhausted(0, "null")})
      .call([](Run& run) {
        char* copy = run.call(ZOLP_CopyString, "text");
        run.out(copy);
        MEM_free(copy);
      });
  // The working copy and the longer text; the old text is lost with either.
  cases.add("ZOLP_string_append", "")
      .good({0, "one two|same"})
      .allocations({exhausted(0, "null|same"), exhausted(0, "null|same")})
      .call([](Run& run) {
        char* text = ZOLP_CopyString("one");
        const char* result = run.call(ZOLP_string_append, &text, " two");
        run.out(text).out(result == text ? "same" : "other");
        MEM_free(text);
      });
  // Copy, array, buffer for a field, and each of the two fields.
  cases.add("ZOLP_splitItemString", "")
      .good({0, "2|one two"})
      .allocations({exhausted(-1, "0|null"), exhausted(-1, "0|null"), exhausted(1, "0|null"),
                    exhausted(-1, "0|null"), exhausted(-1, "0|null")})
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
  cases.add("ZOLP_splitToFirstSeparator", "").good({0, "a|b:c"}).call([](Run& run) {
    char head[8];
    char tail[8];
    run.call(ZOLP_splitToFirstSeparator, "a:b:c", ':', head, tail);
    run.out(head).out(tail);
  });
  cases.add("ZOLP_RepSpecialChar", "").good({0, "a_b"}).call([](Run& run) {
    char text[] = "a/b";
    run.call(ZOLP_RepSpecialChar, text);
    run.out(text);
  });
  cases.add("string_to_lower", "").good({0, "abc"}).call([](Run& run) {
    char text[] = "ABC";
    run.call(string_to_lower, text);
    run.out(text);
  });
  cases.add("ZOLP_ExtendPathVar", "")
      .good({0, "D:\\t\\sub"})
      .call([](Run& run) {
        char path[ZOLP_LONG_PATH_SIZE] = "";
        run.call(ZOLP_ExtendPathVar, "%SWEEP%\\sub", path);
        run.out(path);
      })
      .prepare([] { setenv("SWEEP", "D:\\t", 1); });
}

/** An array of the platform with some tags. */
class Array {
 public:
  Array(std::initializer_list<tag> elements) : count_(static_cast<int>(elements.size())) {
    block_ = static_cast<tag*>(MEM_alloc(elements.size() * sizeof(tag)));
    std::copy(elements.begin(), elements.end(), block_);
  }
  ~Array() { MEM_free(block_); }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  void show(Run& run) const { run.out(count_).out_tags(count_, block_); }

  int* count() { return &count_; }
  tag** block() { return &block_; }

 private:
  int count_;
  tag* block_;
};

template <typename Change>
auto change_array(Change change) {
  return [change](Run& run) {
    Array array{object("100"), object("200"), object("100/A")};
    run.call(change, array);
    array.show(run);
  };
}

void add_array_searches(Cases& cases) {
  cases.add("ZOLP_searchElementInArray", "").good({0, "1"}).call([](Run& run) {
    const tag elements[] = {object("100"), object("200")};
    logical found = untouched_number;
    run.call(ZOLP_searchElementInArray, elements[1], elements, 2, &found);
    run.out(found);
  });
  cases.add("ZOLP_searchElement", "").good({0, "1"}).call([](Run& run) {
    tag elements[] = {object("100"), object("200")};
    tag* array = elements;
    int count = 2;
    logical found = untouched_number;
    run.call(ZOLP_searchElement, elements[1], &array, &count, &found);
    run.out(found);
  });
  cases.add("ZOLP_ifStringInArray", "").good({0, "1"}).call([](Run& run) {
    char text[] = "text";
    char* texts[] = {text};
    logical found = untouched_number;
    run.call(ZOLP_ifStringInArray, "text", 1, texts, &found);
    run.out(found);
  });
}

void add_array_changes(Cases& cases) {
  cases.add("ZOLP_addElement", "")
      .good({0, "1|100"})
      .allocations({exhausted(1, "0|null")})
      .call([](Run& run) {
        int count = 0;
        tag* array = nullptr;
        run.call(ZOLP_addElement, object("100"), &count, &array);
        run.out(count).out_tags(count, array);
        MEM_free(array);
      });
  cases.add("ZOLP_excludeObjects", "")
      .good({0, "2|100 100/A"})
      .allocations({exhausted(1, "0|null"), exhausted(1, "1|100")})
      .call([](Run& run) {
        const tag objects[] = {object("100"), object("200"), object("100/A")};
        const tag excluded[] = {object("200")};
        int count = 0;
        tag* array = nullptr;
        run.call(ZOLP_excludeObjects, 3, objects, 1, excluded, &count, &array);
        run.out(count).out_tags(count, array);
        MEM_free(array);
      });
  cases.add("ZOLP_eliminateRedundances", "")
      .good({0, "2|200 100"})
      .makes_do("3|100 200 100")
      .call([](Run& run) {
        tag array[] = {object("100"), object("200"), object("100")};
        int count = 3;
        run.call(ZOLP_eliminateRedundances, array, &count);
        run.out(count).out_tags(count, array);
      });
}

void add_shrinking_arrays(Cases& cases) {
  cases.add("ZOLP_removeElement", "")
      .good({0, "2|100 100/A"})
      .allocations({exhausted(1, "2|100 100/A")})
      .call(change_array([](Array& array) {
        return ZOLP_removeElement(object("200"), array.count(), array.block());
      }));
  const auto drops = [](const char* left) {
    return ignores("STORE_is_tag_valid", left).unwrapped();
  };
  cases.add("ZOLP_removeInvalidTags", "")
      .good({0, "3|100 200 100/A"})
      .steps({drops("2|200 100/A"), drops("2|100 100/A"), drops("2|100 200")})
      .allocations({exhausted(0, "3|100 200 100/A")})
      .call(change_array(
          [](Array& array) { return ZOLP_removeInvalidTags(array.count(), array.block()); }));
}

void add_classes(Cases& cases) {
  cases.add("CZOLP_ParamLine::operator=(CZOLP_ParamLine const&)", "")
      .good({0, "line"})
      .call([](Run& run) {
        CZOLP_ParamLine from{};
        CZOLP_ParamLine to{};
        std::strcpy(from.text, "line");
        run.call([&] { to = from; });
        run.out(to.text);
      });
  cases.add("CZOLP_String::operator=(CZOLP_String const&)", "").call([](Run& run) {
    const CZOLP_String from;
    CZOLP_String to;
    run.call([&] { to = from; });
  });
}

}  // namespace

void add_text_and_array_cases(Cases& cases) {
  add_reports(cases);
  add_texts(cases);
  add_array_searches(cases);
  add_array_changes(cases);
  add_shrinking_arrays(cases);
  add_classes(cases);
}

}  // namespace sweep
