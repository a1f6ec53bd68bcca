#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <memory>

#include "tests/aax_host/loaded_plugin.h"
#include "tests/aax_host/reference.h"

namespace {

constexpr int kSecond = 48000;
constexpr int kEffectChannels[] = {1, 2};

/// Where two signals are not the same, bit for bit, "" if nowhere.
std::string firstDifference(const Signal& actual, const Signal& expected) {
  for (std::size_t c = 0; c < expected.size(); ++c) {
    for (std::size_t i = 0; i < expected[c].size(); ++i) {
      // By bits: a signed zero or no number is a difference, too.
      if (std::bit_cast<std::uint32_t>(actual[c][i]) ==
          std::bit_cast<std::uint32_t>(expected[c][i])) {
        continue;
      }
      return "channel " + std::to_string(c) + " differs from frame " + std::to_string(i) +
             " on: " + std::to_string(actual[c][i]) + " instead of " +
             std::to_string(expected[c][i]);
    }
  }
  return {};
}

/// Expects `out` to be `in` some frames later, as far as 32 bits can tell, from `from` on.
void expectDelayed(const Signal& out, const Signal& in, int delay, std::size_t from = 0) {
  constexpr double kRounding = 1e-6;  // filters in 64 bits, samples below 1 in 32 bits
  const auto lag = static_cast<std::size_t>(std::max(delay, 0));
  for (std::size_t c = 0; c < out.size(); ++c) {
    for (std::size_t i = from; i < out[c].size(); ++i) {
      ASSERT_NEAR(out[c][i], i < lag ? 0.0F : in[c][i - lag], kRounding) << "delay " << delay;
    }
  }
}

TEST_F(LoadedPlugin, DelaysByWhatItReportsAndKeepsSilenceSilent) {
  for (const int channels : kEffectChannels) {
    SCOPED_TRACE(channels);
    HostedInstance instance(effect(), channels);
    const int latency = instance.host.latency();
    EXPECT_GT(latency, 0);
    EXPECT_EQ(latency, Reference().getInitialDelay());
    const Signal in = noise(channels, kSecond / 2);
    expectDelayed(instance.render(in), in, latency);
    HostedInstance busy(effect(), channels);
    for (const auto& [index, plain] : busySettings()) busy.set(index, plain);
    const Signal silence(static_cast<std::size_t>(channels), std::vector<float>(kSecond / 2));
    EXPECT_EQ(firstDifference(busy.render(silence), silence), "");
  }
}

void expectMeters(const HostedInstance& instance, const Reference& reference, float before) {
  const auto peak = [&](int channel) {
    return static_cast<float>(reference.getOutputPeak(channel));
  };
  std::vector<float> expected = {peak(0), peak(1), peak(0), peak(1), before, before, before};
  for (std::size_t c = 0; instance.channels == 2 && c < 2; ++c) {
    expected[4 + c] = static_cast<float>(1.0 - reference.reductions[c]);
  }
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(instance.meters[i], expected[i], 1e-6F) << "meter " << i;
  }
}

struct RenderCase {
  const char* name;
  int channels;
  int source;  ///< of the first band's sidechain: 1 its own signal, 2 external
  bool fed;    ///< with a sidechain
  bool offline;
};

Signal heardLikeTheReference(const RecordedEffect& effect, const RenderCase& row) {
  SCOPED_TRACE(row.name);
  HostedInstance instance(effect, row.channels);
  Reference reference(row.offline);
  if (row.offline) {
    instance.notify(AAX_eNotificationEvent_EnteringOfflineMode);
    const Signal lead(static_cast<std::size_t>(row.channels), std::vector<float>(64));
    static_cast<void>(instance.render(lead));
    static_cast<void>(reference.render(lead, row.channels));
  }
  for (const auto& [index, plain] : busySettings(row.source)) {
    instance.set(index, plain);
    reference.set(index, plain);
  }
  waitForIdle();
  reference.onIdle();
  constexpr float kBefore = 0.125F;
  instance.meters.fill(kBefore);
  const Signal in = noise(row.channels + (row.fed ? 1 : 0), kSecond);
  Signal out = instance.render(in);
  EXPECT_EQ(instance.host.latency(), reference.getInitialDelay());
  EXPECT_EQ(firstDifference(out, reference.render(in, row.channels)), "");
  expectMeters(instance, reference, kBefore);
  return out;
}

TEST_F(LoadedPlugin, SoundsAsTheEffectAlone) {
  constexpr RenderCase kCases[] = {
      {"stereo", 2, 1, false, false},           {"mono", 1, 1, false, false},
      {"stereo, sidechain", 2, 2, true, false}, {"mono, sidechain", 1, 2, true, false},
      {"stereo, index 0", 2, 2, false, false},  {"mono, index 0", 1, 2, false, false},
      {"stereo, offline", 2, 2, true, true},
  };
  std::vector<Signal> outs;
  for (const RenderCase& row : kCases) outs.push_back(heardLikeTheReference(effect(), row));
  EXPECT_NE(firstDifference(outs[2], outs[4]), "") << "else this says nothing of the sidechain";
}

