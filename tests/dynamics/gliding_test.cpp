#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "dynamics/compressor.h"
#include "filters/band_shape.h"
#include "tests/support/real_time.h"

namespace {

constexpr int kFrames = 64;
constexpr int kBlocks = 160;
constexpr int kChange = 80;  // block

/// An engine with two bands that hears a tone near full scale.
struct Rig {
  explicit Rig(bool isXover, int newShape = kBandPass) : shape(newShape) {
    engine.setSampleRate(48000.0);
    SidechainLinkage linkage;
    linkage.setPosition(true, 50);
    for (int band = 0; band < 2; ++band) {
      engine.layout.moveBand(band, isXover ? kXoverList : kPreList, 500.0 * (1 + 3 * band));
      engine.setSidechainLinkage(band, linkage);
    }
    design();
  }
  void design() {
    for (const int band : {0, 1}) {
      engine.configureFilters(band, shape, 1000.0F, 12.0F, 1.0F, 12.0F);
    }
    engine.setSidechainFilters(0, sidechain);
    engine.setSplits({24, 24, 24, 24, 24, 24, 24, 24});
    engine.rebuildKernels();
    engine.makeStagePlan();
  }
  void publish() {
    for (const int band : {0, 1}) {
      engine.setBand(band, path[static_cast<std::size_t>(band)]);
      engine.setDynamics(band, band == 0 ? dynamics : BandDynamics{});
    }
    engine.setScListen(scListen);
    engine.publish();
  }
  /// Appends a block to the output.
  void play(int frames = kFrames) {
    std::array<std::vector<double>, 2> signals;
    for (auto& signal : signals) {
      for (int i = 0; i < frames; ++i) {
        const double phase = static_cast<double>(output.size()) + i;
        signal.push_back(0.9 * std::sin(2.0 * std::numbers::pi * 1000.0 / 48000.0 * phase + 0.5));
      }
    }
    std::array<double*, 2> pins = {signals[0].data(), signals[1].data()};
    inRealTime([&] { engine.processBlock(pins.data(), pins.data(), frames, 2, 0); });
    output.insert(output.end(), signals[0].begin(), signals[0].end());
  }

  /// Goes to a new chain of the present layout.
  void change() {
    ASSERT_TRUE(engine.startChange());
    design();
    publish();
  }

  compressor engine;
  int shape;
  std::array<BandSettings, 2> path = {BandSettings{.active = true}, BandSettings{.active = true}};
  BandDynamics dynamics;
  SidechainFilterSettings sidechain;
  int scListen = -1;
  std::vector<double> output;
};

/// The largest second difference, which of the tone itself is 0.0155.
double bend(const std::vector<double>& x) {
  double most = 0.0;
  for (std::size_t i = std::size_t{kFrames} * (kChange - 4); i + 1 < x.size(); ++i) {
    most = std::max(most, std::abs(x[i - 1] - 2.0 * x[i] + x[i + 1]));
  }
  return most;
}

std::vector<double> render(bool isXover, bool gliding, const std::function<void(Rig&)>& before,
                           const std::function<void(Rig&)>& change) {
  Rig rig(isXover);
  before(rig);
  rig.publish();
  rig.engine.resetEngine();
  rig.engine.setGliding(gliding);
  for (int block = 0; block < kBlocks; ++block) {
    if (block == kChange) {
      change(rig);
      rig.publish();
    }
    rig.play();
  }
  return rig.output;
}

// What steps without gliding leaves the curve of the tone as smooth as it was, and arrives.
TEST(GlidingTest, ChangesTheSoundWithoutAnEdge) {
  struct Row {
    std::string what;
    std::function<void(Rig&)> before, change;
  };
  const auto squeeze = [](Rig& rig) {
    rig.dynamics.threshold = -24.0;
    rig.dynamics.ratioAbove = 0.5;
  };
  const auto cut = [](Rig& rig) { rig.path[0].gain = 0.25; };
  const auto none = [](Rig&) {};
  const Row rows[] = {
      {"gain", none, cut},
      {"dry", cut, [](Rig& rig) { rig.path[0].dry = 0.75; }},
      {"position", cut, [](Rig& rig) { rig.path[0].position = 1.0; }},
      {"bypass", cut, [](Rig& rig) { rig.path[0].bypass = true; }},
      {"solo", cut, [](Rig& rig) { rig.path[0].solo = true; }},
      {"solo of another", none, [](Rig& rig) { rig.path[1].solo = true; }},
      {"sidechain", cut, [](Rig& rig) { rig.scListen = 0; }},
      {"threshold", squeeze, [](Rig& rig) { rig.dynamics.threshold = -6.0; }},
      {"ratio", squeeze, [](Rig& rig) { rig.dynamics.ratioAbove = 0.1; }},
      {"ceiling", squeeze, [](Rig& rig) { rig.dynamics.ceiling = 6.0; }},
      {"weight", squeeze, [](Rig& rig) { rig.dynamics.dynWeight = 0.2; }},
      {"all", squeeze,
       [](Rig& rig) {
         rig.dynamics = {.threshold = -12.0, .ceiling = 12.0, .dynWeight = 0.3};
         rig.path[0].gain = 0.1;
       }},
  };
  for (const bool isXover : {false, true}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.what + (isXover ? ", crossover" : ", dynamic EQ"));
      const auto stepping = render(isXover, false, row.before, row.change);
      const auto gliding = render(isXover, true, row.before, row.change);
      constexpr auto kStart = std::ptrdiff_t{kFrames} * kChange;
      // 5 ms later; the filter of the second dynamic EQ band rings on.
      const auto end = isXover ? kStart + 240 : std::ssize(gliding) - kFrames;
      EXPECT_TRUE(std::equal(gliding.begin(), gliding.begin() + kStart, stepping.begin()));
      EXPECT_GT(bend(stepping), 0.03);
      EXPECT_LT(bend(gliding), 0.0175);
      for (auto i = static_cast<std::size_t>(end); i < gliding.size(); ++i) {
        ASSERT_NEAR(gliding[i], stepping[i], 1e-12) << i;
      }
    }
  }
}

