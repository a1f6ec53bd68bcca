// Changes of the chain while the host plays in real time.

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <functional>

#include "host/engine_link.h"
#include "tests/core/plug_rig.h"

namespace {

constexpr int kBlock = 64;
constexpr int kFrames = 1500 * kBlock;
constexpr int kChange = 300 * kBlock;
constexpr int kBefore = kChange - 9600;

/// A dynamic EQ band and two crossover bands.
const std::string kChain =
    "B1Type=1 B1Frequency=1000 B1Gain=3 B2State=1 B2Frequency=200 B2Gain=-2 B3State=1 "
    "B3Frequency=4000 ";

struct Played {
  std::vector<double> sound;
  std::vector<int> latencies;  // told, each new one
};

/// Gives an effect the values of another, or its own, which writing may round.
void takeValues(PlugRig& rig, PlugRig& from) {
  const UpdateHold together(rig.plug.updates());
  for (int id = 0; id < kNumParams; ++id) {
    if (id != kABBank) rig.plug.setParameter(id, from.plug.getParameter(id));
  }
}

/// A tone through an effect that idles between blocks, where `act(block)` stands, too.
Played play(PlugRig& rig, const std::function<void(int)>& act) {
  Played played;
  takeValues(rig, rig);
  const auto between = [&](int frame) {
    act(frame / kBlock);
    rig.plug.onIdle();
    auto& told = played.latencies;
    const int now = rig.plug.getAeffect()->initialDelay;
    if (told.empty() || told.back() != now) told.push_back(now);
  };
  played.sound = render(rig.plug, tone(0.25, 1000.0, kFrames), kBlock, between).channels[0];
  return played;
}

/// The largest second difference, which shows steps and gaps, from one frame to another.
double roughness(const std::vector<double>& x, int from, int to) {
  double worst = 0.0;
  for (auto i = static_cast<std::size_t>(from); i < static_cast<std::size_t>(to); ++i) {
    worst = std::max(worst, std::abs(x[i] - 2.0 * x[i - 1] + x[i - 2]));
  }
  return worst;
}

/// The output must be that of a new effect with the same settings, and its latency.
void expectAsNew(PlugRig& rig, const Played& played) {
  PlugRig fresh;
  takeValues(fresh, rig);
  fresh.plug.resume();
  const Played wanted = play(fresh, [](int) {});
  EXPECT_EQ(played.latencies.back(), wanted.latencies.back());
  for (std::size_t i = kFrames - 9600; i < kFrames; ++i) {
    ASSERT_NEAR(played.sound[i], wanted.sound[i], 1e-9) << i;
  }
}

/// `most`: changes of the latency that the host may hear of.
void expectSeamless(PlugRig& rig, const Played& played, std::size_t most) {
  const auto& x = played.sound;
  const double steady =
      std::max(roughness(x, kBefore, kChange), roughness(x, kFrames - 9600, kFrames));
  EXPECT_LT(roughness(x, kBefore, kFrames), 2.0 * steady);
  for (auto at = x.begin() + kBefore; at < x.end(); at += 480) {
    EXPECT_GT(*std::max_element(at, at + 480), 0.12) << at - x.begin();
  }
  EXPECT_LE(played.latencies.size(), most + 1);
  expectAsNew(rig, played);
}

void loadPreset(PlugRig& rig, const char* settings) {
  PlugRig other(settings);
  void* data = nullptr;
  const std::int32_t size = other.plug.getChunk(&data, true);
  rig.plug.setChunk(data, size, true);
}

TEST(SeamlessTest, NoChangeOfTheChainIsHeardAsAStepOrAGap) {
  const struct {
    const char* name;
    std::function<void(PlugRig&)> change;
  } cases[] = {
      {"B4 on", [](PlugRig& rig) { rig.plug.addBand(kPostList, 1000.0); }},
      {"B2 off", [](PlugRig& rig) { rig.plug.deleteBand(1); }},
      {"B1 to crossover", [](PlugRig& rig) { rig.plug.setBandPosition(0, kXoverList); }},
      {"B1SubType=5", {}},
      {"B1Lookahead=20 B2Lookahead=20 B3Lookahead=0", {}},
      {"Oversample=2", {}},
      {"bank", [](PlugRig& rig) { rig.plug.switchBank(1); }},
      {"bank by a controller",
       [](PlugRig& rig) { rig.plug.parameterInput().setFromAudio(kABBank, 0.5F); }},
      {"state", [](PlugRig& rig) { loadPreset(rig, "B1Type=1 B1Gain=-3 B1Lookahead=3"); }},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    PlugRig rig(kChain);
    rig.processLevel = kProcessLevelRealtime;
    const Played played = play(rig, [&](int block) {
      if (block * kBlock == kChange) each.change ? each.change(rig) : rig.setText(each.name);
    });
    expectSeamless(rig, played, 1);
  }
}

TEST(SeamlessTest, ChangesDuringAChangeMerge) {
  PlugRig rig(kChain);
  rig.processLevel = kProcessLevelRealtime;
  const Played played = play(rig, [&rig](int block) {
    const int step = block - kChange / kBlock;
    if (step < 0 || step > 150) return;
    rig.set(kB1Lookahead, step % 20);
    if (step % 50 == 0) step % 100 == 0 ? rig.plug.deleteBand(1) : rig.plug.undo();
    if (step % 10 == 0) rig.plug.applyGlobalPreferences();  // publishes while changes wait
  });
  expectSeamless(rig, played, 6);
}

TEST(SeamlessTest, WithoutTheWishOrRealTimeAChangeIsThereAtOnce) {
  for (const bool isRealtime : {false, true}) {
    PlugRig rig(kChain);
    rig.processLevel = isRealtime ? kProcessLevelRealtime : 0;
    rig.prefer("Seamless", isRealtime ? 0 : 1);
    const Played played = play(rig, [&rig](int block) {
      if (block * kBlock == kChange) rig.set(kB1Lookahead, 20.5);
    });
    EXPECT_EQ(played.latencies.size(), 2U);
    EXPECT_GT(roughness(played.sound, kChange, kFrames), 0.01);
    expectAsNew(rig, played);
  }
}

TEST(SeamlessTest, TheFirstOfflineBlockHasTheLatencyThatIsTold) {
  PlugRig rig(kChain);
  rig.processLevel = kProcessLevelRealtime;
  render(rig.plug, tone(0.25, 1000.0, kBlock), kBlock);
  rig.set(kB1Lookahead, 20.0);
  rig.processLevel = kProcessLevelOffline;
  const RealTimeCheck::Exception theSwitch;
  render(rig.plug, tone(0.25, 1000.0, kBlock), kBlock);
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, rig.plug.getEngine().heardLatency());
}