void expectBypassed(HostedInstance& instance) {
  Signal in = noise(instance.channels, 4000, 5);
  in[0][17] = std::numeric_limits<float>::quiet_NaN();
  in[0][18] = -0.0F;
  in[0][19] = 1e-42F;
  constexpr float kBefore = 0.25F;
  instance.meters.fill(kBefore);
  EXPECT_EQ(firstDifference(instance.render(in), in), "");
  const std::size_t registered = instance.channels == 2 ? 6 : 5;
  for (std::size_t i = 0; i < instance.meters.size(); ++i) {
    EXPECT_EQ(instance.meters[i], i < registered ? 0.0F : kBefore) << "meter " << i;
  }
}

TEST_F(LoadedPlugin, BypassPassesTheInputWithoutLatency) {
  for (const int channels : kEffectChannels) {
    SCOPED_TRACE(channels);
    HostedInstance instance(effect(), channels);
    const int latency = instance.host.latency();
    static_cast<void>(instance.render(noise(channels, 4000)));
    instance.update("bypass", 1.0);
    EXPECT_EQ(instance.host.latency(), 0);
    expectBypassed(instance);
    instance.set(bandParameterId(1, kB1Type), 1.0);
    instance.set(bandParameterId(1, kB1State), 1.0);  // delays further
    waitForIdle();
    EXPECT_EQ(instance.host.latency(), 0) << "changed in bypass";
    instance.update("bypass", 0.0);
    EXPECT_GT(instance.host.latency(), latency);
    instance.set(bandParameterId(1, kB1State), 0.0);
    waitForIdle();
    EXPECT_EQ(instance.host.latency(), latency);
    const Signal in = noise(channels, kSecond, 9);
    expectDelayed(instance.render(in), in, latency, kSecond / 2);
  }
}

TEST_F(LoadedPlugin, MidiControllersMoveParameters) {
  HostedInstance instance(effect(), 2);
  Reference reader;
  constexpr unsigned char kController = kMappedController;
  constexpr unsigned char kOther = kController + 1;
  const struct {
    const char* name;
    std::vector<AAX_CMidiPacket> packets;
    double inTrimDb;
  } rows[] = {
      {"controller", {{0, 3, {0xb0, kController, 127, 0}, 0}}, 24.0},
      {"no packet", {}, 24.0},
      {"note", {{5, 3, {0x90, kController, 1, 0}, 1}}, 24.0},
      {"other controller", {{5, 3, {0xb0, kOther, 1, 0}, 0}}, 24.0},
      {"two bytes", {{3, 2, {0xb0, kController, 99, 99}, 0}}, -24.0},
      {"more than fit", {{63, 200, {0xb3, kController, 127, 1}, 1}}, 24.0},
      {"no bytes", {{0, 0, {0xb0, kController, 0, 0}, 0}}, 24.0},
      {"the last of two",
       {{0, 3, {0xb0, kController, 127}, 0}, {9, 3, {0xbf, kController}, 0}},
       -24.0},
  };
  for (const auto& row : rows) {
    instance.packets = row.packets;
    static_cast<void>(instance.render(noise(2, 64)));
    EXPECT_EQ(reader.valuesOf(instance)[kIpTrim], row.inTrimDb) << row.name;
  }
}

TEST_F(LoadedPlugin, AsksTheTransportEverythingWhereThereIsOne) {
  HostedInstance instance(effect(), 2);
  static_cast<void>(instance.render(noise(2, 512)));
  EXPECT_EQ(instance.transport.questions.size(), 6U);
  instance.nodesPresent = false;
  instance.transport.questions.clear();
  const Signal in = noise(2, kSecond);
  expectDelayed(instance.render(in), in, instance.host.latency(), kSecond / 2);
  EXPECT_TRUE(instance.transport.questions.empty());
}

/// Many instances in one callback, every third with no private pointer.
TEST_F(LoadedPlugin, InstancesOfABatchDoNotMix) {
  constexpr std::size_t kInstances = 32;
  constexpr int kFrames = 8192;
  constexpr int kBlock = 512;
  const Signal untouched(2, std::vector<float>(kFrames, -1.0F));
  std::vector<std::unique_ptr<HostedInstance>> instances;
  std::vector<Signal> ins;
  std::vector<Signal> outs(kInstances, untouched);
  std::vector<void*> contexts;
  const auto isSkipped = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < kInstances; ++i) {
    instances.push_back(std::make_unique<HostedInstance>(effect(), 2));
    ins.push_back(noise(2, kFrames, static_cast<unsigned>(i)));
    if (isSkipped(i)) instances[i]->setPrivatePointer(nullptr);
    contexts.push_back(instances[i]->context());
  }
  for (int at = 0; at < kFrames; at += kBlock) {
    for (std::size_t i = 0; i < kInstances; ++i) {
      instances[i]->prepareBlock(ins[i], outs[i], at, kBlock);
    }
    instances[0]->proc(contexts.data(), contexts.data() + contexts.size());
  }
  for (std::size_t i = 0; i < kInstances; ++i) {
    SCOPED_TRACE(i);
    if (isSkipped(i)) {
      EXPECT_EQ(firstDifference(outs[i], untouched), "");
    } else {
      expectDelayed(outs[i], ins[i], instances[i]->host.latency());
    }
  }
}

}  // namespace
