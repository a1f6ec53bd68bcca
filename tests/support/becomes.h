#pragma once

#include <chrono>
#include <thread>

/// Calls `isTrue` until it is, for so long at most; what it said last.
template <typename Condition>
[[nodiscard]] bool becomes(const Condition& isTrue,
                           std::chrono::seconds patience = std::chrono::seconds(10)) {
  const auto limit = std::chrono::steady_clock::now() + patience;
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}
