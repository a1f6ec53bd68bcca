#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/effect/effect_state.h"
#include "core/plug.h"

/// How to run the effect.
struct EffectSetup {
  EffectState state;
  int blockFrames = 1024;  ///< largest block
  bool doubles = false;    ///< process in 64-bit floating point
  bool realtime = false;   ///< tell the effect that it plays live
};

/// An instance that only its owner idles, in a host that renders live or offline. It ignores the
/// user's preferences and files, so that its results depend only on the calls it gets.
class HostedPlug : public Plug {
 public:
  explicit HostedPlug(bool realtime, const EditorFactory& makeEditor = nullptr);
};

/// Explains why the signal does not pass through band 0..7 although it is on, and what would help.
/// None if the signal passes through it or the band is off.
[[nodiscard]] std::optional<std::string> chainFault(Plug& plug, int band);

/// The range of a band's gain in a render, in dB.
struct GainRange {
  double lowest = 0.0;   ///< at most 0
  double highest = 0.0;  ///< at least 0
};

/// Where in the effect a parameter acts: band 0..7, or one of these.
enum EffectPlace : int { kInputPlace = kNumBands, kOutputPlace, kNumPlaces };
/// What changes the chain, and so the delay itself, counts as acting at the output.
[[nodiscard]] int placeOf(std::int32_t parameter) noexcept;

/// Runs one instance of the effect on interleaved audio, block by block, with an idle call after
/// each block: the output depends only on the input.
class EffectRunner {
 public:
  /// `channels`: 1 or 2; `sideChannels`: 0 to 2; `sampleRate` in Hz. `makeEditor` as for `Plug`.
  EffectRunner(const EffectSetup& setup, int sampleRate, int channels, int sideChannels,
               const Plug::EditorFactory& makeEditor = nullptr);

  [[nodiscard]] Plug& effect() noexcept { return plug; }

  /// Sets a parameter for the next block on.
  void automate(std::int32_t parameter, float plain);

  /// Processes 1 to `blockFrames` frames. `main` and `out` hold `frames` * `channels` samples,
  /// `side` holds `frames` * `sideChannels` (null without sidechain).
  void process(const double* main, const double* side, int frames, double* out);

  [[nodiscard]] std::int32_t latency() const noexcept {
    return plug.getInitialDelay();
  }  ///< samples
  /// The part of the latency, in samples, that lies before each place.
  using Delays = std::array<std::int32_t, kNumPlaces>;
  [[nodiscard]] Delays delays();
  [[nodiscard]] float plainValue(std::int32_t parameter) const {
    return plug.getPlainValue(parameter);
  }
  /// One sentence for each band that is on but not in the chain.
  [[nodiscard]] std::vector<std::string> chainFaults();
  /// The range of each band's gain; none for bands that were never on.
  [[nodiscard]] const std::array<std::optional<GainRange>, kNumBands>& gains() const noexcept {
    return bandGains;
  }

 private:
  /// Separate channels, as the effect takes them.
  template <typename Sample>
  struct Planes {
    std::array<std::vector<Sample>, 4> in;
    std::array<std::vector<Sample>, 2> out;
  };

  template <typename Sample>
  void reserve(Planes<Sample>& planes, int frames);
  template <typename Sample>
  void processAs(Planes<Sample>& planes, const double* main, const double* side, int frames,
                 double* out);
  template <typename Sample>
  void fillSidechain(Planes<Sample>& planes, const double* side, int frames);
  void readGains();

  HostedPlug plug;
  const int channels;
  const int sideChannels;
  const bool doubles;
  const bool realtime;
  Planes<float> floatPlanes;
  Planes<double> doublePlanes;
  std::array<std::optional<GainRange>, kNumBands> bandGains;
};