// A reset, and a band's own as it comes back, leave nothing to glide.
TEST(GlidingTest, JumpsWhereThePastIsForgotten) {
  const auto halve = [](Rig& rig) {
    rig.path[0].gain = 0.5;
    rig.dynamics = {.threshold = -40.0, .ratioAbove = 0.9, .dynWeight = 0.5};
    rig.publish();
  };
  Rig changed(true);
  Rig fresh(true);
  changed.publish();
  halve(fresh);
  for (Rig* rig : {&changed, &fresh}) rig->engine.setGliding(true);
  changed.play();
  halve(changed);
  for (Rig* rig : {&changed, &fresh}) {
    rig->engine.resetEngine();
    rig->output.clear();
    rig->play(4096);  // as long as a glide would take
  }
  EXPECT_EQ(changed.output, fresh.output);
}

// A new chain without latency knows how loud it is; what has left it shows nothing.
TEST(ChangeTest, KeepsLevelsAndMetersOfBandsInUse) {
  for (const bool isFiltered : {false, true}) {
    Rig changed(false, kFlat);
    Rig steady(false, kFlat);
    for (Rig* rig : {&changed, &steady}) {
      rig->dynamics = {.threshold = -40.0, .ratioAbove = 0.5, .attackMs = 100.0};
      rig->sidechain.low = {.on = isFiltered, .frequency = 4000.0F};
      rig->design();
      rig->publish();
      rig->engine.setRealtime(true);
      rig->play(9600);
      if (rig == &changed) rig->change();
      for (int block = 0; block < kBlocks; ++block) rig->play();
    }
    for (std::size_t i = 0; i < steady.output.size(); ++i) {
      ASSERT_NEAR(changed.output[i], steady.output[i], 1e-9) << i;
    }
    const auto lamps = [&engine = changed.engine] {
      return engine.getBandLamp(0, false) + engine.getBandLamp(0, true);
    };
    changed.engine.setGains(-20.0, 0.0, false, false, 1.0);
    changed.publish();
    changed.play(2400);
    EXPECT_GT(lamps(), 0.0);
    changed.engine.layout.moveBand(0, kOffList, 1000.0);
    changed.change();
    for (int block = 0; block < kBlocks; ++block) changed.play();
    EXPECT_EQ(lamps(), 0.0);
  }
}

// The audio thread may have been told of a chain that it never got.
TEST(ChangeTest, GoesBackToTheChainBeforeWhenGivenUp) {
  Rig rig(false, kFlat);
  rig.publish();
  rig.play();
  rig.path[0].gain = 0.5;
  rig.change();
  ASSERT_TRUE(rig.engine.startChange());
  rig.engine.abandonChange();
  EXPECT_FALSE(rig.engine.isChanging());
  rig.output.clear();
  rig.play();
  EXPECT_NEAR(rig.output[0], 0.45 * std::sin(0.5), 1e-12);
}

// What a host ramps is the same line whether its blocks come whole or in parts.
TEST(GlidingTest, PartsOfABlockSoundAsTheWhole) {
  const auto ramp = [](const std::vector<int>& parts) {
    Rig rig(true);
    rig.publish();
    rig.engine.resetEngine();
    rig.engine.setGliding(true);
    for (int block = 0; block < 40; ++block) {
      rig.path[0].gain = 1.0 + 0.1 * block;
      rig.publish();
      rig.engine.startHostBlock(1024);
      for (const int frames : parts) rig.play(frames);
    }
    return rig.output;
  };
  EXPECT_EQ(ramp({1024}), ramp({512, 256, 256}));
}

// The weights of one channel are others than those of two: nothing glides from them.
TEST(GlidingTest, ForgetsTheWeightsOfAnotherNumberOfChannels) {
  Rig rig(true);
  rig.path[0].gain = 4.0;
  rig.path[0].position = 1.0;
  rig.publish();
  rig.engine.resetEngine();
  rig.engine.setGliding(true);
  std::vector<double> mono(512, 0.0);
  double* pin = mono.data();
  rig.engine.processBlock(&pin, &pin, 512, 1, 0);
  for (int block = 0; block < 100; ++block) rig.play();
  const std::size_t before = rig.output.size();
  rig.dynamics.threshold -= 1.0;
  rig.publish();
  for (int block = 0; block < 100; ++block) rig.play();
  const auto loudest = [&rig](std::size_t from, std::size_t to) {
    return std::ranges::max(std::vector(rig.output.begin() + std::ptrdiff_t(from),
                                        rig.output.begin() + std::ptrdiff_t(to)));
  };
  EXPECT_NEAR(loudest(before, rig.output.size()), loudest(before - 1000, before), 1e-6);
}

}  // namespace
