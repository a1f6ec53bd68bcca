#include "dynamics/band_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/vector_kernels.h"
#include "dynamics/detector_pair.h"
#include "tests/support/data_rows.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kToDecibels = 1e-9;  // of the polynomials

double decibels(double gain) { return 20.0 * std::log10(gain); }
double linear(double db) { return std::pow(10.0, db / 20.0); }

void run(BandDetector& detector, std::vector<double>& signal) {
  std::array<double, 5> m{};
  for (std::size_t at = 0; at < signal.size(); at += 100) {
    processInRealTime(detector, &signal[at], 100, m[0], m[1], m[2], m[3], m[4]);
  }
}

/// Runs `body` with each set of kernels that the processor has.
template <typename Body>
void withAllKernels(Body body) {
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* kernels : allVectorKernels()) {
    SCOPED_TRACE(kernels->name);
    useVectorKernels(*kernels);
    body();
  }
  useVectorKernels(usual);
}

/// The detector's law one sample at a time, with the library's logarithm and power, behind a window
/// of its own.
class PlainDetector {
 public:
  struct Meters {
    double envPeak = 0.0, dynPeak = 0.0, tranPeak = 0.0;
    bool fast = false, slow = false;
  };

  /// Linear gain.
  double next(double x) {
    const DetectorSettings& s = settings;
    const double instant = gainDb(x);
    const double envelope = followLevel(x);
    meters.envPeak = std::max(meters.envPeak, envelope);
    x = s.shape == 1.0 ? envelope : x + (envelope - x) * s.shape;
    x = gainDb(x);
    const double smoothed = followGain(x);
    double y = s.shape == 0.0 ? smoothed : x + (smoothed - x) * (1.0 - s.shape);
    const double d = instant - y;
    double transient = y > 0.0 ? std::max(d, 0.0) : std::min(d, 0.0);
    y *= s.dynWeight;
    transient *= s.tranWeight;
    if (std::abs(y) > std::abs(meters.dynPeak)) meters.dynPeak = y;
    if (std::abs(transient) > std::abs(meters.tranPeak)) meters.tranPeak = transient;
    return std::pow(10.0, (y + transient) * 0.05);
  }

  DetectorSettings settings;
  Meters meters;

 private:
  /// From 0 dB at a threshold to the range of its side, bent towards a smoothstep.
  [[nodiscard]] double gainDb(double level) const {
    const StaticCurve& c = settings.curve;
    const double db = level < 1e-10 ? -200.0 : 20.0 * std::log10(level);
    const bool above = db >= c.thresholdHigh;
    if (!above && db > c.thresholdLow) return 0.0;
    const double way =
        above ? (db - c.thresholdHigh) * c.slopeAbove : (c.thresholdLow - db) * c.slopeBelow;
    const double t = std::min(1.0, way);
    const double bent = t * t * (3.0 - 2.0 * t);
    return (t + (bent - t) * c.knee) * (above ? c.rangeAbove : c.rangeBelow);
  }

  double followLevel(double in) {
    const BallisticsCoefficients& c = settings.times;
    meanSquare += (in * in - meanSquare) * c.rmsCoef;
    const bool slow = value * value <= meanSquare * c.crestRatio;
    phase = slow ? 3 : 2;
    if (in < value) {
      if (holdLeft == 0.0) {
        value *= slow ? c.relSlowCoef : c.relFastCoef;
      } else {
        holdLeft -= 1.0;
        phase = 1;
      }
    } else {
      holdLeft = c.holdSamples;
      value += (in - value) * c.attackCoef;
      if (!settings.expandMode) phase = 0;
    }
    return value = (value + 1e-30) - 1e-30;
  }

  void release(bool fast, double target) {
    (fast ? meters.fast : meters.slow) = true;
    const BallisticsCoefficients& c = settings.times;
    gain += (target - gain) * (1.0 - (fast ? c.relFastCoef : c.relSlowCoef));
  }

  double followGain(double g) {
    const bool attacks = settings.expandMode ? g >= gain : phase == 0;
    if (attacks) {
      gain += (g - gain) * settings.times.attackCoef;
    } else if (phase != 1) {
      release(phase == 2, g);
    }
    return gain = (gain + 1e-30) - 1e-30;
  }

  double meanSquare = 0.0, value = 0.0, holdLeft = 0.0, gain = 0.0;
  int phase = 0;
};

/// Random knobs, their ends often.
struct Knobs {
  double between(double low, double high) {
    const int choice = upTo(4);
    if (choice < 2) return choice == 0 ? low : high;
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(random); }

  std::mt19937 random;
  double rate = 48000.0;
};

/// One of a band's two detectors, beside the plain one.
struct Lane {
  BandDetector detector;
  PlainDetector plain;
  LookaheadWindow window;  // in front of the plain one
  std::vector<double> signal, input;
  double dynPeak = 0.0, tranPeak = 0.0;

