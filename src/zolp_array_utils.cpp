// Arrays of tags, kept free of duplicates and of the null tag.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <unordered_map>
#include <vector>

#include "call_frame.h"
#include "ork/mem.h"
#include "ork/store.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::shown;

namespace {

/**
 * Whether a tag is among others. Whole blocks are compared before the result is looked at, which
 * compilers turn into vector instructions, unlike a search that may stop at each element.
 */
bool is_among(const tag* array, std::size_t count, tag element) {
  constexpr std::size_t block_size = 64;
  std::size_t i = 0;
  for (; i + block_size <= count; i += block_size) {
    std::uint32_t equal = 0;
    for (std::size_t j = 0; j < block_size; ++j) {
      equal |= array[i + j] == element ? 1U : 0U;
    }
    if (equal != 0) {
      return true;
    }
  }
  return std::find(array + i, array + count, element) != array + count;
}

logical search(tag element, const tag* array, int count) {
  const logical found =
      is_among(array, static_cast<std::size_t>(std::max(count, 0)), element) ? 1 : 0;
  ZOLP_TRACE(found != 0 ? "Object exists\n" : "Object does not exist in array\n");
  return found;
}

/**
 * Gives back the room behind an array's last element. An array without elements is released, which
 * counts as a failure, and so callers have always been told; the array is null then.
 */
int shrink(int count, tag** array) {
  if (count > 0) {
    auto* shrunk =
        static_cast<tag*>(MEM_realloc(*array, static_cast<std::size_t>(count) * sizeof(tag)));
    if (shrunk != nullptr) {
      *array = shrunk;
      return 0;
    }
  } else {
    MEM_free(*array);
    *array = nullptr;
  }
  return 1;
}

}  // namespace

int ZOLP_searchElementInArray(tag element, const tag* array, int count, logical* found) {
  FRAME(frame, "ZOLP_searchElementInArray");
  *found = search(element, array, array != nullptr ? count : 0);
  return frame.leave(0);
}

int ZOLP_searchElement(tag element, tag** array, int* count, logical* found) {
  FRAME(frame, "ZOLP_searchElement");
  *found = search(element, *array, *array != nullptr ? *count : 0);
  return frame.leave(0);
}

int ZOLP_addElement(tag element, int* count, tag** array) {
  FRAME(frame, "ZOLP_addElement");
  if (element == NULLTAG) {
    return 1;  // without the exit line, as for every refusal of a bad argument
  }
  logical found = 0;
  ZOLP_searchElement(element, array, count, &found);
  if (found == 0) {
    const int index = *array != nullptr ? std::max(*count, 0) : 0;
    auto* grown =
        static_cast<tag*>(MEM_crealloc(*array, static_cast<std::size_t>(index) + 1, sizeof(tag)));
    if (grown == nullptr) {
      return frame.leave(1);
    }
    *array = grown;
    grown[index] = element;
    ZOLP_TRACE("\n\tinserted_object:%d\tarray[%d]:%d\n", shown(element), index,
               shown(grown[index]));
    *count = index + 1;
  }
  return frame.leave(0);
}

int ZOLP_removeElement(tag element, int* count, tag** array) {
  FRAME(frame, "ZOLP_removeElement");
  if (*array != nullptr) {
    *count = static_cast<int>(std::remove(*array, *array + std::max(*count, 0), element) - *array);
  } else {
    *count = 0;
  }
  const int status = shrink(*count, array);
  if (status != 0) {
    std::printf("System Panik!\n");
  }
  return frame.leave(status);
}

int ZOLP_removeInvalidTags(int* count, tag** array) {
  FRAME(frame, "ZOLP_removeInvalidTags");
  int kept = 0;
  for (int i = 0; *array != nullptr && i < *count; ++i) {
    const tag element = (*array)[i];
    logical valid = 0;
    if (STORE_is_tag_valid(element, &valid) == ORK_ok && valid == 1) {
      (*array)[kept++] = element;
    }
  }
  *count = kept;
  shrink(kept, array);
  return frame.leave(0);
}

int ZOLP_excludeObjects(int count, const tag* objects, int exclude_count, const tag* exclude,
                        int* out_count, tag** out_array) {
  FRAME(frame, "ZOLP_excludeObjects");
  int status = 0;
  for (int i = 0; objects != nullptr && i < count && status == 0; ++i) {
    logical found = 0;
    ZOLP_searchElementInArray(objects[i], exclude, exclude_count, &found);
    if (found == 0) {
      status = ZOLP_addElement(objects[i], out_count, out_array);
    }
  }
  return frame.leave(status);
}

int ZOLP_ifStringInArray(const char* text, int count, char** strings, logical* found) {
  FRAME(frame, "ZOLP_ifStringInArray");
  // Callers pass the text that they look for first in the list; only that one has ever counted.
  const bool has_first =
      count > 0 && text != nullptr && strings != nullptr && strings[0] != nullptr;
  *found = has_first && std::strcmp(text, strings[0]) == 0 ? 1 : 0;
  return frame.leave(0);
}

namespace {

/** The elements that stand again further behind, once for each such place. */
std::vector<tag> repeated_elements(const tag* array, std::size_t count) {
  std::unordered_map<tag, std::size_t> still_to_come;
  for (std::size_t i = 0; i < count; ++i) {
    ++still_to_come[array[i]];
  }
  std::vector<tag> repeated;
  for (std::size_t i = 0; i < count; ++i) {
    if (--still_to_come[array[i]] > 0) {
      repeated.push_back(array[i]);
    }
  }
  return repeated;
}

void trace_elements(const tag* elements, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    ZOLP_TRACE("%d ", shown(elements[i]));
  }
  ZOLP_TRACE("\n\n");
}

/** Keeps the elements that stand once, then one of each repeated element. */
void keep_one_of_each(tag* array, std::size_t count, const std::vector<tag>& repeated) {
  // Whether the one copy of a repeated element has been put behind the others.
  std::unordered_map<tag, bool> is_appended;
  for (const tag element : repeated) {
    is_appended.emplace(element, false);
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (is_appended.find(array[i]) == is_appended.end()) {
      array[kept++] = array[i];
      ZOLP_TRACE("%d \n", shown(array[kept - 1]));
    }
  }
  ZOLP_TRACE("\n\narray aus redundance - k:%d\n\n", static_cast<int>(kept));
  trace_elements(array, kept);
  for (const tag element : repeated) {
    bool& appended = is_appended[element];
    if (!appended) {
      array[kept++] = element;
      appended = true;
    }
  }
}

}  // namespace

int ZOLP_eliminateRedundances(tag* array, int* count) {
  FRAME(frame, "ZOLP_eliminateRedundances");
  try {
    const auto size = static_cast<std::size_t>(array != nullptr ? std::max(*count, 0) : 0);
    const std::vector<tag> repeated = repeated_elements(array, size);
    const int repetitions = static_cast<int>(repeated.size());
    ZOLP_TRACE("\n\nredundances:\n");
    trace_elements(repeated.data(), repeated.size());
    ZOLP_TRACE("n:%d, zaehler:%d\n\n\n", *count, repetitions);
    if (repetitions > 0) {
      keep_one_of_each(array, size, repeated);
      *count -= repetitions;
    }
    ZOLP_TRACE("zaehler:%d: sizeof_new_array:%d\n", repetitions, *count);
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR("ZOLP_eliminateRedundances alloc Memory");
  }
  return frame.leave(0);
}
