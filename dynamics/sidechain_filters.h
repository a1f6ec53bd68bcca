#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

#include "filters/lanthorn_eq.h"
#include "platform/plug_base_mutex.h"

/// The three filters of a sidechain, as its parameters give them: Hz, dB and whole dB per octave.
struct SidechainFilterSettings {
  struct Filter {
    bool on = false;
    float frequency = 1000.0F;
    float gain = 0.0F;
    float q = 0.71F;
    int slope = 24;  // of a pass filter; the middle filter has no slope
    /// The second of the filter's two types: a shelf for low and high, a band-pass for the middle.
    bool second = false;
  };
  Filter low, mid, high;
};

/// How the two channels of a sidechain are mixed for the two detectors.
struct SidechainLinkage {
  /// Chooses left/right or mid/side, and the balance between the two: 0 only the first .. 100 only
  /// the second.
  void setPosition(bool leftRight, int percent) noexcept;
  /// Turns left and right, in place, into the levels for the two detectors. Returns whether both
  /// are known to be the same.
  bool link(double* left, double* right, int frames) const noexcept;

  /// Factors of left and right in the first channel (0, 1) and in the second (2, 3).
  std::array<double, 4> factors{};
  double unlink = 0.0;  ///< 0: both detectors hear the louder channel .. 1: each hears its own
  bool operator==(const SidechainLinkage&) const = default;
};

/// One of a sidechain's three filters, or all three in series.
enum SidechainFilter : int { kLowFilter = 0, kMidFilter = 1, kHighFilter = 2, kAllFilters = 3 };

/// The low, middle and high filters of each channel between a band's sidechain source and its
/// detectors. A filter is made when it is first switched on.
///
/// Threads: `set` on one control thread at a time, at any moment; `process` and `reset*` on the
/// audio thread; `setSampleRate` while nothing processes; `response` on any thread but the audio
/// thread, several at once.
class SidechainFilters {
 public:
  void setSampleRate(float hz) noexcept;
  /// Designs the filters that have changed, which may take some hundred microseconds per filter.
  /// Throws std::bad_alloc; the next call designs the filters that this one did not reach.
  void set(const SidechainFilterSettings& settings);

  /// Clears the filters' past; present coefficients stay.
  void reset() noexcept;
  void resetRight() noexcept;  ///< the second channel only
  /// Lets the filters be at once what they were set to; while nothing processes.
  void settle() noexcept;
  /// The analog magnitude of a `SidechainFilter` at `frequency` (Hz), as last designed; 1 for a
  /// filter that is off or unknown.
  [[nodiscard]] double response(int filter, double frequency) const;
  /// A number that changes whenever the responses do, and that no other object of the process has
  /// had; 0 while all filters are off since the beginning. Any thread.
  [[nodiscard]] unsigned revision() const noexcept {
    return changes.load(std::memory_order_relaxed);
  }

  /// One channel, 0 or 1, from `in` to `out`, which may be the same; `gain` before the filters.
  void process(std::size_t channel, double gain, const double* in, double* out,
               int frames) noexcept;

 private:
  static constexpr std::size_t kChannels = 2;
  using Pair = std::array<LanthornEQ, kChannels>;

  /// One of the three filters, for both channels.
  struct Place {
    std::unique_ptr<Pair> made;         // control side
    std::atomic<Pair*> inUse{nullptr};  // designed, for the audio thread
    [[nodiscard]] Pair* get() const noexcept { return inUse.load(std::memory_order_acquire); }
    [[nodiscard]] const AnalogSections& drawn() const noexcept {
      return made != nullptr ? (*made)[0].activeSections() : kFlatSections;
    }
  };
  template <typename Set>
  void design(Place& place, bool on, const Set& set) const;

  std::array<Place, kAllFilters> places;
  float sampleRate = 44100.0F;  // Hz
  // Copies from which responses are drawn, under the lock.
  std::array<AnalogSections, kAllFilters> rows{kFlatSections, kFlatSections, kFlatSections};
  mutable PlugBaseMutex rowsLock;
  std::atomic<unsigned> changes{0};
  static inline std::atomic<unsigned> lastRevision{0};
};
