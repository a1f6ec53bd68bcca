#include "filters/partitioned_convolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr int kFrames = 6000;
constexpr double kRounding = 2e-14;  // of sums of 2048 products of some 1 / 45

Signal kernelOf(int taps, unsigned seed) {
  Signal kernel = noiseOf(taps, seed);
  for (double& h : kernel) h /= std::sqrt(taps);
  return kernel;
}

/// Runs `left` and `right` through in blocks of the lengths given, in turn; output k at 2k, 2k + 1.
std::vector<Signal> run(PartitionedConvolver& convolver, const Signal& left, const Signal& right,
                        int outputs, const std::vector<int>& blocks) {
  std::vector<Signal> out(2 * static_cast<std::size_t>(outputs), Signal(left.size()));
  std::size_t turn = 0;
  for (std::size_t done = 0; done < left.size();) {
    const auto frames =
        std::min(left.size() - done, static_cast<std::size_t>(blocks[turn++ % blocks.size()]));
    std::vector<double*> toLeft;
    std::vector<double*> toRight;
    for (std::size_t k = 0; k < out.size(); k += 2) {
      toLeft.push_back(out[k].data() + done);
      toRight.push_back(out[k + 1].data() + done);
    }
    processInRealTime(convolver, left.data() + done, right.data() + done, toLeft.data(),
                      toRight.data(), outputs, static_cast<int>(frames));
    done += frames;
  }
  return out;
}

TEST(PartitionedConvolver, IsTheSumOfTapsWithNoDelayAtAnyPhaseAndBlockLength) {
  const Signal left = noiseOf(kFrames, 1);
  const Signal right = noiseOf(kFrames, 2);
  for (const int taps : {512, 1024, 2048}) {
    const Signal kernels[] = {kernelOf(taps, 3), kernelOf(taps, 4)};
    const double* const pointers[] = {kernels[0].data(), kernels[1].data()};
    PartitionedConvolver convolver(taps, 3);
    convolver.setKernels(pointers, 2);
    for (const int phase : {0, 32, 100, 255}) {
      SCOPED_TRACE(testing::Message() << taps << " taps, phase " << phase);
      convolver.reset(phase);
      const auto out = run(convolver, left, right, 3, {64, 1, 7, 300, 33, 0, 2, 1000});
      for (std::size_t n = 0; n < kFrames; n += n < 600 ? 1 : 7) {
        for (std::size_t k = 0; k < 2; ++k) {
          ASSERT_NEAR(out[2 * k][n], convolvedAt(kernels[k], left, n), kRounding) << n;
          ASSERT_NEAR(out[2 * k + 1][n], convolvedAt(kernels[k], right, n), kRounding) << n;
        }
        ASSERT_EQ(out[4][n], 0.0) << "no third kernel";
      }
      convolver.reset(phase);
      EXPECT_EQ(run(convolver, left, right, 3, {kFrames}), out) << "blocks change nothing";
    }
  }
}

using Kernels = std::vector<Signal>;

Kernels kernelsOf(int taps, std::size_t count, std::mt19937& random) {
  Kernels kernels;
  while (kernels.size() < count) kernels.push_back(kernelOf(taps, static_cast<unsigned>(random())));
  return kernels;
}

void setKernels(PartitionedConvolver& convolver, const Kernels& kernels) {
  std::vector<const double*> pointers;
  for (const Signal& kernel : kernels) pointers.push_back(kernel.data());
  convolver.setKernels(pointers.data(), static_cast<int>(pointers.size()));
}

/// What is defined: each sample of the input goes through the kernels in force when it comes in.
struct PlainConvolver {
  std::vector<Kernels> sets;
  std::vector<std::size_t> met;  // per input sample, of `sets`

