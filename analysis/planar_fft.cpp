#include "analysis/planar_fft.h"

#include <array>
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
  struct Slot {
    std::once_flag made;
    std::unique_ptr<const PlanarFft> fft;
  };
  static std::array<Slot, kSizes> slots;
  Slot& slot = slots[static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(points)))];
  std::call_once(slot.made, [&] { slot.fft = std::make_unique<const PlanarFft>(points); });
  return *slot.fft;
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
