#include "tests/factory/outcome.h"

#include <algorithm>
#include <cstddef>

namespace {

Loudness::Result loudnessOf(const Material::Channels& signal) {
  const std::size_t frames = signal[0].size();
  std::vector<double> interleaved(2 * frames);
  for (std::size_t i = 0; i < frames; ++i) {
    interleaved[2 * i] = signal[0][i];
    interleaved[2 * i + 1] = signal[1][i];
  }
  Loudness meter(kMaterialRate, 2);
  meter.add(interleaved.data(), static_cast<int>(frames));
  return meter.result();
}

}  // namespace

Outcome::Outcome(const PresetRun& run)
    : levels(run.out), loudness(loudnessOf(run.out)), crest(crestDb(run.out)) {
  for (std::size_t band = 0; band < kNumBands; ++band) {
    const std::vector<double>& gains = run.gains[band];
    lowest[band] = gains.empty() ? 0.0 : *std::ranges::min_element(gains);
    highest[band] = gains.empty() ? 0.0 : *std::ranges::max_element(gains);
  }
}

double measured(const Claim& claim, const Outcome& before, const Outcome& after) {
  const auto band = static_cast<std::size_t>(claim.band - 1);
  switch (claim.measure) {
    case Measure::kLevel:
      return levelChange(before.levels, after.levels, claim.region);
    case Measure::kCrest:
      return after.crest - before.crest;
    case Measure::kLoudness:
      return after.loudness.integratedLufs - before.loudness.integratedLufs;
    case Measure::kLoudnessAfter:
      return after.loudness.integratedLufs;
    case Measure::kTruePeakAfter:
      return after.loudness.truePeakDb;
    case Measure::kReduction:
      return after.lowest[band];
    case Measure::kBoost:
      return after.highest[band];
  }
  return 0.0;
}
