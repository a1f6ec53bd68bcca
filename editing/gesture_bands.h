#pragma once

#include <atomic>
#include <cstdint>

#include "editing/parameter_ids.h"

/// The other bands, as bits, that take part in the gestures of one parameter. Gestures of a
/// parameter may nest; the bands are then those of the outermost. Threads: control threads.
class GestureBands {
 public:
  /// Begins a gesture and returns its bands: `wanted`, unless one is open already.
  std::uint32_t begin(std::uint32_t wanted) noexcept {
    std::uint32_t before = word.load();
    std::uint32_t after = 0;
    do {
      const std::uint32_t first = wanted != 0 ? wanted | kOneGesture : 0;
      after = before != 0 ? before + kOneGesture : first;
    } while (!word.compare_exchange_weak(before, after));
    return after & kBands;
  }
  /// Ends a gesture and returns its bands; 0 if none is open.
  std::uint32_t end() noexcept {
    std::uint32_t before = word.load();
    std::uint32_t after = 0;
    do {
      after = before < 2 * kOneGesture ? 0 : before - kOneGesture;
    } while (!word.compare_exchange_weak(before, after));
    return before & kBands;
  }
  [[nodiscard]] std::uint32_t open() const noexcept { return word.load() & kBands; }

 private:
  static constexpr std::uint32_t kOneGesture = 1U << kNumBands;
  static constexpr std::uint32_t kBands = kOneGesture - 1;

  std::atomic<std::uint32_t> word{0};  // bands, and above them the count of open gestures
};

/// Calls `each` with the id of the row of `bandOneId` in each of `bands`.
template <typename Each>
void forRowOfBands(int bandOneId, std::uint32_t bands, const Each& each) {
  for (int band = 0; band < kNumBands; ++band) {
    if ((bands >> band & 1U) != 0) each(bandParameterId(band, bandOneId));
  }
}