  /// The newest kernels are in force from the first cycle on that begins after `at`, or at once.
  void comeInForce(std::size_t at, std::size_t phase, std::size_t frames) {
    constexpr std::size_t kCycle = PartitionedConvolver::kPhases;
    const std::size_t toGo = kCycle - (at + phase / 32 * 32) % kCycle;
    const std::size_t from = at == 0 ? 0 : at + toGo;
    met.resize(frames);
    for (std::size_t n = from; n < frames; ++n) met[n] = sets.size() - 1;
  }
  [[nodiscard]] double outputAt(std::size_t k, const Signal& input, std::size_t n) const {
    const std::size_t taps = sets[0][0].size();
    double sum = 0.0;
    for (std::size_t t = 0; t < taps && t <= n; ++t) {
      const Kernels& kernels = sets[met[n - t]];
      if (k < kernels.size()) sum += kernels[k][t] * input[n - t];
    }
    return sum;
  }
};

/// Blocks of random lengths, some of them mono, some after a change of the kernels.
void compareWhileKernelsChange(int taps, std::size_t phase, unsigned seed) {
  constexpr std::size_t kOutputs = 3;
  std::mt19937 random(seed);
  const Signal left = noiseOf(kFrames, seed + 1);
  Signal right = noiseOf(kFrames, seed + 2);
  PartitionedConvolver convolver(taps, kOutputs);
  convolver.reset(static_cast<int>(phase));
  PlainConvolver plain;
  std::vector<Signal> out(2 * kOutputs, Signal(kFrames));
  std::vector<bool> stereo(kFrames, true);
  for (std::size_t at = 0; at < kFrames;) {
    // Often several times in a row in one cycle; and the last third rings out undisturbed.
    if (at == 0 || (at < 4000 && random() % 3 == 0)) {
      plain.sets.push_back(kernelsOf(taps, 1 + random() % kOutputs, random));
      setKernels(convolver, plain.sets.back());
      plain.comeInForce(at, phase, kFrames);
    }
    const std::size_t frames = std::min(random() % (random() % 4 == 0 ? 700 : 70), kFrames - at);
    const bool mono = random() % 5 == 0;
    std::array<double*, kOutputs> toLeft{};
    std::array<double*, kOutputs> toRight{};
    for (std::size_t k = 0; k < kOutputs; ++k) {
      toLeft[k] = &out[2 * k][at];
      toRight[k] = &out[2 * k + 1][at];
    }
    processInRealTime(convolver, &left[at], mono ? nullptr : &right[at], toLeft.data(),
                      toRight.data(), static_cast<int>(kOutputs), static_cast<int>(frames));
    for (const std::size_t end = at + frames; at < end; ++at) {
      stereo[at] = !mono;
      if (mono) right[at] = 0.0;
    }
  }
  for (std::size_t n = 0; n < kFrames; n += 3) {
    for (std::size_t k = 0; k < kOutputs; ++k) {
      ASSERT_NEAR(out[2 * k][n], plain.outputAt(k, left, n), kRounding) << n << ", kernel " << k;
      if (!stereo[n]) continue;
      ASSERT_NEAR(out[2 * k + 1][n], plain.outputAt(k, right, n), kRounding) << n << ", " << k;
    }
  }
}

TEST(PartitionedConvolver, EachInputSampleRingsOutThroughTheKernelsItMet) {
  for (const int taps : {512, 1024, 2048}) {
    for (const std::size_t phase : {0U, 100U}) {
      SCOPED_TRACE(testing::Message() << taps << " taps, phase " << phase);
      compareWhileKernelsChange(taps, phase, static_cast<unsigned>(taps) + 1);
    }
  }
}

TEST(PartitionedConvolver, ForgetsAtResetAndNeitherAllocatesNorLocks) {
  const Signal kernel = kernelOf(2048, 10);
  const double* const pointer = kernel.data();
  PartitionedConvolver convolver(2048, 1);
  convolver.setKernels(&pointer, 1);
  Signal left = noiseOf(kFrames, 11);
  Signal right = left;
  double* const toLeft = left.data();
  double* const toRight = right.data();
  processInRealTime(convolver, left.data(), right.data(), &toLeft, &toRight, 1, 500);
  convolver.setKernels(&pointer, 1);
  {
    const RealTimeCheck check;
    processInRealTime(convolver, left.data(), right.data(), &toLeft, &toRight, 1, kFrames);
    convolver.reset(64);
  }
  const Signal silence(kFrames);
  for (const Signal& out : run(convolver, silence, silence, 1, {77})) EXPECT_EQ(out, silence);
}

}  // namespace
