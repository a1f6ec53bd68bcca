#include "dynamics/band_motion.h"

#include <algorithm>
#include <cmath>

namespace {

/// What a change of 1 may be worth in dB, to tell which of several moving values is heard most.
constexpr std::array<double, BandMotion::kOfDetector> kWorth = {1.0, 30.0, 1.0,  30.0, 1.0,
                                                                1.0, 6.0,  12.0, 24.0, 24.0};

}  // namespace

void BandMotion::jump(const Targets& targets) noexcept {
  goals = targets;
  jump();
}

void BandMotion::jump() noexcept {
  for (std::size_t i = 0; i < kValues; ++i) glides[i].jump(goals[i]);
  moving = 0;
}

void BandMotion::setTargets(const Targets& targets, int frames, double rate,
                            bool continues) noexcept {
  bool differ = moving != 0 && !continues;  // all compared, so that vectors can do it
  for (std::size_t i = 0; i < kValues; ++i) differ |= targets[i] != goals[i];
  if (!differ) return;
  for (std::size_t i = 0; i < kValues; ++i) {
    const std::uint32_t bit = 1U << i;
    if (targets[i] == goals[i] && (continues || (moving & bit) == 0)) continue;
    goals[i] = targets[i];
    glides[i].setTarget(targets[i], frames, rate);
    moving = glides[i].isMoving() ? moving | bit : moving & ~bit;
  }
}

CurveKnobs BandMotion::knobsAfter(int frames) const noexcept {
  const auto of = [&](Value value) { return glides[value].after(frames); };
  // Only a ratio that stays below 1 may go beyond its target.
  return {of(kThreshold), of(kRatioAbove), of(kCeiling), std::min(of(kRatioBelow), 1.0),
          of(kFloor),     of(kDeadband),   of(kKnee)};
}

void BandMotion::beginSlice(const DetectorSettings& settings, int frames) noexcept {
  if (!detectorMoves()) return;
  from = settings;
  from.curve = StaticCurve::make(knobsAfter(0));
  from.shape = glides[kShape].value();
  from.dynWeight = glides[kDynWeight].value();
  from.tranWeight = glides[kTranWeight].value();
  to = {StaticCurve::make(knobsAfter(frames)), glides[kShape].after(frames),
        glides[kDynWeight].after(frames), glides[kTranWeight].after(frames), shares.data()};
  fillShares(frames);
}

/// The gains of both ends are mixed along the way of the value that matters most: exactly its own
/// way where the gain follows it in proportion, as it does the threshold.
void BandMotion::fillShares(int frames) noexcept {
  std::size_t leading = 0;
  double most = 0.0;
  for (std::size_t i = 0; i < kOfDetector; ++i) {
    if (!moves(static_cast<Value>(i))) continue;
    const double worth = std::abs(glides[i].after(frames) - glides[i].value()) * kWorth[i];
    if (worth <= most) continue;
    most = worth;
    leading = i;
  }
  if (most == 0.0) {
    shares.fill(0.0);
    return;
  }
  const Glide& glide = glides[leading];
  const double start = glide.value();
  const double perChange = 1.0 / (glide.after(frames) - start);
  glide.fill(shares.data(), frames);
  // Beyond the ends only where a value turns.
  for (int i = 0; i < frames; ++i) {
    double& share = shares[static_cast<std::size_t>(i)];
    share = std::clamp((share - start) * perChange, -1.0, 2.0);
  }
}

void BandMotion::endSlice(int frames) noexcept {
  for (Glide& glide : glides) glide.advance(frames);
}
