/** @file A stack as small as a host process may give to those who call the library. */
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include "host/ork_host.h"

namespace test {

#if defined(__SANITIZE_ADDRESS__)
// Their frames are several times as large.
inline constexpr std::size_t small_stack_size = std::size_t{4} << 20;
#else
inline constexpr std::size_t small_stack_size = std::size_t{1} << 20;
#endif

/** Runs a function on such a stack, in a thread that has the open site meanwhile. */
inline void on_small_stack(std::function<void()> function) {
  ASSERT_EQ(ork_host_hand_over(), ORK_ok);
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, small_stack_size), 0);
  pthread_t thread{};
  ASSERT_EQ(pthread_create(
                &thread, &attributes,
                [](void* argument) -> void* {
                  (*static_cast<std::function<void()>*>(argument))();
                  EXPECT_EQ(ork_host_hand_over(), ORK_ok);
                  return nullptr;
                },
                &function),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace test
