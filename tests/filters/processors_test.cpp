
#include <algorithm>
#include <array>
#include <atomic>
#include <complex>
#include <numbers>
#include <random>
#include <thread>
#include <type_traits>

#include "analysis/vector_kernels.h"
#include "filters/blt_eq.h"
#include "filters/crossover.h"
#include "filters/df1_cascade.h"
#include "filters/partitioned_convolver.h"
#include "filters/resampler.h"
#include "tests/support/known_numbers.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr std::size_t kWalk = 5000;
constexpr std::size_t kOutputs = CrossoverEngine::kBands;

/// Noise that adds up to an impulse at the middle tap.
std::vector<Signal> randomKernels(std::size_t taps, std::size_t most, std::mt19937& random) {
  std::vector<Signal> kernels(1 + random() % most, Signal(taps));
  kernels.back()[taps / 2] = 1.0;
  for (std::size_t k = 0; k + 1 < kernels.size(); ++k) {
    kernels[k] = noiseOf(static_cast<int>(taps), static_cast<unsigned>(random()));
    for (std::size_t i = 0; i < taps; ++i) {
      kernels[k][i] /= std::sqrt(static_cast<double>(taps));
      kernels.back()[i] -= kernels[k][i];
    }
  }
  return kernels;
}

/// Blocks of random lengths, often after a change of the kernels, of the outputs asked for, of mono
/// and stereo, or a reset of the second channel. A plain convolver may work in place.
template <typename Convolver>
std::vector<Signal> played(Convolver& convolver, std::size_t taps, std::size_t most,
                           std::mt19937& random) {
  const bool takesInPlace = std::is_same_v<Convolver, PartitionedConvolver>;
  const Signal input[] = {noiseOf(kWalk, 1), noiseOf(kWalk, 2)};
  std::vector<Signal> out(2 * kOutputs, Signal(kWalk, 0.01));  // where nothing is written
  for (std::size_t at = 0; at < kWalk;) {
    // Often several times in a row in one cycle; and the last fifth rings out undisturbed.
    if (at == 0 || (at < 4000 && random() % 4 == 0)) {
      const std::vector<Signal> kernels = randomKernels(taps, most, random);
      std::array<const double*, kOutputs> pointers{};
      for (std::size_t k = 0; k < kernels.size(); ++k) pointers[k] = kernels[k].data();
      convolver.setKernels(pointers.data(), static_cast<int>(kernels.size()));
    }
    if (random() % 20 == 0) inRealTime([&] { convolver.resetRight(); });
    const std::size_t length = random();
    const std::size_t frames = std::min(length % (random() % 4 == 0 ? 700 : 70), kWalk - at);
    const auto outputs = static_cast<int>(1 + random() % kOutputs);
    const bool mono = random() % 5 == 0;
    std::array<double*, kOutputs> to[2];
    for (std::size_t i = 0; i < out.size(); ++i) to[i % 2][i / 2] = &out[i][at];
    const double* in[] = {&input[0][at], &input[1][at]};
    for (std::size_t c = 0; takesInPlace && c < (mono ? 1 : 2) && frames % 2 == 0; ++c) {
      in[c] = std::copy_n(in[c], frames, to[c][0]) - frames;
    }
    processInRealTime(convolver, in[0], mono ? nullptr : in[1], to[0].data(), to[1].data(), outputs,
                      static_cast<int>(frames));
    at += frames;
  }
  return out;
}

/// One walk per set of vector kernels, each after a reset in the middle of the one before.
template <typename Convolver, typename Reset>
void expectAsKnown(const std::string& name, Convolver& convolver, std::size_t taps,
                   std::size_t most, KnownNumbers& known, const Reset& reset) {
  const VectorKernels& usual = vectorKernels();
  std::mt19937 random(3);
  for (const std::size_t phase : {0U, 33U, 100U, 160U, 255U}) {
    useVectorKernels(*allVectorKernels()[phase % allVectorKernels().size()]);
    inRealTime([&] { reset(static_cast<int>(phase)); });
    std::vector<double> sums;
    for (const Signal& out : played(convolver, taps, most, random)) {
      for (std::size_t at = 0; at < kWalk; at += 1000) sums.push_back(weightedSum(&out[at], 1000));
    }
    known.expect(name + ", phase " + std::to_string(phase), sums, 1e-9, 1e-10);
  }
  useVectorKernels(usual);
}

