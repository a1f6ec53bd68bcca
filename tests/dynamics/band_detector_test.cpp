#include "dynamics/band_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "dynamics/detector_pair.h"
#include "dynamics/sidechain_filters.h"
#include "tests/support/all_kernels.h"
#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kToDecibels = 1e-9;  // of the polynomials

double decibels(double gain) { return 20.0 * std::log10(gain); }
double linear(double db) { return std::pow(10.0, db / 20.0); }

void process(BandDetector& detector, double* signal, std::size_t frames) {
  std::array<double, 5> m{};
  const int count = static_cast<int>(frames);
  processInRealTime(detector, signal, count, m[0], m[1], m[2], m[3], m[4]);
}

void run(BandDetector& detector, std::vector<double>& signal) {
  for (std::size_t at = 0; at < signal.size(); at += 100) process(detector, &signal[at], 100);
}

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

/// One of a band's two detectors.
struct Lane {
  BandDetector detector;
  std::vector<double> signal;
  double dynPeak = 0.0, tranPeak = 0.0;

  void turnKnobs(Knobs& knobs) {
    constexpr double kLows[] = {-60, -2, 0, -2, 0, 0, 0, 0.02, 1, 10, 20, 0, 0, 0, 0};
    constexpr double kHighs[] = {0, 2, 96, 1, 96, 24, 1, 200, 50, 500, 400, 24, 1, 1, 1};
    double k[15];
    for (std::size_t i = 0; i < 15; ++i) k[i] = knobs.between(kLows[i], kHighs[i]);
    detector.setCurve(k[0], k[1], k[2], k[3], k[4], k[5], k[6]);
    detector.setTimes(k[7], k[8], k[9], k[10], k[11]);
    detector.setShape(k[12]);
    detector.setWeights(k[13], k[14]);
    detector.setExpandMode(knobs.upTo(1) == 1);
    constexpr std::array kLookaheads = {0, 1, 2, 3, 4, 7, 33, 64, 86, 257, 480, 2400};
    const int lookahead = kLookaheads[static_cast<std::size_t>(knobs.upTo(11))];
    detector.setLookahead(static_cast<float>((lookahead + 0.25) * 1000.0 / knobs.rate));
  }
  /// Bursts and silences of all levels; a steady one now and then.
  void play(int frames, Knobs& knobs) {
    signal.resize(static_cast<std::size_t>(frames));
    const double level = linear(knobs.between(-220, 20));
    const bool noise = knobs.upTo(3) != 0;
    std::uniform_real_distribution<double> unit(-1, 1);
    for (double& x : signal) x = noise ? level * unit(knobs.random) : level;
  }
};

/// Detectors by twos, each two with one envelope meter and one pair of lamps.
struct Bands {
  Bands(std::size_t count, Knobs& knobs) : lanes(count), env(count), lamps(count) {
    for (std::size_t i = 0; i < count; ++i) {
      lanes[i].detector.setSampleRate(knobs.rate);
      lanes[i].detector.setOwnsLamps(i % 2 == 0);
      lanes[i].turnKnobs(knobs);
    }
  }
  void change(Lane& lane, Knobs& knobs) {
    const int choice = knobs.upTo(20);
    if (choice <= 1) lane.turnKnobs(knobs);
    if (choice == 2) lane.detector.reset();
    if (choice == 3) {
      const auto other = static_cast<std::size_t>(knobs.upTo(20)) % lanes.size();
      lane.detector.copySignal(lanes[other].detector);
    }
    if (choice == 4) lane.dynPeak = lane.tranPeak = 0.0;  // as by the end of a block
  }
  /// Sums of the gains in decibels and of the meters, each lane with a weight of its own.
  std::vector<double> playBlock(int frames, Knobs& knobs) {
    std::vector<BandDetector::Job> jobs;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      Lane& lane = lanes[i];
      change(lane, knobs);
      lane.play(frames, knobs);
      auto& [fast, slow] = lamps[i / 2];
      jobs.push_back({&lane.detector, &lane.detector.designed(), lane.signal.data(), &env[i / 2],
                      &lane.dynPeak, &lane.tranPeak, &fast, &slow, frames});
    }
    if (knobs.upTo(2) == 0) std::fill(env.begin(), env.end(), 0.0);
    inRealTime([&] { BandDetector::processTogether(jobs, frames); });
    std::vector<double> sums(6);
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      const auto weight = 1.0 + 0.1 * static_cast<double>(i);
      const double meters[] = {lanes[i].dynPeak, lanes[i].tranPeak, env[i], lamps[i][0],
                               lamps[i][1]};
      for (std::size_t m = 0; m < 5; ++m) sums[m + 1] += weight * meters[m];
      for (const double gain : lanes[i].signal) sums[0] += weight * decibels(gain);
    }
    return sums;
  }

  std::vector<Lane> lanes;
  std::vector<double> env;
  std::vector<std::array<double, 2>> lamps;
};

