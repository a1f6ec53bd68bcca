#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "core/plug.h"
#include "graphs/frequency_axis.h"
#include "graphs/kernel_spectrum.h"

/// Columns from `begin` up to and without `end`.
struct ColumnSpan {
  int begin;
  int end;
  bool operator==(const ColumnSpan&) const = default;
};

/// The columns in which two curves in dB are more than 0.5 dB apart and at least one of them is
/// higher than `lowest`, each span with a column more at either end.
[[nodiscard]] std::vector<ColumnSpan> departures(std::span<const double> drawn,
                                                 std::span<const double> measured, double lowest);

/// The gain change to show after `shown`, all in dB, when it is `now`: one further from 0 at once,
/// otherwise the share `decay` (0..1) of the way.
[[nodiscard]] double shownGainChange(double shown, double now, double decay) noexcept;

/// The curves of all bands of an effect and their sum, per column of a frequency axis, in dB.
/// Filters are evaluated only when they or the axis have changed, gains only when they move. Any
/// thread but the audio thread, one at a time.
class BandCurves {
 public:
  static constexpr double kFloor = -200.0;  ///< dB; the lowest value of all curves

  struct Settings {
    FrequencyAxis axis;
    double grDecay = 1.0;    ///< see `shownGainChange`, per `update`
    bool measured = true;    ///< whether to compare with what is heard
    double lowest = -200.0;  ///< dB; see `departures`
  };

  /// Brings everything up to date; once per picture. Returns whether anything has changed.
  bool update(Plug& plug, const Settings& settings);

  /// Whether the band is on and not bypassed; only then it has curves.
  [[nodiscard]] bool runs(int band) const noexcept { return bands[at(band)].runs; }
  /// The response of the band's filter without any gain. `setGain` on top of it gives the set
  /// curve, `liveGain` the curve with the present gain change.
  [[nodiscard]] std::span<const double> shape(int band) const noexcept;
  [[nodiscard]] double setGain(int band) const noexcept { return bands[at(band)].setGain; }
  [[nodiscard]] double liveGain(int band) const noexcept {
    return bands[at(band)].setGain + bands[at(band)].change;
  }
  /// As `shape`, of the FIR filter that is heard, and where it departs from it visibly with the set
  /// gain.
  [[nodiscard]] std::span<const double> measured(int band) const noexcept;
  [[nodiscard]] std::span<const ColumnSpan> measuredSpans(int band) const noexcept {
    return bands[at(band)].spans;
  }
  /// Of the whole chain with the present gain changes: the bands of the crossover add up, all else
  /// multiplies.
  [[nodiscard]] std::span<const double> response() const noexcept;

 private:
  using Values = std::vector<double>;  // per column, and up to a multiple of 8

  struct Band {
    bool runs = false;
    bool isXover = false;
    bool isListed = false;  // in the chain
    std::vector<float> magnitudes;
    Values decibels;
    unsigned kernel = 0;  // number of the one in `spectrum`
    KernelSpectrum spectrum;
    Values measured;
    std::vector<ColumnSpan> spans;
    double lowest = 0.0;      // dB: `spans` are those above it
    double told = 0.0;        // dB: the engine's gain change
    double set = 1.0;         // linear
    double setGain = 0.0;     // dB
    double changeNow = 0.0;   // dB
    double change = 0.0;      // dB: shown
    double liveFactor = 1.0;  // `liveGain`, linear
  };

  static std::size_t at(int band) noexcept { return static_cast<std::size_t>(band); }
  void placeColumns();
  bool updatePlace(Plug& plug, int band);
  bool updateShape(Plug& plug, int band);
  bool updateMeasured(Plug& plug, int band, bool isDue);
  void evaluateKernel(Band& band) const;
  bool updateGain(Plug& plug, int band);
  void sum();

  Settings shown;
  double rate = 0.0;
  std::vector<float> frequencies;
  std::size_t audible = 0;   // number of the columns below half the rate
  std::vector<float> drawn;  // scratch
  std::vector<double> taps;  // scratch
  FftTables fft;
  std::array<Band, kNumBands> bands;
  Values total;
};