TEST(SeamlessTest, SettingsOfTheMachineUnderAHoldBringNoOlderValuesBack) {
  PlugRig rig(kChain);
  rig.processLevel = kProcessLevelRealtime;
  const auto last = [&rig] {
    return render(rig.plug, tone(0.25, 1000.0, kFrames), kBlock).channels[0].back();
  };
  rig.plug.parameterInput().setFromAudio(kB1Gain, 1.0F);
  const double live = last();
  const UpdateHold hold(rig.plug.updates());
  rig.plug.setMeterDecay(50.0);
  EXPECT_NEAR(last(), live, 1e-9);
}

TEST(SeamlessTest, ChangesAreMadeWhileTheHostCallsNoMoreInTheMiddleOfAChange) {
  PlugRig rig(kChain);
  rig.processLevel = kProcessLevelRealtime;
  const Played played = play(rig, [&rig](int block) {
    const int step = block - kChange / kBlock;
    const compressor& engine = rig.plug.getEngine();
    if (step == 0) rig.set(kB1Lookahead, 5);
    EXPECT_TRUE(step != 2 || rig.plug.getAeffect()->initialDelay == engine.heardLatency());
    if (step != 1) return;
    rig.setText("B1Lookahead=20 B1Threshold=-30 B1Ratio=.5");
    for (int i = 0; i < 300; ++i) rig.plug.onIdle();
    EXPECT_LT(engine.getStaticCurve(0).gainAtDb(-10.0), -5.0);
  });
  expectAsNew(rig, played);
}

TEST(SeamlessTest, AThousandChangesLeaveNothingAndStayInRealTime) {
  PlugRig rig(kChain);
  rig.processLevel = kProcessLevelRealtime;
  const auto change = [&rig](int count) {
    for (int step = 0; step < count; ++step) {
      rig.set(kB1Lookahead, step % 7);
      if (step % 10 == 0) rig.plug.switchBank(step / 10 % 3);
      render(rig.plug, tone(0.25, 1000.0, 1024), 256, [&](int) { rig.plug.onIdle(); });
    }
    render(rig.plug, tone(0.25, 1000.0, 24000), 256, [&](int) { rig.plug.onIdle(); });
    rig.messages.clear();
    return mallinfo2().uordblks;
  };
  const auto first = change(310);  // ends as the others do
  constexpr int kCaches = 1 << 22;
  EXPECT_LE(change(1000), first + kCaches);
}

}  // namespace