// Any number side by side, in blocks of any length, while all knobs move. The numbers were compared
// with the law, sample by sample for each detector alone, when they were recorded.
TEST(BandDetectorTest, FollowsTheLawHoweverManyRunTogether) {
  withAllKernels([] {
    KnownNumbers known(TEST_DATA "/detectors.txt");
    for (const unsigned count : {1U, 2U, 3U, 8U, 11U, 16U}) {
      Knobs knobs{std::mt19937(count), count % 2 == 0 ? 48000.0 : 44100.0};
      Bands bands(count, knobs);
      for (std::size_t block = 0; block < 90; ++block) {
        const int frames = std::array{64, 1, 7, 500, 63, 65, 128, 0, 33}[block % 9];
        known.expect(std::to_string(count) + " detectors, block " + std::to_string(block),
                     bands.playBlock(frames, knobs), 1e-9, 1e-7);
      }
    }
  });
}

/// The gains in dB of detectors in a slice, in which the last moves; of that.
std::vector<double> gainsOf(std::span<Lane> lanes, const DetectorSettings& settings,
                            const DetectorMotion* motion, std::span<const double> signal) {
  std::array<double, 5> m{};
  std::vector<BandDetector::Job> jobs;
  for (Lane& lane : lanes) {
    lane.signal.assign(signal.begin(), signal.end());
    jobs.push_back({&lane.detector, &settings, lane.signal.data(), &m[0], &m[1], &m[2], &m[3],
                    &m[4], 0, &lane == &lanes.back() ? motion : nullptr});
  }
  inRealTime([&] { BandDetector::processTogether(jobs, static_cast<int>(signal.size())); });
  std::vector<double> gains;
  for (const double gain : lanes.back().signal) gains.push_back(decibels(gain));
  return gains;
}

/// Settings in a share of a way on which curves differ in their threshold and levels are above it.
DetectorSettings between(DetectorSettings from, const DetectorMotion& to, double share) {
  from.shape += (to.shape - from.shape) * share;
  from.dynWeight += (to.dynWeight - from.dynWeight) * share;
  from.tranWeight += (to.tranWeight - from.tranWeight) * share;
  double& threshold = from.curve.thresholdHigh;
  threshold += (to.curve.thresholdHigh - threshold) * share;
  return from;
}

// Detectors whose settings move are detectors whose settings change with each sample; their
// neighbours do not notice.
TEST(BandDetectorTest, MovesFromSampleToSample) {
  withAllKernels([] {
    Knobs knobs;
    std::array<Lane, 7> lanes;
    const std::span<Lane> moving(lanes.data(), 3), still(lanes.data() + 3, 3);
    const std::span<Lane> stepping(lanes.data() + 6, 1);
    DetectorSettings from;
    from.lookahead = 20;
    from.times = ballisticsCoefficients(0.1, 10, 50, 5, 6, knobs.rate);
    // From silence to above the threshold.
    gainsOf(lanes, from, nullptr, std::vector<double>(600, 1.0));
    for (const int frames : {64, 1, 33, 64, 5, 64, 64, 7, 64}) {
      const double knee = frames == 5 ? 0.5 : 0.0;
      from.shape = knobs.between(0, 1);
      from.curve = StaticCurve::make(-60, 0.2, 90, 0, 24, 0, knee);
      DetectorMotion to{from.curve, knobs.between(0, 1), 0.8, knobs.between(0, 1)};
      if (knee == 0.0) to.curve.thresholdHigh = -50.0;
      std::vector<double> shares(static_cast<std::size_t>(frames));
      std::vector<double> signal(shares.size());
      to.shares = shares.data();
      for (std::size_t i = 0; i < shares.size(); ++i) {
        shares[i] = std::pow(static_cast<double>(i) / frames, 2.0);
        signal[i] = linear(knobs.between(-40, 20));
      }
      const auto gains = gainsOf(moving, from, &to, signal);
      gainsOf(still, from, nullptr, signal);
      EXPECT_EQ(moving[0].signal, still[0].signal);
      for (std::size_t i = 0; i < signal.size(); ++i) {
        const auto now = between(from, to, shares[i]);
        const double one = gainsOf(stepping, now, nullptr, {&signal[i], 1})[0];
        ASSERT_NEAR(gains[i], one, kToDecibels) << frames << " frames, " << i;
      }
    }
  });
}

