#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "filters/lanthorn_eq.h"
#include "platform/plug_base_mutex.h"

/// The three filters of a sidechain as its parameters give them: Hz, dB and whole dB per octave.
struct SidechainFilterSettings {
  struct Filter {
    bool on = false;
    float frequency = 1000.0F;
    float gain = 0.0F;
    float q = 0.71F;
    int slope = 24;  // of a pass filter; the middle filter has none
    /// The second of the filter's types: a shelf at the ends, a band-pass in the middle.
    bool second = false;
  };
  double trimDb = 0.0;
  Filter low, mid, high;
};

/// How the two channels of a sidechain become what the two detectors hear.
struct SidechainLinkage {
  /// Left/right or mid/side, and which of the two is heard: 0 the first alone .. 100 the second
  /// alone.
  void setPosition(bool leftRight, int percent) noexcept;
  /// Makes left and right, in place, into what the detectors hear; whether that is the same.
  bool link(double* left, double* right, int frames) const noexcept;

  /// By which left and right become the first channel (0, 1) and the second (2, 3).
  std::array<double, 4> factors{};
  double unlink = 0.0;  ///< 0: both detectors hear the louder channel .. 1: each hears its own
};

/// One of a sidechain's three filters, or all of them in a row.
enum SidechainFilter : int { kLowFilter = 0, kMidFilter = 1, kHighFilter = 2, kAllFilters = 3 };

/// What a band's detectors hear of their source: trim, a low, a middle and a high filter per
/// channel.
///
/// Threads: `set` on one control thread at a time, at any moment; `process` and `reset*` on the
/// audio thread; `setSampleRate` while nothing processes; `response` on any thread but the audio
/// thread, several at once.
class SidechainFilters {
 public:
  void setSampleRate(float hz) noexcept;
  /// Designs what has changed, which may take some hundred microseconds per filter. Throws when
  /// memory runs out; what it had not come to, the next call does.
  void set(const SidechainFilterSettings& settings);

  /// Clears the filters' past; coefficients in force stay.
  void reset() noexcept;
  void resetRight() noexcept;  ///< the second channel alone
  /// The analog magnitude of a `SidechainFilter`, without the trim, at `frequency` Hz, as of the
  /// last design; 1 for a filter that is off and for an unknown one.
  [[nodiscard]] double response(int filter, double frequency) const;

  /// One channel, 0 or 1, from `in` to `out`, which may be the same.
  void process(std::size_t channel, const double* in, double* out, int frames) noexcept;

 private:
  static constexpr std::size_t kChannels = 2;
  using Filters = std::array<LanthornEQ, kChannels>;

  Filters lowFilter;
  Filters midFilter;
  Filters highFilter;
  std::atomic<double> trim{1.0};  // linear
  // What responses are drawn from: copies, under the lock.
  std::array<AnalogSections, kAllFilters> rows{kFlatSections, kFlatSections, kFlatSections};
  mutable PlugBaseMutex rowsLock;
};
