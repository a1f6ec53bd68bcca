#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dynamics/detector_kernels.h"
#include "dynamics/glide.h"

/// The settings that scale the sound of a band, as they glide from what they were to what they
/// are. A block tells the targets; while something moves it is run in short slices, for each of
/// which `beginSlice` prepares the values.
///
/// Threads: the audio thread; nothing locks or allocates.
class BandMotion {
 public:
  static constexpr int kMostFrames = DetectorKernels::kChunk;  ///< of a slice
  enum Value : std::size_t {
    kThreshold,
    kRatioAbove,
    kCeiling,
    kRatioBelow,
    kFloor,
    kDeadband,
    kKnee,
    kShape,
    kDynWeight,
    kTranWeight,
    kOfDetector,  // the number of those before
    kGain = kOfDetector,
    kDry,
    kFirstWeight,  // how much of the gain the first channel takes, 0..1; the second likewise
    kSecondWeight,
    kPresence,   // 0 while the band is bypassed or not heard .. 1
    kSidechain,  // 1 while its sidechain is heard in its place
    kShare,      // of the band in the sum of its stage
    kRest,       // of the signal outside the band
    kValues
  };
  using Targets = std::array<double, kValues>;
  using Ramp = std::array<double, kMostFrames>;

  void jump(const Targets& targets) noexcept;  ///< takes them at once
  void jump() noexcept;                        ///< to the last targets
  /// Call it at the begin of each block of `frames` in which the targets are others or something
  /// moves; `rate` in Hz. `continues`: in the middle of a block, where targets that are as before
  /// stay as they are.
  void setTargets(const Targets& targets, int frames, double rate, bool continues) noexcept;
  [[nodiscard]] bool isMoving() const noexcept { return moving != 0; }
  [[nodiscard]] bool moves(Value value) const noexcept { return ((moving >> value) & 1U) != 0; }
  /// Whether any value does from `kGain` to `kPresence`.
  [[nodiscard]] bool gainMoves() const noexcept {
    return (moving & ((2U << kPresence) - (1U << kGain))) != 0;
  }

  /// Prepares a slice of 1 to `kMostFrames`; `settings` of the band's detectors.
  void beginSlice(const DetectorSettings& settings, int frames) noexcept;
  void endSlice(int frames) noexcept;
  /// For the detectors: the settings as the slice begins, and where they go in it, or null.
  [[nodiscard]] const DetectorSettings& detector() const noexcept { return from; }
  [[nodiscard]] const DetectorMotion* detectorMotion() const noexcept {
    return detectorMoves() ? &to : nullptr;
  }
  /// The values of the slice.
  void fill(Value value, double* out, int frames) const noexcept {
    glides[value].fill(out, frames);
  }

 private:
  [[nodiscard]] bool detectorMoves() const noexcept {
    return (moving & ((1U << kOfDetector) - 1U)) != 0;
  }
  [[nodiscard]] CurveKnobs knobsAfter(int frames) const noexcept;
  void fillShares(int frames) noexcept;

  Targets goals{};  // side by side, since they are all that is read while nothing moves
  std::array<Glide, kValues> glides;
  std::uint32_t moving = 0;  // a bit for each value
  DetectorSettings from;
  DetectorMotion to;
  Ramp shares{};
};
