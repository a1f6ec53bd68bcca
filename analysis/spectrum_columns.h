#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "analysis/fft.h"
#include "analysis/window_table.h"

/// What a spectrum display shows and how it moves.
struct SpectrumSettings {
  int columns = 0;
  double lowestFrequency = 10.0;  // Hz, > 0, at the left edge of the first column
  double highestFrequency = 22050.0;
  float sampleRateHalf = 22050.0F;  // Hz
  double displayTop = 0.0;          // dB, at a height of 1
  double displayRange = 96.0;       // dB from a height of 0 to one of 1, > 0
  double tilt = 0.0;                // dB per octave, about 1 kHz
  double decay = 0.0;               // what is left of a height after one update, 0..1
  int smoothing = 1;                // half-width in columns, 1 (none) to 8

  bool operator==(const SpectrumSettings&) const = default;
};

/// Turns the latest samples of two channels into the heights of a spectrum display, one for each
/// column of a logarithmic frequency axis: 0 at the bottom of the display, 1 at its top. A height
/// rises at once and falls by the decay. One thread at a time.
class SpectrumColumns {
 public:
  static constexpr std::size_t kSamples = 8192;
  static constexpr std::size_t kChannels = 2;
  using Channels = std::array<std::span<double>, kChannels>;

  SpectrumColumns();

  /// Takes effect with the next `update`; costs nothing if nothing has changed.
  void set(const SpectrumSettings& settings);
  /// `samples`: `kSamples` a channel, overwritten. `heights`: the last update's, one per column,
  /// initially 0. Neither allocates nor throws.
  void update(const Channels& samples, const Channels& heights) noexcept;

 private:
  static constexpr int kBins = 4096;
  static constexpr int kMostSmoothing = 8;

  /// Where a column reads the bins.
  struct Column {
    int bin;      // the column starts at `part` of the way from this bin to the next
    double part;  // 0..1
    int end;      // after the last whole bin of a column wider than a bin, otherwise `bin`
  };

  void placeColumns();
  void placeLevels();
  void findLevels(const Channels& samples) noexcept;
  void smooth(const Channels& heights) const noexcept;

  SpectrumSettings shown;
  FftTables tables;
  WindowTable window{12.0F};
  std::vector<Column> columns;
  int firstBin = 0;  // of those that the columns read
  int endBin = 0;
  std::array<float, kBins> offsets{};  // of a bin's tilt and of the top of the display
  // By channel, from 0 at the top of the display to 1 at the bottom. The last is a copy of the one
  // before it, for columns that end there.
  std::array<std::array<double, kBins + 1>, kChannels> depths{};
};
