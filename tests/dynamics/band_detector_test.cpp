#include "dynamics/band_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "tests/dynamics/plain_detector.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 48000.0;
constexpr double kToDecibels = 1e-9;  // of the polynomials

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

/// Random knobs, their ends often.
class Knobs {
 public:
  explicit Knobs(unsigned seed) : random(seed) {}
  double between(double low, double high) {
    const int choice = std::uniform_int_distribution<int>(0, 4)(random);
    if (choice == 0) return low;
    if (choice == 1) return high;
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(random); }

  std::mt19937 random;
};

struct Pair {
  BandDetector detector;
  PlainDetector plain;
  std::vector<double> signal;
  std::array<double, 3> peaks{};  // env, dyn, tran
  std::array<double, 2> lamps{};
};

void turnKnobs(Pair& pair, Knobs& knobs) {
  const double ratio = knobs.between(-2.0, 2.0);
  const double ratioBelow = knobs.between(-2.0, 1.0);
  DetectorSettings s;
  s.curve = StaticCurve::make(knobs.between(-60, 0), ratio, knobs.between(0, 96), ratioBelow,
                              knobs.between(0, 96), knobs.between(0, 24), knobs.between(0, 1));
  const double attack = knobs.between(0.02, 200);
  const double fast = knobs.between(1, 50);
  const double slow = knobs.between(10, 500);
  const double rms = knobs.between(20, 400);
  const double crest = knobs.between(0, 24);
  s.times = ballisticsCoefficients(attack, fast, slow, rms, crest, kRate);
  s.shape = knobs.between(0, 1);
  s.dynWeight = knobs.between(0, 1);
  s.tranWeight = knobs.between(0, 1);
  s.expandMode = knobs.upTo(1) == 1;
  constexpr std::array kLookaheads = {0, 1, 2, 3, 4, 7, 33, 64, 86, 257, 480, 2400};
  const int lookahead = kLookaheads[static_cast<std::size_t>(knobs.upTo(11))];

  BandDetector& d = pair.detector;
  d.setCurve(s.curve.thresholdHigh, ratio, std::abs(s.curve.rangeAbove), ratioBelow,
             std::abs(s.curve.rangeBelow), s.curve.thresholdHigh - s.curve.thresholdLow,
             s.curve.knee);
  d.setTimes(attack, fast, slow, rms, crest);
  d.setShape(s.shape);
  d.setWeights(s.dynWeight, s.tranWeight);
  d.setExpandMode(s.expandMode);
  d.setLookahead(static_cast<float>((lookahead + 0.25) * 1000.0 / kRate));
  // As the knobs went in: a deadband goes through a difference.
  s.curve = StaticCurve::make(s.curve.thresholdHigh, ratio, std::abs(s.curve.rangeAbove),
                              ratioBelow, std::abs(s.curve.rangeBelow),
                              s.curve.thresholdHigh - s.curve.thresholdLow, s.curve.knee);
  pair.plain.change(s, lookahead);
}

/// Bursts and silences of all levels; a pure tone now and then, for steady levels.
void play(std::vector<double>& signal, int frames, Knobs& knobs) {
  signal.resize(static_cast<std::size_t>(frames));
  const double level = std::pow(10.0, knobs.between(-220, 20) / 20.0);
  const bool noise = knobs.upTo(3) != 0;
  for (double& x : signal) {
    x = noise ? level * std::uniform_real_distribution<double>(-1, 1)(knobs.random) : level;
  }
}

double decibels(double gain) { return 20.0 * std::log10(gain); }

void expectSameBlock(Pair& pair, const std::vector<double>& input) {
  double worst = 0.0;
  for (std::size_t i = 0; i < input.size(); ++i) {
    const double wanted = pair.plain.next(input[i]);
    worst = std::max(worst, std::abs(decibels(pair.signal[i]) - decibels(wanted)));
  }
  EXPECT_LT(worst, kToDecibels);
  const PlainDetector::Meters& meters = pair.plain.meters;
  EXPECT_EQ(pair.peaks[0], meters.envPeak);
  EXPECT_NEAR(pair.peaks[1], meters.dynPeak, kToDecibels);
  EXPECT_NEAR(pair.peaks[2], meters.tranPeak, kToDecibels);
  EXPECT_EQ(pair.lamps[0] == 1.0, meters.fast);
  EXPECT_EQ(pair.lamps[1] == 1.0, meters.slow);
}

