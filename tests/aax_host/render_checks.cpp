#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/aax_host/reference.h"

namespace {

constexpr int kSecond = 48000;
constexpr int kEffectChannels[] = {1, 2};

std::string channelText(int channels) { return channels == 1 ? "mono: " : "stereo: "; }

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
void expectDelayed(const Signal& out, const Signal& in, int delay, std::size_t from,
                   const std::string& which, Faults& faults) {
  constexpr double kRounding = 1e-6;  // filters in 64 bits, samples below 1 in 32 bits
  const auto lag = static_cast<std::size_t>(std::max(delay, 0));
  double worst = 0.0;
  for (std::size_t c = 0; c < out.size(); ++c) {
    for (std::size_t i = from; i < out[c].size(); ++i) {
      const float expected = i < lag ? 0.0F : in[c][i - lag];
      worst = std::max(worst, static_cast<double>(std::abs(out[c][i] - expected)));
    }
  }
  faults.expect(worst < kRounding, which + "not the input " + std::to_string(delay) +
                                       " frames later, off by " + std::to_string(worst));
}

void checkSilence(const Bench& bench, Faults& faults) {
  for (const int channels : kEffectChannels) {
    HostedInstance instance(bench.effect, channels);
    for (const auto& [index, plain] : busySettings()) instance.set(index, plain);
    const Signal silence(static_cast<std::size_t>(channels), std::vector<float>(kSecond / 2));
    faults.equal(firstDifference(instance.render(silence), silence), "",
                 channelText(channels) + "silence");
  }
}

void checkDelay(const Bench& bench, Faults& faults) {
  for (const int channels : kEffectChannels) {
    HostedInstance instance(bench.effect, channels);
    const int latency = instance.host.latency();
    faults.expect(latency > 0, channelText(channels) + "no latency is reported");
    faults.equal(latency, Reference().getInitialDelay(), channelText(channels) + "the latency");
    const Signal in = noise(channels, kSecond / 2);
    expectDelayed(instance.render(in), in, latency, 0, channelText(channels), faults);
  }
}

void expectMeters(const HostedInstance& instance, const Reference& reference, float before,
                  const std::string& which, Faults& faults) {
  const auto peak = [&](int channel) {
    return static_cast<float>(reference.getOutputPeak(channel));
  };
  std::vector<float> expected = {peak(0), peak(1), peak(0), peak(1), before, before, before};
  if (instance.channels == 2) {
    for (std::size_t c = 0; c < 2; ++c) {
      expected[4 + c] = static_cast<float>(1.0 - reference.reductions[c]);
    }
  }
  for (std::size_t i = 0; i < expected.size(); ++i) {
    faults.expect(std::abs(instance.meters[i] - expected[i]) < 1e-6F,
                  which + "meter " + std::to_string(i) + " reads " +
                      std::to_string(instance.meters[i]) + " instead of " +
                      std::to_string(expected[i]));
  }
}

struct RenderCase {
  const char* name;
  int channels;
  int source;  ///< of the first band's sidechain: 1 its own signal, 2 external
  bool fed;    ///< with a sidechain
  bool offline;
};

constexpr RenderCase kRenderCases[] = {
    {"stereo", 2, 1, false, false},           {"mono", 1, 1, false, false},
    {"stereo, sidechain", 2, 2, true, false}, {"mono, sidechain", 1, 2, true, false},
    {"stereo, index 0", 2, 2, false, false},  {"mono, index 0", 1, 2, false, false},
    {"stereo, offline", 2, 2, true, true},
};

Signal checkAgainstReference(const Bench& bench, const RenderCase& row, Faults& faults) {
  HostedInstance instance(bench.effect, row.channels);
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
  Signal in = noise(row.channels + (row.fed ? 1 : 0), kSecond);
  Signal out = instance.render(in);
  const std::string which = std::string(row.name) + ": ";
  faults.equal(instance.host.latency(), reference.getInitialDelay(), which + "the latency");
  faults.equal(firstDifference(out, reference.render(in, row.channels)), "", which + "audio");
  expectMeters(instance, reference, kBefore, which, faults);
  return out;
}

void checkReference(const Bench& bench, Faults& faults) {
  std::vector<Signal> outs;
  for (const RenderCase& row : kRenderCases) {
    outs.push_back(checkAgainstReference(bench, row, faults));
  }
  // Else the cases say nothing about the sidechain.
  faults.expect(!firstDifference(outs[2], outs[4]).empty(), "a sidechain changes nothing");
}

void expectBypassed(HostedInstance& instance, const std::string& which, Faults& faults) {
  Signal in = noise(instance.channels, 4000, 5);
  in[0][17] = std::numeric_limits<float>::quiet_NaN();
  in[0][18] = -0.0F;
  in[0][19] = 1e-42F;
  constexpr float kBefore = 0.25F;
  instance.meters.fill(kBefore);
  faults.equal(firstDifference(instance.render(in), in), "", which + "bypassed audio");
  const std::size_t registered = instance.channels == 2 ? 6 : 5;
  for (std::size_t i = 0; i < instance.meters.size(); ++i) {
    faults.equal(instance.meters[i], i < registered ? 0.0F : kBefore,
                 which + "bypassed meter " + std::to_string(i));
  }
}

void checkBypass(const Bench& bench, Faults& faults) {
  for (const int channels : kEffectChannels) {
    const std::string which = channelText(channels);
    HostedInstance instance(bench.effect, channels);
    const int latency = instance.host.latency();
    static_cast<void>(instance.render(noise(channels, 4000)));
    instance.update("bypass", 1.0);
    faults.equal(instance.host.latency(), 0, which + "the latency in bypass");
    expectBypassed(instance, which, faults);
    instance.set(bandParameterId(1, kB1Type), 1.0);
    instance.set(bandParameterId(1, kB1State), 1.0);  // delays further
    waitForIdle();
    faults.equal(instance.host.latency(), 0, which + "the latency changed in bypass");
    instance.update("bypass", 0.0);
    const int later = instance.host.latency();
    faults.expect(later > latency, which + "the latency after bypass is the one before");
    instance.set(bandParameterId(1, kB1State), 0.0);
    waitForIdle();
    faults.equal(instance.host.latency(), latency, which + "the latency after bypass");
    const Signal in = noise(channels, kSecond, 9);
    expectDelayed(instance.render(in), in, latency, kSecond / 2, which, faults);
  }
}

void checkMidi(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
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
    const auto inTrim = static_cast<double>(reader.valuesOf(instance)[kIpTrim]);
    faults.equal(inTrim, row.inTrimDb, std::string(row.name) + ": the in trim");
  }
}