// Was compared with its definition when it was recorded: each sample of the input goes through the
// kernels in force when it came in, at once or a block later.
TEST(Convolvers, TakeEachSampleThroughTheKernelsItMet) {
  KnownNumbers known(TEST_DATA "/convolvers.txt");
  for (const std::size_t taps : {512U, 1024U, 2048U}) {
    PartitionedConvolver convolver(static_cast<int>(taps), 3);
    const auto reset = [&](int phase) { convolver.reset(phase); };
    expectAsKnown(std::to_string(taps) + " taps", convolver, taps, 3, known, reset);
  }
  Crossover direct;
  expectAsKnown("direct", direct, 1024, 8, known, [&](int) { direct.reset(); });
  Crossover_WithLatency blocked;
  expectAsKnown("blocked", blocked, 1024, 8, known, [&](int) { blocked.reset(); });
  EXPECT_EQ(direct.blockDelay(), 0);
  EXPECT_EQ(blocked.blockDelay(), 1023);
}

// Was compared with the product of both at twice the rate when it was recorded.
TEST(OversampledGain, GoesOnAsItDidInAnyBlocksAndQuality) {
  KnownNumbers known(TEST_DATA "/oversampled.txt");
  const VectorKernels& usual = vectorKernels();
  OversampledGain unit;
  std::mt19937 random(4);
  bool isHigh = false;
  for (std::size_t row = 0; row < 9; ++row) {
    useVectorKernels(*allVectorKernels()[row % allVectorKernels().size()]);
    unit.reset();
    std::vector<double> sums;
    for (std::size_t call = 0; call < 100; ++call) {
      if (random() % 20 == 0) unit.setHighQuality(isHigh = !isHigh);
      EXPECT_EQ(OversampledGain::latency(isHigh), isHigh ? 127 : 33);
      // Lengths that meet the short blocks, the chunks' ends and the long blocks alike.
      const auto length = random();
      const auto n = static_cast<int>(length % std::array{3U, 40U, 300U, 1500U}[random() % 4]);
      Signal signal = noiseOf(n, static_cast<unsigned>(random()));
      const Signal gain = noiseOf(n, static_cast<unsigned>(random()));
      Signal scratch[] = {Signal(2 * signal.size() + 1, 7.0), Signal(2 * signal.size() + 1, 7.0)};
      processInRealTime(unit, signal.data(), gain.data(), n, scratch[0].data(), scratch[1].data());
      EXPECT_EQ(scratch[0].back() + scratch[1].back(), 14.0) << "beyond the end";
      sums.push_back(weightedSum(signal.data(), signal.size()));
    }
    known.expect(std::to_string(row), sums, 1e-9, 1e-10);
  }
  useVectorKernels(usual);
}

/// A cascade given its coefficients from outside.
struct PlainCascade : DF1Cascade {
  void update() noexcept override {}
};

/// A cascade on its way through random settings and blocks.
struct CascadeWalk {
  explicit CascadeWalk(unsigned seed) : random(seed) { filter.setBypass(0); }

  double unit() { return std::uniform_real_distribution<double>(-1.0, 1.0)(random); }
  void setSections(std::size_t newCount) {
    count = newCount;
    std::vector<double> c;
    for (std::size_t i = 0; i < count; ++i) {
      const double radius = 0.8 + 0.19 * unit();
      c.insert(c.end(), {0.7 * unit(), 0.7 * unit(), 0.7 * unit(),
                         -2.0 * radius * std::cos(1.5 + 1.4 * unit()), radius * radius});
    }
    filter.setCoefficients(c.data(), static_cast<int>(count));
  }
  /// Does one thing and says which.
  std::string change() {
    const auto choice = random() % 16;
    if (choice < 6) setSections(std::array<std::size_t, 6>{1, 2, 3, 4, 16, 0}[choice]);
    if (choice == 6) filter.setFlat(1 - filter.getFlat());
    if (choice == 7) filter.setBypass(1 - filter.getBypass());
    if (choice == 8) filter.setDifferenceMode(!filter.getDifferenceMode());
    if (choice == 9) filter.resetState();
    if (choice == 10) filter.setSampleRate(44100.0F);
    if (choice == 11) filter.resetCoefficients(true);
    if (choice == 12) filter.resetCoefficients(false);
    constexpr const char* kOthers[] = {"flat", "bypass", "difference", "forget",
                                       "rate", "unity",  "to unity",   "nothing"};
    return choice < 6 ? std::to_string(count) + " sections" : kOthers[std::min(choice, 13UL) - 6];
  }
  /// Sums over what came out, with weights, and over the coefficients in force; and responses.
  template <typename Sample>
  std::vector<double> playBlock() {
    // A new ramp in the middle of one, exactly at its counter 0 and at its end.
    constexpr std::array kFrames = {999, 1, 1000, 1001, 63, 64, 300, 2500, 0};
    // Into the subnormal range and out; and once what is no number.
    constexpr std::array kLevels = {1.0, 1.0, 1.0, 1e-20, 1e-290, 1e-307, 0.0};
    std::vector<Sample> samples(static_cast<std::size_t>(kFrames[random() % kFrames.size()]));
    const double level = kLevels[random() % kLevels.size()];
    for (Sample& sample : samples) sample = static_cast<Sample>(level * unit());
    const bool wide = std::is_same_v<Sample, double>;
    if (wide && random() % 30 == 0 && !samples.empty()) samples.back() = static_cast<Sample>(NAN);
    processInRealTime(filter, samples.data(), static_cast<int>(samples.size()));
    std::vector<double> numbers(5);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      if (std::isnan(samples[i]))
        ++numbers[3];
      else
        numbers[i % 3] += (1.0 + static_cast<double>(i % 7)) * samples[i];
    }
    std::array<double, 80> inForce{};
    filter.getCoefficients(inForce.data());
    for (std::size_t i = 0; i < 5 * count; ++i) {
      numbers[4] += (1.0 + static_cast<double>(i)) * inForce[i];
    }
    // Of the coefficients to come.
    double re = 0.0, im = 0.0, phase = 0.0;
    filter.responseAt(12345.0, &re, &im);
    const double magnitude = filter.magnitudeAt(37.5, &phase);
    numbers.insert(numbers.end(), {re, im, magnitude, phase});
    return numbers;
  }

  std::mt19937 random;
  PlainCascade filter;
  std::size_t count = 1;
};