// Any number side by side, in blocks of any length, while all knobs move.
TEST(BandDetectorTest, FollowsTheLawSampleBySampleHoweverManyRunTogether) {
  withAllKernels([] {
    for (const std::size_t count : {1U, 2U, 3U, 8U, 11U, 16U}) {
      SCOPED_TRACE(count);
      Knobs knobs(static_cast<unsigned>(count));
      std::vector<Pair> pairs(count);
      for (Pair& pair : pairs) pair.detector.setSampleRate(kRate);
      for (int block = 0; block < 120 && !::testing::Test::HasFailure(); ++block) {
        SCOPED_TRACE(block);
        constexpr std::array kFrames = {64, 1, 7, 500, 63, 65, 128, 0, 33};
        const int frames = kFrames[static_cast<std::size_t>(block % 9)];
        std::vector<BandDetector::Job> jobs;
        std::vector<std::vector<double>> inputs;
        for (Pair& pair : pairs) {
          if (block % 8 == 0) turnKnobs(pair, knobs);
          pair.plain.meters = {};
          pair.peaks = {};
          pair.lamps = {};
          play(pair.signal, frames, knobs);
          inputs.push_back(pair.signal);
          jobs.push_back({&pair.detector, pair.signal.data(), &pair.peaks[0], &pair.peaks[1],
                          &pair.peaks[2], &pair.lamps[0], &pair.lamps[1]});
        }
        inRealTime([&] { BandDetector::processTogether(jobs, frames); });
        for (std::size_t i = 0; i < count; ++i) expectSameBlock(pairs[i], inputs[i]);
      }
    }
  });
}

// Logarithm and power through a curve of 1:1 below the threshold, ends of the ranges included.
TEST(BandDetectorTest, TurnsLevelsIntoDecibelsAndBackOverTheWholeRange) {
  withAllKernels([] {
    BandDetector detector;
    detector.setSampleRate(kRate);
    detector.setCurve(-200, 1.0, 400, 0, 0, 0, 0);  // one dB down per dB above -200
    detector.setTimes(0, 0, 0, 0, 0);
    double worst = 0.0;
    for (double level = -199.99; level < 190.0; level += 0.0137) {
      double x = std::pow(10.0, level / 20.0);
      const double linear = x;
      double meters[5] = {};
      processInRealTime(detector, &x, 1, meters[0], meters[1], meters[2], meters[3], meters[4]);
      worst = std::max(worst, std::abs(20.0 * std::log10(x * linear) + 200.0));
    }
    EXPECT_LT(worst, kToDecibels);
    for (const double level : {0.0, 9.9e-11, 1e-320}) {
      detector.reset();
      double x = level;
      double meters[5] = {};
      processInRealTime(detector, &x, 1, meters[0], meters[1], meters[2], meters[3], meters[4]);
      EXPECT_EQ(x, 1.0) << "-200 dB at " << level;
    }
  });
}

struct Played {
  std::vector<double> gain;  // dB
  std::array<double, 5> meters{};
};

/// The gain for a sidechain at `before` dB for 100 ms, then at `after` dB for 400 ms.
Played playStep(BandDetector& detector, double before, double after) {
  Played played;
  played.gain.resize(24000);
  for (std::size_t i = 0; i < played.gain.size(); ++i) {
    played.gain[i] = std::pow(10.0, (i < 4800 ? before : after) / 20.0);
  }
  auto& m = played.meters;
  for (std::size_t at = 0; at < played.gain.size(); at += 240) {
    processInRealTime(detector, played.gain.data() + at, 240, m[0], m[1], m[2], m[3], m[4]);
  }
  for (double& x : played.gain) x = decibels(x);
  return played;
}

constexpr double kHundredthDb = 0.01;

