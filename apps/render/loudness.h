#pragma once

#include <ebur128.h>

#include <limits>
#include <memory>

#include "apps/render/true_peak.h"

/// Integrated loudness (EBU R 128) and true peak of a signal of one or two channels.
class Loudness {
 public:
  static constexpr double kSilent = -std::numeric_limits<double>::infinity();

  struct Result {
    double integratedLufs = kSilent;  ///< `kSilent` if too quiet or too short to measure
    double truePeakDb = kSilent;      ///< dBTP, of the louder channel
  };

  /// `sampleRate` in Hz, from `kLowestRate` to `kHighestRate`.
  Loudness(int sampleRate, int channels);

  /// `interleaved` must be finite.
  void add(const double* interleaved, int frames);
  [[nodiscard]] Result result() const;

  // The library used overruns its memory at rates of a few Hz, which no audio has.
  static constexpr int kLowestRate = 1000;
  static constexpr int kHighestRate = 2822400;

 private:
  struct Destroy {
    void operator()(ebur128_state* meter) const noexcept { ebur128_destroy(&meter); }
  };
  std::unique_ptr<ebur128_state, Destroy> state;
  TruePeak truePeak;  // the library's reads too low near half the rate, and not to the end
};
