#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/parameter_table.h"
#include "libraries/aax_wrap/aaxwrap_channel_labels.h"
#include "tests/aax_wrap/bridge_rig.h"
#include "tests/support/real_time.h"

namespace {

constexpr AAX_CTypeID kEffectChunk = AAX_TypeID("CvnP");
constexpr AAX_EUpdateSource kSource = AAX_eUpdateSource_Unspecified;

TEST(AaxBridgeTest, WhatTheEffectAutomatesComesBackAsTheSameValue) {
  BridgeRig rig;
  for (int i = 0; i < kNumParams; ++i) {
    for (const float normalised : {0.0F, 0.24F, 0.5F, 0.77F, 1.0F}) {
      rig.effect->setParameter(i, normalised);
      const float plain = rig.effect->getPlainValue(i);
      const int before = rig.host.posted;
      rig.tell(kHostAutomate, i, normalised);
      EXPECT_EQ(rig.host.posted, before + 1);
      EXPECT_EQ(rig.effect->getPlainValue(i), plain)
          << parameterKeyTable().name(i) << " at " << normalised;
    }
  }
  // The bank selector tells of all that its banks hold.
  const int posted = rig.host.posted;
  rig.host.gestures.clear();
  for (const int outside : {-1, int{kNumParams}, 32765}) {
    for (const auto each : {kHostAutomate, kHostBeginEdit, kHostEndEdit}) rig.tell(each, outside);
  }
  EXPECT_EQ(rig.host.gestures, "");
  EXPECT_EQ(rig.host.posted, posted);
  rig.effect->beginEdit(kIpTrim);
  rig.effect->endEdit(kIpTrim);
  const std::string id = aaxParameterIdentifier(kIpTrim, false).data();
  EXPECT_EQ(rig.host.gestures, id + "/" + id);
}

TEST(AaxBridgeTest, NothingIsTakenFromAHostThatIsNone) {
  BridgeRig rig(false);
  AAX_IEffectParameters& instance = *rig.instance;
  rig.tell(kHostAutomate, 0, 1.0F);  // before there is anybody
  EXPECT_EQ(instance.Initialize(nullptr), AAX_ERROR_NULL_ARGUMENT);
  rig.host.automates = false;
  EXPECT_EQ(instance.Initialize(rig.host.unknown()), AAX_ERROR_NULL_OBJECT);
  rig.host.automates = true;
  rig.host.rateResult = -12345;
  EXPECT_EQ(instance.Initialize(rig.host.unknown()), -12345);
  EXPECT_EQ(rig.host.references, 0U);
  rig.host.rateResult = AAX_SUCCESS;
  const AAX_CSampleRate usual = rig.host.rate;
  for (const AAX_CSampleRate rate : {0.0F, -48000.0F, 1.1e7F, std::nanf("")}) {
    rig.host.rate = rate;
    EXPECT_NE(instance.Initialize(rig.host.unknown()), AAX_SUCCESS) << rate;
  }
  rig.host.rate = usual;
  EXPECT_EQ(instance.Initialize(rig.host.unknown()), AAX_SUCCESS);
  EXPECT_NE(instance.Initialize(rig.host.unknown()), AAX_SUCCESS);
  EXPECT_EQ(rig.host.registered, kNumParams + 1);
  for (const AAX_CParamID id : {static_cast<AAX_CParamID>(nullptr), "none"}) {
    EXPECT_EQ(instance.UpdateParameterNormalizedValue(id, 0, kSource), -20001);
    EXPECT_EQ(instance.SetParameterNormalizedValue(id, 0), -20001);
    EXPECT_EQ(instance.TouchParameter(id), -20001);
  }
  instance.UpdateParameterNormalizedValue("bypass", 9.0, kSource);
  instance.UpdateParameterNormalizedValue("bypass", std::nan(""), kSource);
  EXPECT_EQ(rig.hostValue("bypass"), 1.0);
  instance.Uninitialize();
  rig.tell(kHostAutomate, 0, 0.0F);
  EXPECT_EQ(rig.host.references, 0U);
  EXPECT_EQ(rig.host.registered, 0);
  EXPECT_EQ(rig.host.posted, 0);
}

TEST(AaxBridgeTest, AnEffectIsHeardUntilItIsGone) {
  struct FarewellPlug : ObservedPlug {
    using ObservedPlug::ObservedPlug;
    ~FarewellPlug() override {
      for (const auto each : {kHostIoChanged, kHostAutomate}) {
        aaxHostCallback(getAeffect(), each, kB1SubType, 0, nullptr, 1.0F);
      }
    }
  };
  Machine machine{std::make_unique<MemoryStore>(), {}};
  EchoingHost host;
  auto* const instance = new AAXWrap_Parameters(std::make_unique<FarewellPlug>(machine));
  host.target = instance;
  ASSERT_EQ(instance->Initialize(host.unknown()), AAX_SUCCESS);
  instance->Release();  // by a host that forgets the end
  EXPECT_EQ(host.posted, 1);
  EXPECT_EQ(host.references, 0U);
  EXPECT_EQ(AAXWrap_Parameters::liveInstances(), 0);
}

TEST(AaxBridgeTest, NotificationsReachTheEffect) {
  BridgeRig rig;
  const struct {
    std::string sent, arrives;
  } names[] = {{"Vocal", "Vocal"},
               {"B\xc3\xa4\x7f\xff", "B??\x7f?"},
               {std::string("a\0b", 3), "a"},
               {std::string(128, '\x80'), std::string(127, '?')}};
  for (const auto& name : names) {
    const auto size = static_cast<std::uint32_t>(name.sent.size());
    rig.instance->NotificationReceived(AAX_TypeID("AXtn"), name.sent.data(), size);
    EXPECT_EQ(rig.effect->trackName, name.arrives);
  }
  for (const auto& [type, level] : {std::pair{"AXof", 4}, std::pair{"AXox", 2}}) {
    AAX_CTypeID id = 0;
    for (int i = 0; i < 4; ++i) id = id << 8 | static_cast<unsigned char>(type[i]);
    rig.instance->NotificationReceived(id, nullptr, 0);
    EXPECT_EQ(rig.tell(kHostProcessLevel), level);
  }
}

std::string textOf(const std::vector<ChannelLabel>& labels) {
  std::string text;
  for (const ChannelLabel& label : labels) text += label.leftRight + '=' + label.midSide + ' ';
  return text;
}

TEST(AaxBridgeTest, ChannelsAreNamedByTheStemFormat) {
  const BridgeRig rig;
  EXPECT_EQ(textOf(rig.effect->getChannelLabels()), "Left=Mid Right=Side ");
  const struct {
    std::int32_t format;
    const char* labels;
  } rows[] = {
      {0x30004, "Left=Mid Center=Center Right=Side Surr=Surr "},
      {0x60006, "Left=Mid Center=Center Right=Side Ls=Mid s Rs=Side s LFE=LFE "},
      {0x70008, "Left=Mid Lc=Mid c Center=Center Rc=Side c Right=Side Ls=Mid s Rs=Side s LFE=LFE "},
      {0, ""},
      {0x80009, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(textOf(aaxChannelLabels(static_cast<AAX_EStemFormat>(row.format))), row.labels);
  }
}

TEST(AaxBridgeTest, LatencyHidesBehindABypassThatIsHeard) {
  RenderRig<2> rig;
  const std::int32_t latency = rig.effect->getInitialDelay();
  EXPECT_EQ(rig.host.latency, latency);
  rig.instance->UpdateParameterNormalizedValue("bypass", 1.0, kSource);
  EXPECT_EQ(rig.host.latency, 0);
  rig.tell(kHostIoChanged);
  EXPECT_EQ(rig.host.latency, latency) << "before anything was rendered";
  rig.render();
  rig.tell(kHostIoChanged);
  EXPECT_EQ(rig.host.latency, 0);
}

TEST(AaxBridgeTest, ChunksGiveTheStateBackAndDamagedOnesNothing) {
  BridgeRig source;
  source.effect->setParameterAutomated(kB1Threshold, 0.3F);
  source.effect->copyToBank(2);
  source.effect->setParameterAutomated(kB1SubType, 0.7F);
  source.instance->UpdateParameterNormalizedValue("bypass", 1.0, kSource);
  for (const AAX_CTypeID id : {kAAX_ControlsChunkID, kEffectChunk}) {
    SCOPED_TRACE(id);
    const std::vector<char> whole = source.chunk(id);
    ASSERT_FALSE(whole.empty());
    const BridgeRig fresh;
    const std::vector<char> before = fresh.chunk(id);
    for (const int cut : {std::numeric_limits<int>::max(), 9, 40, 200}) {
      std::vector<char> damaged = whole;
      std::int32_t& size = BridgeRig::record(damaged)->fSize;
      size -= std::min(cut, size);
      EXPECT_LT(fresh.restore(id, damaged), 0) << cut << " bytes cut";
    }
    std::vector<char> damaged = whole;
    BridgeRig::record(damaged)->fData[4] ^= 0x55;
    EXPECT_LT(fresh.restore(id, damaged), 0);
    EXPECT_EQ(fresh.chunk(id), before);
    EXPECT_EQ(fresh.restore(id, whole), AAX_SUCCESS);
    for (int i = 0; i < kNumParams; ++i) {
      // The document holds numbers of as many digits as 32 bits need, or the default.
      EXPECT_NEAR(fresh.effect->getParameter(i), source.effect->getParameter(i), 1e-6) << i;
      const auto name = aaxParameterIdentifier(i, fresh.effect->getStepCount(i) > 0);
      EXPECT_NEAR(fresh.hostValue(name.data()), source.hostValue(name.data()), 1e-6) << i;
    }
    const bool isControls = id == kAAX_ControlsChunkID;
    EXPECT_EQ(fresh.hostValue("bypass"), isControls ? 1.0 : 0.0);
    const float threshold = fresh.effect->getParameterDefault(kB1Threshold);
    fresh.effect->switchBank(2);
    EXPECT_NEAR(fresh.effect->getParameter(kB1Threshold), isControls ? threshold : 0.3F, 1e-6);
  }
}

TEST(AaxBridgeTest, RecordsHoldWhatWasTold) {
  BridgeRig source;
  source.effect->setParameterAutomated(kB1Threshold, 0.3F);
  std::vector<char> longer = source.chunk(kAAX_ControlsChunkID);
  BridgeRig::record(longer)->fSize += 2;
  const BridgeRig untold;
  EXPECT_LT(untold.restore(kAAX_ControlsChunkID, longer), 0);
  // Presets that the effect loads by itself: nobody names the values that change.
  void* preset = nullptr;
  const std::int32_t presetSize = source.effect->getChunk(&preset, true);
  untold.effect->setChunk(preset, presetSize, true);
  const auto threshold = aaxParameterIdentifier(kB1Threshold, false);
  EXPECT_NEAR(untold.hostValue(threshold.data()), 0.3, 1e-6);
  std::vector<char> room(1 << 16);
  AAX_CTypeID id = 0;
  EXPECT_EQ(untold.instance->GetChunk(kAAX_ControlsChunkID, BridgeRig::record(room)), -20008);
  EXPECT_EQ(untold.instance->GetChunk(1, BridgeRig::record(room)), -20007);
  EXPECT_EQ(untold.instance->GetChunkIDFromIndex(2, &id), -20006);
  EXPECT_EQ(untold.instance->GetCurveData(AAX_eCurveType_EQ, nullptr, 0, nullptr), -20009);
  // The room is of the size told, whatever changes after.
  std::uint32_t told = 0;
  source.instance->GetChunkSize(kEffectChunk, &told);
  for (int i = 0; i < kABBank; ++i) source.effect->setParameter(i, 0.4F);
  source.instance->GetChunk(kEffectChunk, BridgeRig::record(room));
  EXPECT_EQ(static_cast<std::uint32_t>(BridgeRig::record(room)->fSize), told);
  EXPECT_STREQ(BridgeRig::record(room)->fName, "Plugin Chunk");
}

/// `whole` tells of the packet and of the position what else they can be.
template <int kChannels>
void expectHandedOver(RenderRig<kChannels>& rig, bool whole) {
  const ObservedPlug& effect = *rig.effect;
  rig.node.plays = whole;
  if (whole) rig.node.packet = {7, 9, {0xb0, 0x11, 0x22, 0x33}, 0};
  rig.render();
  EXPECT_EQ(effect.calls, 1);
  EXPECT_EQ(effect.lastInputs[0], rig.in[0]);
  EXPECT_EQ(effect.lastInputs[kChannels], nullptr);
  EXPECT_EQ(effect.lastOutputs[1], kChannels == 1 ? nullptr : rig.out[1]);
  EXPECT_EQ(effect.lastMidi.deltaFrames, 7);
  EXPECT_EQ(effect.lastMidi.flags, whole ? 0 : 1);
  const auto* const bytes = reinterpret_cast<const char*>(effect.lastMidi.midiData);
  EXPECT_EQ(std::string(bytes, 4), std::string(whole ? "\xb0\x11\x22\x33" : "\xb0\x11\0\0", 4));
  EXPECT_EQ(rig.values[4] >= 0.0F, kChannels == 2);
  rig.side = kChannels;
  rig.render();
  for (std::size_t c = 0; c < kChannels; ++c) {
    EXPECT_EQ(effect.lastInputs[kChannels + c], rig.in[kChannels]);
  }
  EXPECT_EQ(rig.values[0], static_cast<float>(effect.getOutputPeak(0)));

  const auto& time = *reinterpret_cast<const VstTimeInfo*>(rig.tell(kHostGetTime));
  const std::array<double, 7> told = {time.samplePos,  time.sampleRate, time.nanoSeconds,
                                      time.ppqPos,     time.tempo,      time.cycleStartPos,
                                      time.cycleEndPos};
  EXPECT_EQ(told, (std::array<double, 7>{123456, 44100, 99, 2.5, 97, 1, 4}));
  EXPECT_EQ(time.timeSigNumerator * 10 + time.timeSigDenominator, 78);
  EXPECT_EQ(time.flags, whole ? 0x3702 : 0x3704);

  rig.context.audioIn = nullptr;  // silence, too, leaves nothing of what stood in the outputs
  rig.audio[3].fill(9.0F);
  rig.render();
  EXPECT_EQ(effect.lastInputs[0], nullptr);
  EXPECT_EQ(std::ranges::count(rig.audio[3], 9.0F), 0);
  rig.context.audioIn = rig.in.data();
}

template <int kChannels>
void expectBypass(RenderRig<kChannels>& rig) {
  rig.effect->setParameter(kB1Lookahead, 1.0F);
  rig.effect->onIdle();
  EXPECT_EQ(rig.host.latency, rig.effect->getInitialDelay());
  EXPECT_GT(rig.host.latency, 0);
  rig.instance->UpdateParameterNormalizedValue("bypass", 1.0, kSource);
  EXPECT_EQ(rig.host.latency, 0);
  rig.render();
  EXPECT_EQ(rig.effect->calls, 3);
  for (std::size_t c = 0; c < kChannels; ++c) EXPECT_EQ(rig.audio[3 + c], rig.audio[c]);
  EXPECT_EQ(std::ranges::count(rig.values, 0.0F), 4 + kChannels);
}

TEST(AaxBridgeTest, RenderHandsTheContextToTheEffect) {
  RenderRig<1> mono;
  RenderRig<2> stereo;
  expectHandedOver(mono, false);
  expectBypass(mono);
  expectHandedOver(stereo, true);
  expectBypass(stereo);
  // More than there is room for is dropped.
  VstEvents events{1, 0, {reinterpret_cast<VstEvent*>(&mono.effect->lastMidi), nullptr}};
  inRealTime([&] {
    for (int i = 0; i < 2000; ++i) mono.tell(kHostProcessEvents, 0, 0.0F, &events);
  });
}

}  // namespace
