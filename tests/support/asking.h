/** @file Short forms of asking the platform and the library. */
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ork/err.h"
#include "ork/mem.h"
#include "ork/ork.h"

namespace test {

/** A text that a function handed out, freed here; "(null)" for none. */
inline std::string take(char* text) {
  const std::string copy = text != nullptr ? text : "(null)";
  MEM_free(text);
  return copy;
}

/** The elements of an array that a function handed out in one block, which is freed here. */
template <typename Element>
auto take(int count, Element* array) {
  using Copy = std::conditional_t<std::is_same_v<Element, char*>, std::string, Element>;
  EXPECT_GE(count, 0);
  EXPECT_EQ(count == 0, array == nullptr);
  const std::vector<Copy> elements(array, array != nullptr ? array + count : nullptr);
  MEM_free(array);
  return elements;
}

struct StackedError {
  int severity;
  int code;
  std::string text;
};

/** The error stack, oldest first. */
inline std::vector<StackedError> error_stack() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  EXPECT_EQ(ERR_get_errors(&count, &severities, &codes, &texts), ORK_ok);
  std::vector<StackedError> errors;
  for (int i = 0; i < count; ++i) {
    errors.push_back({severities[i], codes[i], texts[i]});
  }
  return errors;
}

inline std::vector<int> error_codes() {
  std::vector<int> codes;
  for (const StackedError& error : error_stack()) {
    codes.push_back(error.code);
  }
  return codes;
}

inline std::vector<std::string> error_texts() {
  std::vector<std::string> texts;
  for (const StackedError& error : error_stack()) {
    texts.push_back(error.text);
  }
  return texts;
}

/** Text of the most recent failure. */
inline std::string last_error() {
  const std::vector<std::string> texts = error_texts();
  return texts.empty() ? "" : texts.back();
}

/** What a function puts behind its last parameter, called with what stands before that. */
template <typename... Parameters, typename... Inputs>
auto ask(int (*function)(Parameters...), Inputs... inputs) {
  static_assert(sizeof...(Inputs) + 1 == sizeof...(Parameters));
  using Outputs = std::tuple<std::remove_pointer_t<Parameters>...>;
  using Output = std::tuple_element_t<sizeof...(Inputs), Outputs>;
  if constexpr (std::is_same_v<Output, char>) {
    char text[1024] = "untouched";
    EXPECT_EQ(function(inputs..., text), ORK_ok) << last_error();
    return std::string(text);
  } else {
    Output output{};
    if constexpr (std::is_integral_v<Output>) {
      output = 77;  // one that is left alone is noticed
    }
    EXPECT_EQ(function(inputs..., &output), ORK_ok) << last_error();
    if constexpr (std::is_same_v<Output, char*>) {
      return take(output);
    } else if constexpr (std::is_same_v<Output, logical>) {
      EXPECT_LE(output, 1);
      return output == 1;
    } else {
      return output;
    }
  }
}

/** The array that a function hands out in its last two parameters. */
template <typename... Parameters, typename... Inputs>
auto list(int (*function)(Parameters...), Inputs... inputs) {
  static_assert(sizeof...(Inputs) + 2 == sizeof...(Parameters));
  using Arrays = std::tuple<std::remove_pointer_t<Parameters>...>;
  int count = -1;
  std::tuple_element_t<sizeof...(Inputs) + 1, Arrays> array = nullptr;
  EXPECT_EQ(function(inputs..., &count, &array), ORK_ok) << last_error();
  return take(count, array);
}

/** Status of a function that fails. The outputs follow the inputs, and are to be emptied. */
template <typename... Parameters, typename... Inputs>
int refusal(int (*function)(Parameters...), Inputs... inputs) {
  struct Output {
    alignas(std::max_align_t) std::array<char, 1024> bytes;
  };
  constexpr std::size_t count = sizeof...(Parameters) - sizeof...(Inputs);
  std::array<Output, count> outputs;
  std::memset(outputs.data(), 'x', sizeof outputs);
  const auto call = [&]<std::size_t... Index>(std::index_sequence<Index...>) {
    return function(
        inputs...,
        static_cast<std::tuple_element_t<sizeof...(Inputs) + Index, std::tuple<Parameters...>>>(
            static_cast<void*>(&outputs[Index]))...);
  };
  const int status = call(std::make_index_sequence<count>{});
  const std::array<std::size_t, sizeof...(Parameters)> sizes{
      sizeof(std::conditional_t<std::is_pointer_v<Parameters>, std::remove_pointer_t<Parameters>,
                                char>)...};
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t size = sizes[sizeof...(Inputs) + i];
    EXPECT_EQ(std::string(outputs[i].bytes.data(), size), std::string(size, '\0'))
        << "output " << i << " is not emptied";
  }
  return status;
}

}  // namespace test
