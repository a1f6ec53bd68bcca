#include "tests/factory/preset_run.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr int kBothParts = 3;

double furthestGain(const Plug& plug, int band) {
  const double first = plug.getBandGain(band, kBothParts, 0);
  const double second = plug.getBandGain(band, kBothParts, 1);
  return std::abs(first) >= std::abs(second) ? first : second;
}

/// With silence behind it, so that the delay lets all of it out.
std::vector<double> prolonged(const std::vector<double>& samples, std::size_t frames) {
  std::vector<double> result(frames);
  std::ranges::copy(samples, result.begin());
  return result;
}

}  // namespace

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
  const bool isKeyed = !material.key[0].empty();
  std::array<std::vector<double>, 4> in;
  PresetRun run;
  for (std::size_t c = 0; c < 2; ++c) {
    in[c] = prolonged(material.main[c], blocks * kRunBlock);
    in[c + 2] = prolonged(material.key[c], blocks * kRunBlock);
    run.out[c].resize(blocks * kRunBlock);
  }
  for (std::size_t block = 0; block < blocks; ++block) {
    const std::size_t at = block * kRunBlock;
    std::array<double*, 4> inputs{};
    for (std::size_t c = 0; c < (isKeyed ? 4U : 2U); ++c) inputs[c] = in[c].data() + at;
    std::array<double*, 2> outputs = {run.out[0].data() + at, run.out[1].data() + at};
    plug.processDoubleReplacing(inputs.data(), outputs.data(), kRunBlock);
    plug.onIdle();
    for (int band = 0; band < kNumBands; ++band) {
      run.gains[static_cast<std::size_t>(band)].push_back(furthestGain(plug, band));
    }
  }
  for (auto& channel : run.out) {
    channel.erase(channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(latency));
    channel.resize(frames);
  }
  return run;
}

double crestDb(const Material::Channels& signal) {
  double peak = 0.0;
  double power = 0.0;
  for (const auto& channel : signal) {
    for (const double x : channel) {
      peak = std::max(peak, std::abs(x));
      power += x * x;
    }
  }
  const double mean = power / static_cast<double>(2 * signal[0].size());
  return 10.0 * std::log10(peak * peak / mean);
}
