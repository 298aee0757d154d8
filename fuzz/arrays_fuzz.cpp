// Arrays of tags. Each byte of an input is a step: the upper bits say what is done, the lower ones
// with which tag.

#include <algorithm>
#include <map>

#include "fuzz/support.h"
#include "ork/mem.h"
#include "ork_host.h"
#include "zolp_orktool.h"

namespace {

using Tags = std::vector<tag>;

/** The array of the library and what it should hold. */
struct Array {
  int count = 0;
  tag* block = nullptr;
  Tags expected;

  void compare() const { fuzz::check(Tags(block, block + count) == expected, "the array's tags"); }

  bool has(tag element) const {
    return std::find(expected.begin(), expected.end(), element) != expected.end();
  }
};

void add(Array& array, tag element) {
  const int status = ZOLP_addElement(element, &array.count, &array.block);
  fuzz::check(status == (element == NULLTAG ? 1 : 0), "a tag is added");
  if (element != NULLTAG && !array.has(element)) {
    array.expected.push_back(element);
  }
}

void remove(Array& array, tag element) {
  std::erase(array.expected, element);
  const int status = ZOLP_removeElement(element, &array.count, &array.block);
  fuzz::check(status == (array.expected.empty() ? 1 : 0), "a tag is removed");
}

void search(const Array& array, tag element) {
  logical found = 2;
  ZOLP_searchElementInArray(element, array.block, array.count, &found);
  fuzz::check(found == (array.has(element) ? 1 : 0), "a tag is found");
}

/** Appends repetitions behind the library's back and has them eliminated. */
void repeat_and_eliminate(Array& array, tag element) {
  Tags tags = array.expected;
  tags.push_back(element);
  tags.insert(tags.end(), array.expected.begin(),
              array.expected.begin() + static_cast<std::ptrdiff_t>(array.expected.size() / 2));
  std::map<tag, int> occurrences;
  for (const tag one : tags) {
    ++occurrences[one];
  }
  Tags expected;
  std::copy_if(tags.begin(), tags.end(), std::back_inserter(expected),
               [&](tag one) { return occurrences[one] == 1; });
  for (const tag one : tags) {
    const bool is_new = std::find(expected.begin(), expected.end(), one) == expected.end();
    if (is_new) {
      expected.push_back(one);
    }
  }
  int count = static_cast<int>(tags.size());
  ZOLP_eliminateRedundances(tags.data(), &count);
  tags.resize(static_cast<std::size_t>(count));
  fuzz::check(tags == expected, "one of each tag is left");
}

void exclude(const Array& array, tag element) {
  int count = 0;
  tag* left = nullptr;
  const int status = ZOLP_excludeObjects(array.count, array.block, 1, &element, &count, &left);
  Tags expected = array.expected;
  std::erase(expected, element);
  fuzz::check(status == 0 && Tags(left, left + count) == expected, "a tag is left out");
  MEM_free(left);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::print_into_nothing();
  fuzz::trace_into_nothing();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t most_steps = 1000;
  Array array;
  for (std::size_t i = 0; i < std::min(size, most_steps); ++i) {
    const tag element = data[i] % 32U;
    switch (data[i] / 32U) {
      case 0:
        remove(array, element);
        break;
      case 1:
        search(array, element);
        break;
      case 2:
        repeat_and_eliminate(array, element);
        break;
      case 3:
        exclude(array, element);
        break;
      default:
        add(array, element);
    }
    array.compare();
  }
  MEM_free(array.block);
  return 0;
}
