#include "core/update_gate.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

TEST(UpdateGateTest, OpensOncePerTickOrPerEnoughSamplesOrWhenItMust) {
  enum Ask { kAsk, kForce, kOffline };
  const struct {
    std::int64_t milliseconds;
    int samples;  // processed before
    Ask ask;
    bool opens;
  } steps[] = {{0, 0, kAsk, true},           {0, 0, kAsk, false},      {99, 0, kAsk, false},
               {100, 0, kAsk, true},         {100, 4095, kAsk, false}, {150, 1, kAsk, true},
               {151, 4095, kAsk, false},     {160, 0, kForce, true},   {161, 0, kAsk, false},
               {162, 0, kOffline, true},     {163, 0, kAsk, false},    {164, 1, kAsk, true},
               {250, 3000, kAsk, true},      {260, 1096, kAsk, true},  {270, 0, kAsk, false},
               {270, 100000, kAsk, true},    {270, 0, kAsk, false},    {90000000000, 0, kAsk, true},
               {90000000099, 0, kAsk, false}};
  UpdateGate gate;
  EXPECT_FALSE(gate.isOwed());
  for (const auto& step : steps) {
    SCOPED_TRACE(testing::Message() << step.milliseconds << " ms, " << step.samples);
    if (step.samples > 0) gate.addSamples(step.samples);
    if (step.ask == kForce) gate.force();
    EXPECT_EQ(gate.opens(step.milliseconds, step.ask == kOffline), step.opens);
    EXPECT_EQ(gate.isOwed(), !step.opens);
  }
}

using Sound = std::array<std::vector<double>, 2>;

/// What the engine makes of noise, from silence on; nothing is counted as processed.
Sound soundOf(PlugRig& rig) {
  compressor& engine = rig.plug.getEngine();
  engine.resetEngine();
  Sound sound = noise<double>(4000).channels;
  std::array<double*, 2> inOut = {sound[0].data(), sound[1].data()};
  inRealTime([&] { engine.processBlock(inOut.data(), inOut.data(), 4000, 2, 0); });
  return sound;
}

/// A soloed dynamic EQ band, which is heard to move, at 500 Hz, with the clock standing.
struct GatedRig : PlugRig {
  explicit GatedRig(double hertz = 500.0)
      : PlugRig({{"kB1Type", 1}, {"kB1Solo", 1}, {"kB1Bypass", 1}, {"kB1Frequency", hertz}}) {
    clockStep = 0;
    now += 100;
  }
  void move(double hertz) { set(kB1Frequency, hertz); }
  void advance(int frames) {
    Stereo<float> silence(frames);
    render(plug, silence, frames);
  }
  void idleAfter(int milliseconds) {
    now += milliseconds;
    plug.onIdle();
  }
  void switchHostTo(std::intptr_t level) {
    const RealTimeCheck::Exception whileItSwitches;
    processLevel = level;
    advance(64);
  }
};

TEST(PlugUpdateTest, ASecondChangeIsOwedUntilItsTurnAndWhatIsForcedIsNotForgotten) {
  using Rig = GatedRig;
  std::optional<Plug::UpdateHold> outer;
  std::optional<Plug::UpdateHold> inner;
  const struct {
    const char* what;
    std::function<void(Rig&)> act;
    double heard;  // Hz
  } steps[] = {
      {"the first of a tick", [](Rig& r) { r.move(1000); }, 1000},
      {"the second waits", [](Rig& r) { r.move(2000); }, 1000},
      {"the same tick", [](Rig& r) { r.idleAfter(99); }, 1000},
      {"the owed one", [](Rig& r) { r.idleAfter(1); }, 2000},
      {"which was that tick's", [](Rig& r) { r.move(4000); }, 2000},
      {"enough samples", [](Rig& r) { r.advance(4096), r.idleAfter(0); }, 4000},
      {"idle without debts", [](Rig& r) { r.idleAfter(100), r.move(500); }, 500},
      {"waits", [](Rig& r) { r.move(2000), r.plug.updateDsp(false); }, 500},
      {"the end of an edit", [](Rig& r) { r.plug.endEdit(kB1Frequency); }, 2000},
      {"held", [&](Rig& r) { outer.emplace(r.plug), inner.emplace(r.plug), r.move(4000); }, 2000},
      {"forced there", [&](Rig& r) { r.plug.updateDsp(true), inner.reset(); }, 2000},
      {"as one, at the end", [&](Rig&) { outer.reset(); }, 4000},
      {"once", [&](Rig& r) { outer.emplace(r.plug), r.move(1000), outer.reset(); }, 4000},
      {"resume", [](Rig& r) { r.plug.resume(); }, 1000},
      {"waits again", [](Rig& r) { r.move(2000); }, 1000},
      {"the switch to offline", [](Rig& r) { r.switchHostTo(kProcessLevelOffline); }, 2000},
      {"each change there", [](Rig& r) { r.move(4000), r.move(500), r.move(2000); }, 2000},
      {"live again", [](Rig& r) { r.switchHostTo(2), r.move(1000); }, 2000},
  };
  GatedRig rig;
  rig.set({{"kB1Lookahead", 0}, {"kOpTrim", 6}});
  EXPECT_EQ(rig.plug.getEngine().getLatency(), 1024) << "what is only stored does not wait";
  rig.set({{"kB1Lookahead", 10}, {"kOpTrim", 0}});
  rig.idleAfter(100);
  rig.now += 100;
  rig.messages.clear();
  for (const auto& step : steps) {
    SCOPED_TRACE(step.what);
    std::vector<float> before = normalisedValues(rig.plug);
    step.act(rig);
    GatedRig fresh(step.heard);
    EXPECT_TRUE(soundOf(rig) == soundOf(fresh));
    before[kB1Frequency] = rig.plug.getParameter(kB1Frequency);
    EXPECT_EQ(normalisedValues(rig.plug), before);
    EXPECT_EQ(rig.count(kHostIoChanged, 0), 0) << "the latency is the same";
  }
}

TEST(PlugUpdateTest, ANewRateWaitsForResume) {
  PlugRig rig({{"kB1Lookahead", 10}});
  rig.plug.onIdle();
  ASSERT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 480);
  rig.plug.setSampleRate(96000.0F);
  rig.plug.endEdit(kB1Lookahead);
  rig.plug.onIdle();
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 480);
  rig.set({{"kB1Lookahead", 20}});
  rig.plug.onIdle();
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 960) << "at the old rate still";
  rig.plug.resume();
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 1920);
}

}  // namespace
