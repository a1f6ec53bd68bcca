#include "core/update_gate.h"

#include <gtest/gtest.h>

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
  void switchHostTo(std::intptr_t level) {
    const RealTimeCheck::Exception whileItSwitches;
    processLevel = level;
    advance(64);
  }
};

void expectFilterAt(PlugRig& rig, double hertz, const char* what) {
  GatedRig fresh(hertz);
  EXPECT_TRUE(soundOf(rig) == soundOf(fresh)) << what;
}

TEST(PlugUpdateTest, ASecondChangeIsOwedUntilTheNextTick) {
  GatedRig rig;
  rig.move(1000);
  expectFilterAt(rig, 1000, "the first of a tick");
  rig.move(2000);
  expectFilterAt(rig, 1000, "the second has to wait");
  rig.set({{"kB1Lookahead", 0}, {"kOpTrim", 6}});
  EXPECT_EQ(rig.plug.getEngine().getLatency(), 1024) << "what is only stored does not";
  rig.set({{"kB1Lookahead", 10}, {"kOpTrim", 0}});
  rig.now += 99;
  rig.plug.onIdle();
  expectFilterAt(rig, 1000, "still the same tick");
  rig.now += 1;
  rig.plug.onIdle();
  expectFilterAt(rig, 2000, "the owed one");
  rig.move(4000);
  expectFilterAt(rig, 2000, "the owed one was that tick's");
  rig.advance(4096);
  rig.plug.onIdle();
  expectFilterAt(rig, 4000, "enough samples");
  rig.now += 100;
  rig.plug.onIdle();
  rig.move(500);
  expectFilterAt(rig, 500, "idle without debts leaves the tick alone");
}

TEST(PlugUpdateTest, WhatIsForcedIsNotForgotten) {
  GatedRig rig;
  rig.move(1000);
  rig.move(2000);
  rig.plug.updateDsp(false);
  expectFilterAt(rig, 1000, "waits");
  rig.plug.endEdit(kB1Frequency);
  expectFilterAt(rig, 2000, "the end of an edit");
  {
    const Plug::UpdateHold outer(rig.plug);
    {
      const Plug::UpdateHold inner(rig.plug);
      rig.move(4000);
      rig.plug.updateDsp(true);
    }
    expectFilterAt(rig, 2000, "held");
  }
  expectFilterAt(rig, 4000, "forced while it was held");
  {
    const Plug::UpdateHold hold(rig.plug);
    rig.move(1000);
  }
  expectFilterAt(rig, 4000, "once");
  rig.plug.resume();
  expectFilterAt(rig, 1000, "resume");
}

TEST(PlugUpdateTest, OfflineNothingWaitsAndNothingElseChanges) {
  GatedRig rig;
  rig.move(1000);
  rig.move(2000);
  rig.messages.clear();
  std::vector<float> before = normalisedValues(rig.plug);
  rig.switchHostTo(kProcessLevelOffline);
  expectFilterAt(rig, 2000, "the switch itself");
  rig.move(4000);
  expectFilterAt(rig, 4000, "each change");
  rig.move(2000);
  EXPECT_TRUE(rig.messages.empty()) << "the latency is the same";
  before[kB1Frequency] = rig.plug.getParameter(kB1Frequency);
  EXPECT_EQ(normalisedValues(rig.plug), before);
  rig.switchHostTo(2);
  rig.move(1000);
  expectFilterAt(rig, 2000, "live again");
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
