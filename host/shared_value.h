#pragma once

#include <atomic>

// Atomic access to a plain float of a record that several threads read and write, each value by
// itself. Outside constructors, every access to such a float goes through these two.
[[nodiscard]] inline float loadShared(const float& word) noexcept {
  // C++20 has no `atomic_ref` to const; the load writes nothing.
  return std::atomic_ref<float>(const_cast<float&>(word)).load(std::memory_order_relaxed);
}

inline void storeShared(float& word, float value) noexcept {
  std::atomic_ref<float>(word).store(value, std::memory_order_relaxed);
}

/// A number that several threads read and write, each access by itself.
template <typename Number>
class SharedNumber {
 public:
  SharedNumber(Number start) noexcept : word(start) {}  // NOLINT(google-explicit-constructor)
  SharedNumber(const SharedNumber& other) noexcept : word(Number{other}) {}
  SharedNumber& operator=(const SharedNumber& other) noexcept { return *this = Number{other}; }
  SharedNumber& operator=(Number number) noexcept {
    word.store(number, std::memory_order_relaxed);
    return *this;
  }
  // NOLINTNEXTLINE(google-explicit-constructor): stands for the number
  operator Number() const noexcept { return word.load(std::memory_order_relaxed); }

 private:
  std::atomic<Number> word;
};
