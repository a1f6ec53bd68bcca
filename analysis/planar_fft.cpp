#include "analysis/planar_fft.h"

#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <memory>
#include <mutex>
#include <numbers>

PlanarFft::PlanarFft(int points) : size(points) {
  twiddles.reserve(2 * static_cast<std::size_t>(points));
  for (int n = points; n > 8; n /= 4) {
    for (int power = 1; power <= 3; ++power) {
      const double step = 2.0 * std::numbers::pi * power / n;
      for (int p = 0; p < n / 4; ++p) twiddles.push_back(std::cos(step * p));
      for (int p = 0; p < n / 4; ++p) twiddles.push_back(std::sin(step * p));
    }
  }
}

const PlanarFft& PlanarFft::shared(int points) {
  constexpr std::size_t kSizes = 32;
  // Not `std::call_once`: when memory has run out, no exception can leave it.
  static std::mutex making;
  static std::array<std::unique_ptr<const PlanarFft>, kSizes> owners;
  static std::array<std::atomic<const PlanarFft*>, kSizes> made{};
  const auto size = static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(points)));
  // Acquire: pairs with the release below. Later callers take no lock.
  if (const PlanarFft* const fft = made[size].load(std::memory_order_acquire)) return *fft;
  const std::lock_guard guard(making);
  if (owners[size] == nullptr) owners[size] = std::make_unique<const PlanarFft>(points);
  made[size].store(owners[size].get(), std::memory_order_release);
  return *owners[size];
}

void PlanarFft::keepRealSignal(PlanarSpan transform) const noexcept {
  const auto [re, im] = transform;
  im[0] = 0.0;
  for (int k = 1, mirrored = size - 1; k <= mirrored; ++k, --mirrored) {
    re[k] = re[mirrored] = (re[k] + re[mirrored]) * 0.5;
    im[k] = (im[k] - im[mirrored]) * 0.5;
    im[mirrored] = -im[k];
  }
}
