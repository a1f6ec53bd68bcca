#include "tests/aax_host/reference.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

template <std::intptr_t kLevel>
std::intptr_t answer(AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*, float) {
  return opcode == kHostProcessLevel ? kLevel : 0;
}

}  // namespace

Reference::Reference(bool offline)
    : Plug(offline ? &answer<kProcessLevelOffline> : &answer<2>, Idle::kCaller,
           &monotonicMilliseconds, Machine::detached()) {
  setSampleRate(HostedInstance::kRate);
  Plug::resume();
}

void Reference::set(int index, double plain) {
  setParameter(index, plainToNormalised(index, static_cast<float>(plain)));
}

Signal Reference::render(Signal in, int channels) {
  const auto main = static_cast<std::size_t>(channels);
  Signal out(main, std::vector<float>(in[0].size()));
  HostedInstance::forBlocks(static_cast<int>(in[0].size()), [&](int at, int count) {
    std::array<float*, 4> inputs{};
    std::array<float*, 2> outputs{};
    for (std::size_t c = 0; c < main; ++c) {
      inputs[c] = in[c].data() + at;
      outputs[c] = out[c].data() + at;
      if (in.size() > main) inputs[main + c] = in[main].data() + at;
    }
    processReplacing(inputs.data(), outputs.data(), count);
    reductions = {getGainReduction(0), getGainReduction(1)};
  });
  return out;
}

std::vector<float> Reference::valuesOf(const HostedInstance& instance) {
  const StoredChunk chunk = instance.chunk(AAX_TypeID("CvnP"));
  setChunk(chunk.data.data(), static_cast<std::int32_t>(chunk.data.size()), false);
  if (chunk.data.empty() || chunkRefused()) throw std::runtime_error("an instance has no state");
  std::vector<float> values;
  values.reserve(kNumParams);
  for (int i = 0; i < kNumParams; ++i) values.push_back(getPlainValue(i));
  return values;
}

Signal noise(int channels, int frames, unsigned seed) {
  Signal signal(static_cast<std::size_t>(channels),
                std::vector<float>(static_cast<std::size_t>(frames)));
  std::uint32_t state = seed;
  for (auto& channel : signal) {
    for (float& sample : channel) {
      state = state * 1664525U + 1013904223U;
      sample = static_cast<float>(static_cast<double>(state) / 4294967296.0 - 0.5);
    }
  }
  return signal;
}

std::vector<PlainSetting> busySettings(int source) {
  const auto second = [](int row) { return bandParameterId(1, row); };
  return {{kB1Threshold, -30.0},
          {kB1Ratio, 0.75},
          {kB1Knee, 20.0},
          {kB1Attack, 2.0},
          {kB1RelSlow, 120.0},
          {kB1SCSrc, static_cast<double>(source)},
          {second(kB1Type), 1.0},
          {second(kB1SubType), 2.0},
          {second(kB1Slope), 36.0},
          {second(kB1SCLFSlope), 48.0},
          {second(kB1State), 1.0},
          {second(kB1Threshold), -20.0},
          {second(kB1Ratio), -0.5},
          {second(kB1Frequency), 400.0},
          {kOpTrim, 3.0}};
}

void waitForIdle() { std::this_thread::sleep_for(std::chrono::milliseconds(250)); }
