/** @file A small site in memory, and short forms for what tests ask of the host. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ork/err.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "ork_host.h"

namespace test {

inline constexpr const char* demo_seed = R"({
  "site": {"name": "Demo", "automatic_login": "build"},
  "groups": ["design", "dba"],
  "roles": ["Designer", "Administrator"],
  "users": [
    {"id": "wagner", "name": "Petra Wagner", "password": "let me in",
     "memberships": [{"group": "design", "role": "Designer"}]},
    {"id": "build", "name": "Nightly build", "password": "at night", "administrator": true,
     "memberships": [{"group": "dba", "role": "Administrator"},
                     {"group": "design", "role": "Designer"}],
     "default_group": "design"}],
  "preferences": {"Separator": "/", "Mail": true, "Receivers": ["wagner", "build", ""]},
  "items": [
    {"id": "000100", "name": "Bracket", "revisions": [
      {"id": "A", "datasets": [{"name": "notes"}, {"name": "drawing"}]},
      {"id": "B", "name": "Stiff bracket"}]},
    {"id": "000200", "name": "Pump", "revisions": [{"id": "A"}]}],
  "relations": [
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_based_on",
     "secondary": {"item": "000100", "revision": "A"}},
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_reference",
     "secondary": {"item": "000100", "revision": "A", "dataset": "drawing"}},
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_reference",
     "secondary": {"item": "000100"}}]
})";

/** A text that the host handed out, freed here; "(null)" for none. */
inline std::string take(char* text) {
  const std::string copy = text != nullptr ? text : "(null)";
  MEM_free(text);
  return copy;
}

/** The elements of an array that the host handed out in one block, which is freed here. */
template <typename Element>
auto take(int count, Element* array) {
  using Copy = std::conditional_t<std::is_same_v<Element, char*>, std::string, Element>;
  EXPECT_GE(count, 0);
  EXPECT_EQ(count == 0, array == nullptr);
  const std::vector<Copy> elements(array, array != nullptr ? array + count : nullptr);
  MEM_free(array);
  return elements;
}

/** Texts on the error stack, oldest first. */
inline std::vector<std::string> error_texts() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  EXPECT_EQ(ERR_get_errors(&count, &severities, &codes, &texts), ORK_ok);
  return {texts, texts + count};
}

/** Text of the most recent failure. */
inline std::string last_error() {
  const std::vector<std::string> texts = error_texts();
  return texts.empty() ? "" : texts.back();
}

/** What an operation hands out in its last parameter, called with what stands before that. */
template <typename... Parameters, typename... Inputs>
auto ask(int (*operation)(Parameters...), Inputs... inputs) {
  static_assert(sizeof...(Inputs) + 1 == sizeof...(Parameters));
  using Outputs = std::tuple<std::remove_pointer_t<Parameters>...>;
  using Output = std::tuple_element_t<sizeof...(Inputs), Outputs>;
  if constexpr (std::is_same_v<Output, char>) {
    char text[1024] = "untouched";
    EXPECT_EQ(operation(inputs..., text), ORK_ok) << last_error();
    return std::string(text);
  } else {
    Output output{};
    EXPECT_EQ(operation(inputs..., &output), ORK_ok) << last_error();
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

/** The array that an operation hands out in its last two parameters. */
template <typename... Parameters, typename... Inputs>
auto list(int (*operation)(Parameters...), Inputs... inputs) {
  static_assert(sizeof...(Inputs) + 2 == sizeof...(Parameters));
  using Arrays = std::tuple<std::remove_pointer_t<Parameters>...>;
  int count = -1;
  std::tuple_element_t<sizeof...(Inputs) + 1, Arrays> array = nullptr;
  EXPECT_EQ(operation(inputs..., &count, &array), ORK_ok) << last_error();
  return take(count, array);
}

/** Status of an operation that fails. The outputs follow the inputs, and are to be emptied. */
template <typename... Parameters, typename... Inputs>
int refusal(int (*operation)(Parameters...), Inputs... inputs) {
  struct Output {
    alignas(std::max_align_t) std::array<char, 1024> bytes;
  };
  constexpr std::size_t count = sizeof...(Parameters) - sizeof...(Inputs);
  std::array<Output, count> outputs;
  std::memset(outputs.data(), 'x', sizeof outputs);
  const auto call = [&]<std::size_t... Index>(std::index_sequence<Index...>) {
    return operation(
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

inline std::string describe(const char* section) {
  return ask(ork_host_describe, section);
}

class DemoSite : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(ork_host_open(":memory:"), ORK_ok) << last_error();
    seed(demo_seed);
    blocks_ = ork_host_block_count();
  }
  void TearDown() override {
    EXPECT_EQ(ork_host_block_count(), blocks_);
    ork_host_close();
  }

  static void seed(const std::string& json) {
    ASSERT_EQ(ork_host_seed(json.c_str()), ORK_ok) << last_error();
  }
  static void log_in() { ASSERT_EQ(ORK_auto_login(), ORK_ok) << last_error(); }
  static void log_in_as(const char* user, const char* password) {
    ASSERT_EQ(ORK_init_module(user, password, nullptr), ORK_ok) << last_error();
  }
  static void log_in_as_designer() { log_in_as("wagner", "let me in"); }

  static tag find(const char* item_id, const char* revision_id = nullptr) {
    const tag object = ask(ork_host_find_item, item_id, revision_id);
    EXPECT_NE(object, NULLTAG) << item_id;
    return object;
  }

 private:
  size_t blocks_ = 0;
};

}  // namespace test
