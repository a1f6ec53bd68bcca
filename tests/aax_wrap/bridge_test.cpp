#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/aax_host/hosted_instance.h"
#include "core/parameter_table.h"
#include "core/plug.h"
#include "libraries/aax_wrap/aaxwrap_channel_labels.h"
#include "libraries/aax_wrap/aaxwrap_describe.h"
#include "libraries/aax_wrap/aaxwrap_host_callback.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"
#include "tests/support/data_rows.h"
#include "tests/support/real_time.h"

namespace {

/// An effect that nobody idles and that tells what reached it.
class ObservedPlug : public Plug {
 public:
  explicit ObservedPlug(Machine& machine)
      : Plug(
            &aaxHostCallback, Idle::kCaller,
            [now = std::make_shared<std::atomic<std::int64_t>>()] { return *now += 100; },
            machine) {}

  void setTrackName(const char* name) override { trackName = name; }
  std::string trackName;
  std::array<VstMidiEvent, 4> midi{};
  std::size_t midiCount = 0;

 protected:
  void processMidi(const VstMidiEvent& event) noexcept override {
    midi[midiCount++ % midi.size()] = event;
  }
};

Machine& aloneMachine() {
  static Machine machine{std::make_unique<MemoryStore>(), {}};
  return machine;
}

/// One instance, described and made here around an effect that can be observed.
class BridgeRig {
 public:
  explicit BridgeRig(int channels = 2) {
    static_cast<void>(aaxDescribe(collection));
    collection.effects[0]->procs[kAAX_ProcPtrID_Create_EffectParameters] = [] {
      return static_cast<IACFUnknown*>(make());
    };
    hosted = std::make_unique<HostedInstance>(*collection.effects[0], channels, 44100.0F);
    effect = lastMade;
  }
  template <typename Effect = ObservedPlug>
  static AAXWrap_Parameters* make() {
    auto made = std::make_unique<Effect>(aloneMachine());
    lastMade = made.get();
    return new AAXWrap_Parameters(std::move(made));
  }
  std::intptr_t tell(std::int32_t opcode, std::int32_t index = 0, float opt = 0.0F,
                     void* ptr = nullptr) const {
    return aaxHostCallback(effect->getAeffect(), opcode, index, 0, ptr, opt);
  }
  /// What the host is told, as "identifier kind", since the last call.
  [[nodiscard]] std::string told() const {
    std::string text;
    for (const AutomationEvent& event : hosted->host.takeEvents()) text += event.id + event.kind;
    return text;
  }

  HostLog log;
  RecordedCollection collection{log};
  std::unique_ptr<HostedInstance> hosted;
  ObservedPlug* effect = nullptr;  // the instance's

