#pragma once

/// Number of bands of the effect; they are counted from 0.
inline constexpr int kNumBands = 8;

[[nodiscard]] constexpr bool isBand(int band) noexcept { return band >= 0 && band < kNumBands; }