void checkTransport(const Bench& bench, Faults& faults) {
  HostedInstance instance(bench.effect, 2);
  static_cast<void>(instance.render(noise(2, 512)));
  faults.equal(instance.transport.questions.size(), 6U, "the number of things asked");
  instance.nodesPresent = false;
  instance.transport.questions.clear();
  const Signal in = noise(2, kSecond);
  expectDelayed(instance.render(in), in, instance.host.latency(), kSecond / 2,
                "without nodes: ", faults);
  faults.expect(instance.transport.questions.empty(), "a node that is not there is asked");
}

/// Many instances in one callback, every third with no private pointer.
void checkBatch(const Bench& bench, Faults& faults) {
  constexpr std::size_t kInstances = 32;
  constexpr int kFrames = 8192;
  constexpr int kBlock = 512;
  std::vector<std::unique_ptr<HostedInstance>> instances;
  std::vector<Signal> ins;
  std::vector<Signal> outs;
  std::vector<void*> contexts;
  const auto isSkipped = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < kInstances; ++i) {
    instances.push_back(std::make_unique<HostedInstance>(bench.effect, 2));
    ins.push_back(noise(2, kFrames, static_cast<unsigned>(i)));
    outs.push_back(Signal(2, std::vector<float>(kFrames, -1.0F)));
    if (isSkipped(i)) instances[i]->setPrivatePointer(nullptr);
    contexts.push_back(instances[i]->context());
  }
  for (int at = 0; at < kFrames; at += kBlock) {
    for (std::size_t i = 0; i < kInstances; ++i) {
      instances[i]->prepareBlock(ins[i], outs[i], at, kBlock);
    }
    instances[0]->proc(contexts.data(), contexts.data() + contexts.size());
  }
  const Signal untouched(2, std::vector<float>(kFrames, -1.0F));
  for (std::size_t i = 0; i < kInstances; ++i) {
    const std::string which = "instance " + std::to_string(i) + ": ";
    if (isSkipped(i)) {
      faults.equal(firstDifference(outs[i], untouched), "", which + "audio without its pointer");
    } else {
      expectDelayed(outs[i], ins[i], instances[i]->host.latency(), 0, which, faults);
    }
  }
}

constexpr Check kChecks[] = {
    {"render.silence", &checkSilence},     {"render.delay", &checkDelay},
    {"render.reference", &checkReference}, {"render.bypass", &checkBypass},
    {"render.midi", &checkMidi},           {"render.transport", &checkTransport},
    {"render.batch", &checkBatch}};

}  // namespace

std::span<const Check> renderChecks() { return kChecks; }