 private:
  static inline ObservedPlug* lastMade = nullptr;
};

TEST(AaxBridge, WhatTheEffectAutomatesComesBackAsTheSameValue) {
  const BridgeRig rig;
  for (int i = 0; i < kNumParams; ++i) {
    for (const float normalised : {0.0F, 0.24F, 0.5F, 0.77F, 1.0F}) {
      rig.effect->setParameter(i, normalised);
      const float plain = rig.effect->getPlainValue(i);
      static_cast<void>(rig.told());
      rig.tell(kHostAutomate, i, normalised);
      EXPECT_EQ(rig.told(), rig.hosted->id(i) + "P");
      EXPECT_EQ(rig.effect->getPlainValue(i), plain)
          << parameterKeyTable().name(i) << " at " << normalised;
    }
  }
  for (const int outside : {-1, int{kNumParams}, 32765}) {
    for (const auto each : {kHostAutomate, kHostBeginEdit, kHostEndEdit}) rig.tell(each, outside);
  }
  EXPECT_EQ(rig.told(), "");
  rig.effect->setParameterWithEdit(kIpTrim, 3.0F);
  const std::string id = rig.hosted->id(kIpTrim);
  EXPECT_EQ(rig.told(), id + "T" + id + "P" + id + "R");
}

/// What fails in the middle leaves nothing, and the same instance may be started again.
TEST(AaxBridge, AFailedStartLeavesNothing) {
  InstanceHost host(AAX_eStemFormat_Stereo, 44100.0F);
  auto* const unknown = static_cast<AAX_IController*>(&host);
  AAXWrap_Parameters* const instance = BridgeRig::make();
  host.echo = instance;
  instance->automate(0, 1.0F);  // before there is anybody
  for (const DataRow& row : dataRows(TEST_DATA "/starts.txt")) {
    SCOPED_TRACE(row[0]);
    host.rate = std::stof(row[1]);
    host.rateResult = std::stoi(row[2]);
    host.automates = row[3] == "yes";
    host.mostParameters = std::stoul(row[4]);
    host.registrations.clear();
    const AAX_Result result = instance->Initialize(row[5] == "none" ? nullptr : unknown);
    EXPECT_TRUE(row.back() == "refused" ? result < 0 : result == std::stoi(row.back())) << result;
    std::int32_t count = -1;
    instance->GetNumberOfParameters(&count);
    EXPECT_EQ(count, result == AAX_SUCCESS ? kNumParams + 1 : 0);
    EXPECT_TRUE(result == AAX_SUCCESS || host.referenceCount() == 0U);
  }
  EXPECT_EQ(instance->plug().getSampleRate(), 96000.0F);
  EXPECT_NE(instance->Initialize(unknown), AAX_SUCCESS) << "twice";
  instance->Uninitialize();
  for (const auto& [id, count] : host.registrations) EXPECT_EQ(count, 0);
  EXPECT_EQ(host.registrations.size(), std::size_t{kNumParams + 1});
  instance->automate(0, 0.0F);
  EXPECT_TRUE(host.takeEvents().empty());
  EXPECT_EQ(host.referenceCount(), 0U);
  instance->Release();
}

TEST(AaxBridge, AnEffectIsHeardUntilItIsGone) {
  struct FarewellPlug : ObservedPlug {
    using ObservedPlug::ObservedPlug;
    ~FarewellPlug() override {
      for (const auto each : {kHostIoChanged, kHostAutomate}) {
        aaxHostCallback(getAeffect(), each, kB1SubType, 0, nullptr, 1.0F);
      }
    }
  };
  InstanceHost host(AAX_eStemFormat_Stereo, 44100.0F);
  AAXWrap_Parameters* const instance = BridgeRig::make<FarewellPlug>();
  host.echo = instance;
  ASSERT_EQ(instance->Initialize(static_cast<AAX_IController*>(&host)), AAX_SUCCESS);
  instance->Release();  // by a host that forgets the end
  EXPECT_EQ(host.takeEvents().size(), 1U);
  EXPECT_EQ(host.referenceCount(), 0U);
  EXPECT_EQ(AAXWrap_Parameters::liveInstances(), 0);
}

TEST(AaxBridge, NotificationsReachTheEffect) {
  const BridgeRig rig;
  const std::string state = rig.hosted->chunk(AAX_TypeID("CvnP")).data;
  const std::pair<std::string, std::string> names[] = {
      {"", ""},
      {"Vocal", "Vocal"},
      {"B\xc3\xa4\x7f\xff", "B??\x7f?"},
      {std::string("a\0b", 3), "a"},
      {std::string(128, '\x80'), std::string(127, '?')}};
  for (const auto& [sent, arrives] : names) {
    rig.hosted->notify(AAX_TypeID("AXtn"), sent);
    EXPECT_EQ(rig.effect->trackName, arrives);
  }
  for (const std::string_view preview :
       {std::string_view("\1\0\0\0", 4), std::string_view("\1"), std::string_view()}) {
    rig.hosted->notify(AAX_eNotificationEvent_ASPreviewState, preview);
  }
  rig.hosted->notify(AAX_TypeID("zzzz"), names[1].first);
  EXPECT_EQ(rig.hosted->chunk(AAX_TypeID("CvnP")).data, state);
  for (const int level : {4, 2, 4}) {
    rig.hosted->notify(level == 4 ? AAX_TypeID("AXof") : AAX_TypeID("AXox"));
    EXPECT_EQ(rig.tell(kHostProcessLevel), level);
  }
}

std::string textOf(const std::vector<ChannelLabel>& labels) {
  std::string text;
  for (const ChannelLabel& label : labels) text += label.leftRight + '=' + label.midSide + ' ';
  return text;
}

TEST(AaxBridge, ChannelsAreNamedByTheStemFormat) {
  EXPECT_EQ(textOf(BridgeRig(1).effect->getChannelLabels()), "Center=Center ");
  EXPECT_EQ(textOf(BridgeRig(2).effect->getChannelLabels()), "Left=Mid Right=Side ");
  for (const DataRow& row : dataRows(TEST_DATA "/labels.txt")) {
    const auto format = static_cast<AAX_EStemFormat>(std::stoi(row[0], nullptr, 16));
    EXPECT_EQ(textOf(aaxChannelLabels(format)), row.back() + (row.back().empty() ? "" : " "));
  }
}

TEST(AaxBridge, LatencyHidesBehindABypassThatIsHeard) {
  const BridgeRig rig;
  rig.hosted->update("bypass", 1.0);
  EXPECT_EQ(rig.hosted->host.latency(), 0);
  rig.tell(kHostIoChanged);
  EXPECT_EQ(rig.hosted->host.latency(), rig.effect->getInitialDelay()) << "nothing was rendered";
  static_cast<void>(rig.hosted->render(Signal(2, std::vector<float>(64))));
  rig.effect->setParameter(kB1Lookahead, 1.0F);
  static_cast<void>(rig.hosted->render(Signal(2, std::vector<float>(8192))));  // fades it in
  rig.effect->onIdle();
  EXPECT_EQ(rig.hosted->host.latency(), 0);
}

/// Presets and banks that the effect loads by itself: nobody names the values that change.
TEST(AaxBridge, ValuesReplacedInsideAreRead) {
  const BridgeRig source;
  const BridgeRig target;
  source.effect->setParameterAutomated(kB1Threshold, 0.3F);
  source.effect->setParameterAutomated(bandParameterId(7, kB1SCHFType), 1.0F);
  void* preset = nullptr;
  const std::int32_t size = source.effect->getChunk(&preset, true);
  target.effect->setChunk(preset, size, true);
  for (int i = 0; i < kNumParams; ++i) {
    const std::string id = target.hosted->id(i);
    EXPECT_NEAR(target.hosted->normalised(id), source.hosted->normalised(id), 1e-6) << i;
  }
}

TEST(AaxBridge, PositionsAreHandedOver) {
  BridgeRig rig;
  const Signal nothing(2, std::vector<float>(64));
  const auto& time = *reinterpret_cast<const VstTimeInfo*>(rig.tell(kHostGetTime));
  for (const bool plays : {true, false, true}) {
    rig.hosted->transport.plays = plays;
    rig.hosted->transport.loops = !plays;
    static_cast<void>(rig.hosted->render(nothing));
    EXPECT_EQ(rig.hosted->transport.asked, FixedTransport::kAll);
    const std::array<double, 6> told = {time.samplePos, time.sampleRate,    time.ppqPos,
                                        time.tempo,     time.cycleStartPos, time.cycleEndPos};
    EXPECT_EQ(told, (std::array<double, 6>{123456, 44100, 2.5, 97.5, 1, 10}));
    EXPECT_EQ(time.timeSigNumerator * 10 + time.timeSigDenominator, 78);
    EXPECT_EQ(time.flags, plays ? 0x3702 : 0x3704);
  }
  EXPECT_EQ(time.nanoSeconds, 128.0) << "the clock at the last block";
  // A host that tells nothing, and one that has no transport: all stays, but that it plays.
  rig.hosted->transport.result = AAX_ERROR_UNIMPLEMENTED;
  static_cast<void>(rig.hosted->render(nothing));
  EXPECT_EQ(time.ppqPos + time.cycleEndPos + time.tempo, 110.0);
  EXPECT_EQ(time.flags, 0x3700);
  rig.hosted->transport.asked = 0;
  rig.hosted->nodesPresent = false;
  static_cast<void>(rig.hosted->render(nothing));
  EXPECT_EQ(rig.hosted->transport.asked, 0U);
}

TEST(AaxBridge, PacketsAreHandedOverOneByOne) {
  BridgeRig rig;
  rig.hosted->packets = {{7, 2, {0xb0, 0x11, 0x22, 0x33}, 1},
                         {9, 3, {0x91, 0x44, 0x55, 0x66}, 0},
                         {63, 200, {0xb3, 0x12, 0x13, 0x14}, 0},
                         {0, 0, {0xb0, 0x11, 0x22, 0x33}, 1}};
  static_cast<void>(rig.hosted->render(Signal(2, std::vector<float>(64))));
  std::string seen;
  for (const VstMidiEvent& event : rig.effect->midi) {
    seen += std::to_string(event.deltaFrames) + (event.flags != 0 ? "!" : "") + ":";
    for (int i = 0; i < 4; ++i) seen += ' ' + std::to_string(event.midiData[i] & 0xff);
    seen += '\n';
  }
  EXPECT_EQ(seen, "7!: 176 17 0 0\n9: 145 68 85 0\n63: 179 18 19 20\n0!: 0 0 0 0\n");
  EXPECT_EQ(rig.effect->midiCount, 4U);
  // Of what the effect sends, more than there is room for is dropped.
  VstEvents events{1, 0, {reinterpret_cast<VstEvent*>(rig.effect->midi.data()), nullptr}};
  inRealTime([&] {
    for (int i = 0; i < 2000; ++i) rig.tell(kHostProcessEvents, 0, 0.0F, &events);
  });
}

}  // namespace
