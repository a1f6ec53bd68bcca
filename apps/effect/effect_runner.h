#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/effect/effect_state.h"
#include "core/plug.h"

/// How the effect is to be run.
struct EffectSetup {
  EffectState state;
  int blockFrames = 1024;  ///< largest block
  bool doubles = false;    ///< the 64-bit entry
  bool realtime = false;   ///< tell the effect that it plays live
};

/// An instance that nobody idles but its owner, whose host renders live or offline. It knows no
/// settings of the user: what it does depends on nothing but what it is told.
class HostedPlug : public Plug {
 public:
  explicit HostedPlug(bool realtime, const EditorFactory& makeEditor = nullptr);
};

/// Says why the signal does not run through a band, 0 to 7, that is on as its settings say, and
/// what would help; nothing where it does, or where the band is off.
[[nodiscard]] std::optional<std::string> chainFault(Plug& plug, int band);

/// How far the gain of a band went in a render, dB.
struct GainRange {
  double lowest = 0.0;   ///< at most 0
  double highest = 0.0;  ///< at least 0
};

/// One instance of the effect that is fed interleaved audio block by block, with its idle call
/// after each: what comes out depends on nothing but what goes in.
class EffectRunner {
 public:
  /// `channels` 1 or 2; `sideChannels` 0 to 2.
  EffectRunner(const EffectSetup& setup, int sampleRate, int channels, int sideChannels,
               const Plug::EditorFactory& makeEditor = nullptr);

  [[nodiscard]] Plug& effect() noexcept { return plug; }

  /// From now on, before the next block.
  void automate(std::int32_t parameter, float plain);

  /// `main` and `out` hold `frames` times `channels` samples, `side` `frames` times `sideChannels`
  /// (null without sidechain). 1 to `blockFrames` frames.
  void process(const double* main, const double* side, int frames, double* out);

  [[nodiscard]] std::int32_t latency() const noexcept {
    return plug.getInitialDelay();
  }  ///< samples
  [[nodiscard]] float plainValue(std::int32_t parameter) const {
    return plug.getPlainValue(parameter);
  }
  /// Of bands that are on but not in the chain as set, one sentence each.
  [[nodiscard]] std::vector<std::string> chainFaults();
  /// The gain that each band had; empty for bands that were never on.
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