  void turnKnobs(Knobs& knobs) {
    constexpr double kLows[] = {-60, -2, 0, -2, 0, 0, 0, 0.02, 1, 10, 20, 0, 0, 0, 0};
    constexpr double kHighs[] = {0, 2, 96, 1, 96, 24, 1, 200, 50, 500, 400, 24, 1, 1, 1};
    double k[15];
    for (std::size_t i = 0; i < 15; ++i) k[i] = knobs.between(kLows[i], kHighs[i]);
    const auto& [threshold, above, ceiling, below, floor, deadband, knee, attack, fast, slow, rms,
                 crest, shape, dyn, tran] = k;
    // What a step keeps that covers 86 % of its way in `ms`.
    const auto kept = [&](double ms) { return std::exp(-2000.0 / (ms * knobs.rate)); };
    const double amount = below == 1.0 ? 1e6 : below / (1 - below);
    plain.settings = {{threshold, threshold - deadband, above > 0 ? -ceiling : ceiling,
                       amount > 0 ? -floor : floor, ceiling == 0 ? 0 : std::abs(above) / ceiling,
                       floor == 0 ? 0 : std::abs(amount) / floor, knee},
                      {1 - kept(attack), kept(slow), kept(fast), 1 - kept(rms), crest,
                       std::floor(knobs.rate / 1250)},
                      shape,
                      dyn,
                      tran,
                      knobs.upTo(1) == 1};
    constexpr std::array kLookaheads = {0, 1, 2, 3, 4, 7, 33, 64, 86, 257, 480, 2400};
    const int samples = kLookaheads[static_cast<std::size_t>(knobs.upTo(11))];
    const auto lookaheadMs = static_cast<float>((samples + 0.25) * 1000.0 / knobs.rate);
    detector.setCurve(threshold, above, ceiling, below, floor, deadband, knee);
    detector.setTimes(attack, fast, slow, rms, crest);
    detector.setShape(shape);
    detector.setWeights(dyn, tran);
    detector.setExpandMode(plain.settings.expandMode);
    detector.setLookahead(lookaheadMs);
    window.setLookahead(lookaheadMs);
  }
  /// Bursts and silences of all levels; a steady one now and then.
  void play(int frames, Knobs& knobs) {
    signal.resize(static_cast<std::size_t>(frames));
    const double level = linear(knobs.between(-220, 20));
    const bool noise = knobs.upTo(3) != 0;
    for (double& x : signal) {
      x = noise ? level * std::uniform_real_distribution<double>(-1, 1)(knobs.random) : level;
    }
    input = signal;
  }
  void expectSameBlock() {
    window.process(input.data(), static_cast<int>(input.size()));
    double worst = 0.0;
    for (std::size_t i = 0; i < input.size(); ++i) {
      worst = std::max(worst, std::abs(decibels(signal[i]) - decibels(plain.next(input[i]))));
    }
    EXPECT_LT(worst, kToDecibels);
    EXPECT_NEAR(dynPeak, plain.meters.dynPeak, kToDecibels);
    EXPECT_NEAR(tranPeak, plain.meters.tranPeak, kToDecibels);
  }
};

/// Detectors by twos, each two with one envelope meter and one pair of lamps.
struct Bands {
  Bands(std::size_t count, Knobs& knobs) : lanes(count), env(count), lamps(count) {
    for (std::size_t i = 0; i < count; ++i) {
      lanes[i].detector.setSampleRate(knobs.rate);
      lanes[i].window.setSampleRate(knobs.rate);
      lanes[i].detector.setOwnsLamps(i % 2 == 0);
      lanes[i].turnKnobs(knobs);
    }
  }
  void change(Lane& lane, Knobs& knobs) {
    const int choice = knobs.upTo(20);
    if (choice <= 1) lane.turnKnobs(knobs);
    const DetectorSettings settings = lane.plain.settings;
    if (choice == 2) lane.detector.reset(), lane.window.clear(), lane.plain = {};
    if (choice == 3) {
      const Lane& other = lanes[static_cast<std::size_t>(knobs.upTo(20)) % lanes.size()];
      lane.detector.copySignal(other.detector);
      lane.window.copySignal(other.window);
      lane.plain = other.plain;
    }
    lane.plain.settings = settings;
    if (choice == 4) lane.dynPeak = lane.tranPeak = 0.0;  // as by the end of a block
    lane.plain.meters = {0.0, lane.dynPeak, lane.tranPeak, false, false};
  }
  void playBlock(int frames, Knobs& knobs) {
    std::vector<BandDetector::Job> jobs;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      Lane& lane = lanes[i];
      change(lane, knobs);
      lane.play(frames, knobs);
      auto& [fast, slow] = lamps[i / 2];
      jobs.push_back({&lane.detector, lane.signal.data(), &env[i / 2], &lane.dynPeak,
                      &lane.tranPeak, &fast, &slow});
    }
    if (knobs.upTo(2) == 0) std::fill(env.begin(), env.end(), 0.0);
    std::vector<double> expected = env;
    auto expectedLamps = lamps;
    inRealTime([&] { BandDetector::processTogether(jobs, frames); });
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      SCOPED_TRACE(i);
      const BallisticsCoefficients& times = lanes[i].plain.settings.times;
      auto& [fast, slow] = expectedLamps[i / 2];
      if (i % 2 == 0) fast *= std::pow(times.relFastCoef, frames);
      if (i % 2 == 0) slow *= std::pow(times.relSlowCoef, frames);
      lanes[i].expectSameBlock();
      const PlainDetector::Meters& meters = lanes[i].plain.meters;
      expected[i / 2] = std::max(expected[i / 2], meters.envPeak);
      if (meters.fast) fast = 1.0;
      if (meters.slow) slow = 1.0;
    }
    EXPECT_EQ(env, expected);
    for (std::size_t i = 0; i < lamps.size(); ++i) {
      EXPECT_NEAR(lamps[i][0], expectedLamps[i][0], 1e-12) << "fast, band " << i;
      EXPECT_NEAR(lamps[i][1], expectedLamps[i][1], 1e-12) << "slow, band " << i;
    }
  }

  std::vector<Lane> lanes;
  std::vector<double> env;
  std::vector<std::array<double, 2>> lamps;
};

