#include "tests/hosted/reference.h"

#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "core/parameter_table.h"

namespace {

std::intptr_t answer(AEffect* effect, std::int32_t opcode, std::int32_t, std::intptr_t, void*,
                     float) {
  if (opcode != kHostProcessLevel) return 0;
  const auto* const reference = static_cast<const Reference*>(effect->user);
  return reference != nullptr && reference->isOffline ? kProcessLevelOffline
                                                      : 0;  // as told, at once
}

}  // namespace

Reference::Reference(double rate)
    : Plug(&answer, Idle::kCaller, &monotonicMilliseconds, Machine::detached()) {
  getAeffect()->user = this;
  setSampleRate(static_cast<float>(rate));
  Plug::resume();
}

void Reference::set(const Settings& settings) {
  for (const auto& [id, number] : settings) {
    setParameter(id, plainToNormalised(id, static_cast<float>(number)));
  }
  updateDsp(true);
  updateLatency();
}

Signal Reference::render(Signal in, int channels) {
  const auto main = static_cast<std::size_t>(channels);
  Signal out(main, std::vector<float>(in[0].size()));
  HostedInstance::forBlocks(static_cast<int>(in[0].size()), [&](int at, int count) {
    std::array<float*, 4> inputs{};
    std::array<float*, 2> outputs{};
    for (std::size_t c = 0; c < in.size(); ++c) inputs[c] = in[c].data() + at;
    for (std::size_t c = 0; c < main; ++c) outputs[c] = out[c].data() + at;
    processReplacing(inputs.data(), outputs.data(), count);
    reductions = {getGainReduction(0), getGainReduction(1)};
  });
  return out;
}

void Reference::take(const std::string& chunk) {
  setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
  if (chunk.empty() || chunkRefused()) throw std::runtime_error("an instance has no state");
  updateLatency();
}

std::vector<float> Reference::valuesOf(const std::string& chunk, int bank) {
  take(chunk);
  if (bank >= 0) input.applyBank(bank, false);
  std::vector<float> all;
  all.reserve(kNumParams);
  for (int id = 0; id < kNumParams; ++id) all.push_back(getPlainValue(id));
  return all;
}

std::vector<float> Reference::valuesOf(const HostedInstance& instance) {
  return valuesOf(instance.chunk(AAX_TypeID("CvnP")).data);
}

Signal silence(int channels, int frames) {
  return Signal(static_cast<std::size_t>(channels),
                std::vector<float>(static_cast<std::size_t>(frames)));
}

Signal noise(int channels, int frames, unsigned seed) {
  Signal signal = silence(channels, frames);
  std::uint32_t state = seed;
  for (std::size_t c = 0; c < signal.size(); ++c) {
    for (float& sample : signal[c]) {
      state = state * 1664525U + 1013904223U;
      const double value = static_cast<double>(state) / 4294967296.0 - 0.5;
      sample = static_cast<float>(c % 2 == 0 ? value : 0.25 * value);
    }
  }
  return signal;
}

Settings settingsOf(const std::string& text) {
  Settings settings;
  std::istringstream words(text);
  double plain = 0.0;
  for (std::string name; std::getline(words >> std::ws, name, '=') && words >> plain;) {
    settings.push_back({parameterKeyTable().find(name), plain});
    EXPECT_GE(settings.back().id, 0) << name;
  }
  return settings;
}

Settings busySettings(int source) {
  return settingsOf(
      "kB1Threshold=-30 kB1Ratio=0.75 kB1Knee=20 kB1Attack=2 kB1RelSlow=120 kB1LR=1 kB1SCLR=1 "
      "kB1SCLink=0 kB2LR=1 kB2SCLR=1 kB2SCLink=0 kB2Type=1 kB2SubType=2 kB2Slope=36 "
      "kB2SCLFSlope=48 kB2State=1 kB2Threshold=-20 kB2Ratio=-0.5 kB2Frequency=400 kOversampleOL=1 "
      "kOpTrim=3 kB1SCSrc=" +
      std::to_string(source));
}

std::string firstDifference(const Signal& actual, const Signal& expected, double error) {
  for (std::size_t c = 0; c < expected.size(); ++c) {
    for (std::size_t i = 0; i < expected[c].size(); ++i) {
      const float x = actual[c][i];
      const float y = expected[c][i];
      // By bits: a signed zero or no number is a difference, too.
      if (std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y)) continue;
      if (std::abs(static_cast<double>(x) - static_cast<double>(y)) < error) continue;
      return "channel " + std::to_string(c) + " differs from frame " + std::to_string(i) +
             " on: " + std::to_string(x) + " instead of " + std::to_string(y);
    }
  }
  return {};
}

Signal delayed(const Signal& in, int delay) {
  Signal later = in;
  for (std::vector<float>& channel : later) {
    channel.insert(channel.begin(), static_cast<std::size_t>(delay), 0.0F);
    channel.resize(in[0].size());
  }
  return later;
}

void waitForIdle() { std::this_thread::sleep_for(std::chrono::milliseconds(250)); }
