/** @file A stack as small as a host process may give to those who call the library. */
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#else
#include <sys/resource.h>
#endif

namespace test {

#if defined(__SANITIZE_ADDRESS__)
// Their frames are several times as large.
inline constexpr std::size_t small_stack_size = std::size_t{4} << 20;
#else
inline constexpr std::size_t small_stack_size = std::size_t{1} << 20;
#endif

#if defined(_WIN32)

/** Runs a function on such a stack, in the thread whose session it uses. */
inline void on_small_stack(const std::function<void()>& function) {
  struct Work {
    const std::function<void()>& function;
    void* caller;
  } work{function, ConvertThreadToFiber(nullptr)};
  ASSERT_NE(work.caller, nullptr);
  void* fiber = CreateFiberEx(
      0, small_stack_size, 0,
      [](void* argument) {
        const auto* given = static_cast<Work*>(argument);
        given->function();
        SwitchToFiber(given->caller);
      },
      &work);
  ASSERT_NE(fiber, nullptr);
  SwitchToFiber(fiber);
  DeleteFiber(fiber);
  ConvertFiberToThread();
}

#else

/** Runs a function on such a stack, in the thread whose session it uses. */
inline void on_small_stack(const std::function<void()>& function) {
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_STACK, &usual), 0);
  const rlimit small{small_stack_size, usual.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_STACK, &small), 0);
  function();
  ASSERT_EQ(setrlimit(RLIMIT_STACK, &usual), 0);
}

#endif

}  // namespace test