// Any number side by side, in blocks of any length, while all knobs move.
TEST(BandDetectorTest, FollowsTheLawSampleBySampleHoweverManyRunTogether) {
  withAllKernels([] {
    for (const unsigned count : {1U, 2U, 3U, 8U, 11U, 16U}) {
      Knobs knobs{std::mt19937(count), count % 2 == 0 ? 48000.0 : 44100.0};
      Bands bands(count, knobs);
      for (std::size_t block = 0; block < 90 && !testing::Test::HasFailure(); ++block) {
        SCOPED_TRACE(testing::Message() << count << " detectors, block " << block);
        bands.playBlock(std::array{64, 1, 7, 500, 63, 65, 128, 0, 33}[block % 9], knobs);
      }
    }
  });
}

// The second detector of a pair that hears the same has heard all that the first has.
TEST(DetectorPairTest, IsTwoDetectorsHoweverOftenBothHearTheSame) {
  Knobs knobs;
  DetectorPair pair;
  std::array<BandDetector, 2> two;
  for (BandDetector* d : {&pair[0], &pair[1], &two[0], &two[1]}) {
    d->setSampleRate(48000.0);
    d->setCurve(-40, 0.5, 24, 0.5, 24, 6, 0.5);
    d->setTimes(5, 20, 200, 50, 6);
    d->setWeights(1, 1);
    d->setLookahead(3.0F);
  }
  int shared = 0;
  for (int block = 0; block < 600; ++block) {
    const int choice = knobs.upTo(30);
    if (choice == 0) pair.reset(), two[0].reset(), two[1].reset();
    if (choice == 1) pair.resetRight(), two[1].reset();
    const bool same = knobs.upTo(5) != 0;
    std::vector<double> left(100, linear(knobs.between(-80, 0)));
    std::vector<double> right = left;
    if (!same) right.assign(100, linear(knobs.between(-80, 0)));
    std::vector<double> expected[] = {left, right};
    const bool one = pair.oneForBoth(same);
    run(pair[0], left);
    one ? void(right = left) : run(pair[1], right);
    for (const std::size_t c : {0U, 1U}) run(two[c], expected[c]);
    ASSERT_EQ(left, expected[0]) << block;
    ASSERT_EQ(right, expected[1]) << block;
    shared += one ? 1 : 0;
  }
  EXPECT_GT(shared, 50);
}

TEST(BandDetectorTest, HasTheSteadyGainsOfItsKnobs) {
  const auto rows = dataRows(TEST_DATA "/steady_gains.txt");
  withAllKernels([&rows] {
    for (const DataRow& row : rows) {
      std::istringstream cells(row[0]);
      double k[8] = {};
      for (double& number : k) cells >> number;
      const auto& [threshold, above, ceiling, below, floor, deadband, knee, level] = k;
      const double gain = std::stod(row.back());
      const auto curve = StaticCurve::make(threshold, above, ceiling, below, floor, deadband, knee);
      EXPECT_NEAR(curve.gainDb(linear(level)), gain, kToDecibels) << row[0];
      BandDetector detector;
      detector.setCurve(threshold, above, ceiling, below, floor, deadband, knee);
      detector.setTimes(0, 0, 0, 0, 0);
      std::vector<double> signal(100, linear(level));
      run(detector, signal);
      EXPECT_NEAR(decibels(signal.back()), gain, kToDecibels) << row[0];
    }
  });
}

// What no converter delivers must not silence or open a band for ever.
TEST(BandDetectorTest, RecoversFromAbsurdLevels) {
  for (const float lookaheadMs : {0.0F, 10.0F, 170.0F}) {
    for (const double absurd : {3e38, 1e200, 1e100, std::nan(""), HUGE_VAL, -HUGE_VAL, 1e12}) {
      BandDetector detector;
      detector.setSampleRate(48000.0);
      detector.setCurve(-40, 0.5, 24, 0.5, 24, 0, 0);
      detector.setTimes(1, 10, 10, 20, 6);
      detector.setLookahead(lookaheadMs);
      std::vector<double> signal(72000, 0.01);
      signal[100] = absurd;
      run(detector, signal);
      EXPECT_NEAR(decibels(signal.back()), 0.0, 0.01) << absurd << ", " << lookaheadMs << " ms";
    }
  }
}

}  // namespace