TEST(BandDetectorTest, AttacksHoldsAndReleasesInItsTimes) {
  BandDetector detector;
  detector.setSampleRate(kRate);
  detector.setCurve(-40, 0.5, 24, 0, 24, 0, 0);  // 2:1
  const double attackMs = 10.0;
  const double releaseMs = 50.0;
  detector.setTimes(attackMs, releaseMs, releaseMs, 50, 6);
  const std::size_t step = 4800;
  const std::size_t inAttack = step + 480 - 1;

  // On the gain: after one time 86 % of the way, in decibels.
  detector.setShape(0.0);
  Played played = playStep(detector, -40, -20);
  EXPECT_NEAR(played.gain[inAttack], -10.0 * (1.0 - std::exp(-2.0)), kHundredthDb);
  EXPECT_NEAR(played.gain.back(), -10.0, kHundredthDb);

  // On the level: after one time 86 % of the way, linear.
  detector.reset();
  detector.setShape(1.0);
  played = playStep(detector, -40, -20);
  const double level = 0.01 + (0.1 - 0.01) * (1.0 - std::exp(-2.0));
  EXPECT_NEAR(played.gain[inAttack], -0.5 * (decibels(level) + 40.0), kHundredthDb);

  // Release: 0.8 ms of nothing, then by exp(-2) per time towards silence, so linear in decibels.
  detector.reset();
  played = playStep(detector, -20, -300);
  const std::size_t held = step + 38 - 1;  // floor(0.8 ms)
  EXPECT_EQ(played.gain[held], played.gain[step - 1]);
  EXPECT_NE(played.gain[held + 1], played.gain[held]);
  const double perMs = 40.0 / std::log(10.0) / releaseMs;
  EXPECT_NEAR(played.gain[held + 1200], -10.0 + 0.5 * perMs * 25.0, kHundredthDb);
}

TEST(BandDetectorTest, ChoosesTheReleaseByTheCrestAndShowsIt) {
  const struct {
    double crest;
    bool fast;
  } cases[] = {{0.0, true}, {1e9, false}};
  for (const auto& wanted : cases) {
    BandDetector detector;
    detector.setSampleRate(kRate);
    detector.setOwnsLamps(true);
    detector.setCurve(-40, 0.5, 24, 0, 24, 0, 0);
    detector.setTimes(0.1, 100, 1000, 50, wanted.crest);
    const Played played = playStep(detector, -20, -300);
    EXPECT_EQ(played.meters[3] == 1.0, wanted.fast);
    EXPECT_EQ(played.meters[4] == 1.0, !wanted.fast);
    // The other lamp has gone out meanwhile, or never was on.
    EXPECT_LT(played.meters[wanted.fast ? 4 : 3], 1e-3);
    const double after20Ms = played.gain[4800 + 38 + 960];
    EXPECT_EQ(after20Ms > -9.0, wanted.fast);
  }
}

TEST(BandDetectorTest, TargetWeighsTheSmoothAndTheTransientPart) {
  // An instant rise to 20 dB above the threshold at 2:1: the smooth part comes up slowly, and the
  // transient part is what is missing of 10 dB.
  for (const double target : {0.0, 0.5, 1.0}) {
    BandDetector detector;
    detector.setSampleRate(kRate);
    detector.setCurve(-40, 0.5, 24, 0, 24, 0, 0);
    detector.setTimes(50, 50, 50, 50, 6);
    detector.setShape(0.0);
    detector.setWeights(std::min(1.0, 2.0 - 2.0 * target), std::min(1.0, 2.0 * target));
    const Played played = playStep(detector, -40, -20);
    const double smooth = -10.0 * (1.0 - std::exp(-2.0 / 5.0));  // after 10 ms
    const double wanted = target == 0.0 ? smooth : (target == 0.5 ? -10.0 : -10.0 - smooth);
    EXPECT_NEAR(played.gain[4800 + 480 - 1], wanted, kHundredthDb) << target;
    EXPECT_NEAR(played.meters[1], target == 1.0 ? 0.0 : -10.0, kHundredthDb);
    EXPECT_NEAR(played.meters[2], target == 0.0 ? 0.0 : -10.0, kHundredthDb);
  }
}

// What no converter delivers must not silence or open a band for ever.
TEST(BandDetectorTest, RecoversFromAbsurdLevels) {
  for (const double absurd : {3e38, 1e200, std::nan(""), HUGE_VAL, 1e12}) {
    BandDetector detector;
    detector.setSampleRate(kRate);
    detector.setCurve(-40, 0.5, 24, 0.5, 24, 0, 0);
    detector.setTimes(1, 10, 10, 20, 6);
    detector.setLookahead(10.0F);
    std::vector<double> signal(48000, 0.01);
    signal[100] = absurd;
    std::array<double, 5> m{};
    for (std::size_t at = 0; at < signal.size(); at += 64) {
      processInRealTime(detector, signal.data() + at, 64, m[0], m[1], m[2], m[3], m[4]);
    }
    EXPECT_NEAR(decibels(signal.back()), 0.0, kHundredthDb) << absurd;
  }
}

}  // namespace