// Was compared with its definition, sample by sample, when it was recorded.
TEST(DF1Cascade, GoesOnAsItDidThroughAllChangesInUnevenBlocks) {
  KnownNumbers known(TEST_DATA "/cascades.txt");
  for (unsigned seed = 1; seed <= 4; ++seed) {
    CascadeWalk walk(seed);
    for (int block = 0; block < 100; ++block) {
      const std::string name = std::to_string(seed) + '.' + std::to_string(block) + ", ";
      const std::string changed = walk.change();
      if (walk.random() % 3 == 0) walk.setSections(1 + walk.random() % 3);
      const bool isWide = walk.random() % 3 != 0;
      const auto numbers = isWide ? walk.playBlock<double>() : walk.playBlock<float>();
      known.expect(name + changed + (isWide ? "" : ", single"), numbers, 1e-9, 0.0);
    }
  }
}

TEST(DF1Cascade, ResponseOnAPoleOfTheUnitCircle) {
  const double cases[][5] = {
      {1, -1, 0, 0, 1}, {1e-11, -1, 1, 0, 1}, {1, -1 + 0x1p-35, 0, 0x1p35, 0}};
  for (const auto& [b0, a1, magnitude, real, imaginary] : cases) {  // b0 / (1 + a1 / z) at 0 Hz
    PlainCascade filter;
    const double integrator[] = {b0, 0, 0, a1, 0};
    filter.setCoefficients(integrator, 1);
    double re = 5, im = 5;
    filter.responseAt(0.0, &re, &im);
    EXPECT_EQ(filter.magnitudeAt(0.0, nullptr), magnitude);
    EXPECT_EQ(std::complex(re, im), std::complex(real, imaginary));
  }
}

// Every set is stable; the a1 of one beside the a2 of another grows by a factor per sample.
TEST(DF1Cascade, NeverMixesTheSetsOfAnotherThreadAndEndsWithTheLast) {
  const auto set = [](BLTEQ& filter, float hz) {
    filter.setBypass(0);
    filter.setType(EQ::kHpf);
    filter.setSubtype(2);
    filter.setOrder(4);
    filter.setFrequency(hz);
    filter.update();
  };
  BLTEQ filter, fresh;
  set(filter, 20.0F);
  set(fresh, 333.0F);
  std::atomic<bool> done{false};
  std::thread control([&] {
    std::mt19937 random(2);
    while (!done) set(filter, std::uniform_real_distribution<float>(20.0F, 400.0F)(random));
    set(filter, 333.0F);
  });
  long tooLarge = 0;
  const auto play = [&](BLTEQ& cascade, unsigned seed) {
    Signal samples = noiseOf(512, seed);
    processInRealTime(cascade, samples.data(), 512);
    for (const double sample : samples) tooLarge += std::abs(sample) < 20.0 ? 0 : 1;  // or NaN
  };
  for (unsigned block = 0; block < 5000; ++block) play(filter, block);
  done = true;
  control.join();
  for (unsigned block = 0; block < 3; ++block) play(filter, block), play(fresh, block);
  EXPECT_EQ(tooLarge, 0);
  std::array<double, 10> inForce[2];
  filter.getCoefficients(inForce[0].data());
  fresh.getCoefficients(inForce[1].data());
  EXPECT_EQ(inForce[0], inForce[1]);
}

}  // namespace
