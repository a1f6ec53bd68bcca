#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

/// Doubles that are 0 at first and begin at a cache line. What nothing has written yet takes no
/// memory where the system fills fresh pages on their first use, as it does with large blocks.
class ZeroMemory {
 public:
  /// Throws std::bad_alloc.
  explicit ZeroMemory(std::size_t doubles)
      : count(doubles), block(std::calloc(doubles + kLine, sizeof(double))) {
    if (block == nullptr) throw std::bad_alloc();
    std::size_t room = (count + kLine) * sizeof(double);
    void* start = block.get();
    first = static_cast<double*>(
        std::align(kLine * sizeof(double), count * sizeof(double), start, room));
  }

  [[nodiscard]] double* data() const noexcept { return first; }
  [[nodiscard]] std::size_t size() const noexcept { return count; }

 private:
  static constexpr std::size_t kLine = 8;  // doubles in a cache line

  struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
  };
  std::size_t count;
  std::unique_ptr<void, Free> block;
  double* first = nullptr;
};