TEST(BandDetectorTest, MovesTheGainInDecibelsBetweenCurvesOfAllKinds) {
  withAllKernels([] {
    const std::array<double, 3> shares = {0.0, 0.25, 1.0};
    DetectorSettings from;
    from.curve = StaticCurve::make(-20, 0.5, 24, 0, 24, 0, 0);
    const DetectorMotion to{StaticCurve::make(0, 0.5, 24, 0.5, 24, 6, 1), 1, 1, 0, shares.data()};
    const double first = from.curve.gainAtDb(-10), last = to.curve.gainAtDb(-10);
    Lane lane;
    const auto gains = gainsOf({&lane, 1}, from, &to, std::vector<double>(3, linear(-10)));
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(gains[i], first + (last - first) * shares[i], kToDecibels);
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
      EXPECT_NEAR(curve.gainAtDb(level), gain, kToDecibels) << row[0];
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

TEST(LookaheadTest, TurnsMillisecondsIntoWholeSamplesAtAnyRate) {
  runRows(TEST_DATA "/lookaheads.txt", [](const DataRow& row) {
    BandDetector detector;
    detector.setLookahead(std::stof(row[1]));
    detector.setSampleRate(std::stod(row[0]));
    return std::to_string(detector.designed().lookahead);
  });
}

// Of levels with peaks of all sizes and long stretches below them. The numbers were compared with
// the law, each maximum and both averages of it taken anew, when they were recorded.
TEST(LookaheadTest, IsTheMaximumUnderTwoAverages) {
  KnownNumbers known(TEST_DATA "/windows.txt");
  BandDetector detector;  // whose gain is the level that it hears
  detector.setSampleRate(1000.0);
  detector.setCurve(0, 0, 0, 0.5, -StaticCurve::kSilenceDb, 0, 0);
  detector.setShape(0);
  std::mt19937 random(9);
  std::uniform_real_distribution<double> share;
  for (const int samples : {0,  1,  2,  3,   4,   5,   6,   7,    8,    9,    15,   16,   17,
                            63, 64, 65, 480, 511, 512, 513, 1025, 4095, 4096, 4097, 8191, 9000}) {
    detector.reset();
    const std::size_t length = 2 * static_cast<std::size_t>(samples) + 700;
    detector.setLookahead(static_cast<float>(samples) + 0.25F);
    std::vector<double> levels(length);
    for (double& x : levels) x = (random() % 2 == 0 ? 1 : -1) * std::pow(share(random), 12.0);
    for (std::size_t done = 0; done < length;) {
      const std::size_t frames = std::min(random() % 600, length - done);
      process(detector, levels.data() + done, frames);
      done += frames;
    }
    std::vector<double> sums(5);  // of each fifth, the samples weighted
    for (std::size_t i = 0; i < length; ++i) sums[5 * i / length] += levels[i] * share(random);
    known.expect("new, " + std::to_string(samples) + " samples", sums);
  }
}

constexpr double kRate = 96000.0;
using Signal = std::vector<double>;
using Filter = SidechainFilterSettings::Filter;

/// One channel, in place or from another array.
void process(SidechainFilters& filters, std::size_t channel, Signal& signal, double gain = 1.0) {
  const Signal input = signal;
  const bool inPlace = signal.size() % 2 == 0;
  if (!inPlace) std::fill(signal.begin(), signal.end(), 7.0);
  processInRealTime(filters, channel, gain, inPlace ? signal.data() : input.data(), signal.data(),
                    static_cast<int>(signal.size()));
}

// The numbers were compared with the gains of the analog curves when they were recorded.
TEST(SidechainFiltersTest, AreTheTrimAndTheCurvesOfTheirSettingsInBothChannels) {
  KnownNumbers known(TEST_DATA "/sidechains.txt");
  const struct {
    std::string what;
    double gainDb;
    SidechainFilterSettings settings;
  } rows[] = {{"off", 6.0, {{}, {}, {}}},
              {"high-pass", 0, {{true, 1000, 9, 0.71F, 12}, {}, {}}},
              {"low shelf", 0, {{true, 1000, 9, 0.71F, 12, true}, {}, {}}},
              {"peak", -6, {{}, {true, 1000, 9, 1}, {}}},
              {"band-pass", 0, {{}, {true, 1000, 9, 1, 24, true}, {}}},
              {"low-pass", 0, {{}, {}, {true, 1000, 9, 0.71F, 12}}},
              {"high shelf", 0, {{}, {}, {true, 1000, -9, 0.71F, 12, true}}},
              {"both", 3, {{true, 1000, 0, 0.71F, 24}, {}, {true, 1000, 0, 0.71F, 6}}}};
  SidechainFilters filters;
  filters.setSampleRate(static_cast<float>(kRate));
  for (const auto& row : rows) {
    filters.set(row.settings);
    for (const std::size_t channel : {0U, 1U}) {
      Signal response(9000 + channel);
      process(filters, channel, response);
      response[0] = 1.0;
      process(filters, channel, response, linear(row.gainDb));
      known.expect(row.what + (channel == 0 ? ", left" : ", right"),
                   {response[0], response[1], response[10], response[100], response[300]});
      for (const double hz : {500.0, 1000.0, 3000.0}) {
        std::complex<double> heard;
        for (std::size_t n = 0; n < response.size(); ++n) {
          heard += std::polar(response[n], -2 * std::numbers::pi * hz / kRate * double(n));
        }
        const double drawn = linear(row.gainDb) * filters.response(kAllFilters, hz);
        EXPECT_NEAR(std::abs(heard) / drawn, 1.0, 0.01) << row.what << ", " << hz;
      }
    }
  }
  // A reset of one channel is one of all its filters and of no other's.
  const Filter ringing{true, 1000, 9, 4};
  filters.set({{true, 500, 0, 4, 24}, ringing, {true, 4000, 0, 4, 24}});
  for (const bool both : {false, true}) {
    Signal last[2];
    for (const std::size_t channel : {0U, 1U}) {
      Signal noise(2000, 1.0);
      process(filters, channel, noise);
      noise.back() = 0.0;
      process(filters, channel, noise);
    }
    both ? filters.reset() : filters.resetRight();
    for (const std::size_t channel : {0U, 1U}) {
      last[channel].resize(50);
      process(filters, channel, last[channel]);
      EXPECT_EQ(last[channel] == Signal(50), both || channel == 1) << channel;
    }
  }
}

TEST(SidechainFiltersTest, LinkTheChannelsAsPositionAndUnlinkSay) {
  SidechainLinkage linkage;
  std::mt19937 random(2);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 400; ++i) {
    const bool leftRight = random() % 2 == 0;
    const int percent = std::array{0, 50, 100, 20, 73}[random() % 5];
    const double unlink = std::array{0.0, 1.0, 0.3}[random() % 3];
    linkage.setPosition(leftRight, percent);
    linkage.unlink = unlink;
    Signal left(9), right(9);
    for (double& x : left) x = unit(random);
    for (double& x : right) x = unit(random);
    Signal both[] = {left, right};
    const bool same = inRealTime([&] { return linkage.link(both[0].data(), both[1].data(), 9); });
    EXPECT_EQ(same, unlink == 0.0);
    // In the middle both are heard whole, at an end one of them alone; mid and side are halved.
    const double first = std::min(1.0, (100 - percent) / 50.0);
    const double second = std::min(1.0, percent / 50.0);
    for (std::size_t n = 0; n < 9; ++n) {
      const double l = left[n], r = right[n];
      const double a = first * std::abs(leftRight ? l : (l + r) / 2);
      const double b = second * std::abs(leftRight ? r : (l - r) / 2);
      ASSERT_NEAR(both[0][n], a * unlink + std::max(a, b) * (1 - unlink), 1e-14) << i;
      ASSERT_NEAR(both[1][n], b * unlink + std::max(a, b) * (1 - unlink), 1e-14) << i;
    }
  }
}

}  // namespace
