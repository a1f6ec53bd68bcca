#include "tests/factory/preset_run.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

void keepEverySecond(PresetRun& run) {
  for (auto& channel : run.out) {
    for (std::size_t i = 0; 2 * i + 1 < channel.size(); ++i) channel[i] = channel[2 * i + 1];
    channel.resize(channel.size() / 2);
  }
}

PresetRun runThrough(Plug& plug, const Material& material) {
  const auto latency = static_cast<std::size_t>(plug.getInitialDelay());
  const std::size_t frames = material.main[0].size();
  const std::size_t blocks = (frames + latency + kRunBlock - 1) / kRunBlock;
  // With silence behind it, so that the delay lets all of it out.
  std::array<std::vector<double>, 4> in = {material.main[0], material.main[1], material.key[0],
                                           material.key[1]};
  for (auto& plane : in) {
    if (!plane.empty()) plane.resize(blocks * kRunBlock);
  }
  PresetRun run;
  for (auto& plane : run.out) plane.resize(blocks * kRunBlock);
  for (std::size_t at = 0; at < blocks * kRunBlock; at += kRunBlock) {
    std::array<double*, 4> inputs{};
    for (std::size_t c = 0; c < 4; ++c) inputs[c] = in[c].empty() ? nullptr : in[c].data() + at;
    std::array<double*, 2> outputs = {run.out[0].data() + at, run.out[1].data() + at};
    plug.processDoubleReplacing(inputs.data(), outputs.data(), kRunBlock);
    plug.onIdle();
    for (std::size_t i = 0; i < 2U * kNumBands; ++i) {
      constexpr int kBothParts = 3;
      const double gain = plug.getBandGain(static_cast<int>(i / 2), kBothParts, i % 2);
      run.lowest[i / 2] = std::min(run.lowest[i / 2], gain);
      run.highest[i / 2] = std::max(run.highest[i / 2], gain);
    }
  }
  for (auto& plane : run.out) {
    plane.erase(plane.begin(), plane.begin() + static_cast<std::ptrdiff_t>(latency));
    plane.resize(frames);
  }
  return run;
}

Outcome::Outcome(const PresetRun& made) : levels(made.out), run{{}, made.lowest, made.highest} {
  double peak = 0.0;
  double power = 0.0;
  std::vector<double> interleaved;
  interleaved.reserve(2 * made.out[0].size());
  for (std::size_t i = 0; i < 2 * made.out[0].size(); ++i) {
    interleaved.push_back(made.out[i % 2][i / 2]);
    peak = std::max(peak, std::abs(interleaved.back()));
    power += interleaved.back() * interleaved.back();
  }
  Loudness meter(kMaterialRate, 2);
  meter.add(interleaved.data(), static_cast<int>(made.out[0].size()));
  loudness = meter.result();
  crest = 10.0 * std::log10(peak * peak * static_cast<double>(interleaved.size()) / power);
}

double measured(const Claim& claim, const Outcome& before, const Outcome& after) {
  const auto band = static_cast<std::size_t>(claim.band - 1);
  const std::string& measure = claim.measure;
  if (measure == "level") return levelChange(before.levels, after.levels, claim.region);
  if (measure == "crest") return after.crest - before.crest;
  if (measure == "loudnessAfter") return after.loudness.integratedLufs;
  if (measure == "truePeakAfter") return after.loudness.truePeakDb;
  if (measure == "truePeak") return after.loudness.truePeakDb - before.loudness.truePeakDb;
  if (measure == "reduction") return after.run.lowest.at(band);
  if (measure == "boost") return after.run.highest.at(band);
  if (measure != "loudness") throw std::runtime_error("no measure: " + measure);
  return after.loudness.integratedLufs - before.loudness.integratedLufs;
}
