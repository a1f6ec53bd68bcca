#pragma once

#include <array>
#include <memory>

#include "dynamics/bands.h"
#include "dynamics/delay_rings.h"
#include "dynamics/detector_pair.h"
#include "dynamics/stage_plan.h"
#include "filters/resampler.h"

/// What a band needs while it is in the chain.
struct BandParts {
  /// For lookaheads of up to `mostLookahead` samples. Throws std::bad_alloc.
  BandParts(int band, DelayRings::Kind kind, int mostLookahead);

  DelayRings::Kind kind;
  int mostLookahead;
  DelayLines delays;
  DetectorPair detectors;
};

/// The products of a band's two channels while there is oversampling.
using OversampledPair = std::array<OversampledGain, 2>;

/// What the audio thread works with in a chain; null for what is not in use.
struct ChainParts {
  std::array<std::shared_ptr<BandParts>, kNumBands> bands;
  std::array<std::shared_ptr<OversampledPair>, kNumBands> products;
  std::shared_ptr<DelayLines> crossover;
  bool operator==(const ChainParts&) const = default;
};

/// Makes the parts of a chain and keeps them as long as the audio thread may use them. Threads: one
/// control thread at a time.
class PartsOwner {
 public:
  /// Provides for a plan at a sample rate (Hz). What was in use stays: a band that leaves the chain
  /// and comes back before the audio thread knows goes on. Throws std::bad_alloc, with nothing
  /// changed.
  void provide(const StagePlan& plan, bool oversampling, double rate);
  /// What was last provided: for the settings to be published, and valid until the audio thread has
  /// others.
  [[nodiscard]] const ChainParts* latest() const noexcept { return made.get(); }
  // What `latest` was provided for.
  [[nodiscard]] const StagePlan& plan() const noexcept { return madeFor; }
  [[nodiscard]] bool oversampling() const noexcept { return madeOversampling; }
  /// `latest` has been published, when the audio thread had taken what was published before, or
  /// had not.
  void published(bool hadTaken) noexcept;
  /// Settings of another chain have been published instead; `hadTaken` as above.
  void superseded(bool hadTaken) noexcept {
    if (hadTaken) {
      inForce = pending;
    } else {
      pending = inForce;  // what it never took
    }
  }
  /// The audio thread has taken what was published last.
  void taken() noexcept { inForce = pending; }

 private:
  using Set = std::shared_ptr<const ChainParts>;
  template <typename Part, typename Fits, typename Make>
  [[nodiscard]] std::shared_ptr<Part> reuse(
      std::array<std::shared_ptr<Part>, kNumBands> ChainParts::*parts, int band, const Fits& fits,
      const Make& make) const;

  StagePlan madeFor;
  bool madeOversampling = false;
  Set made = std::make_shared<const ChainParts>();
  Set pending = made;  // published last
  Set inForce = made;  // the audio thread uses this or `pending`
};
