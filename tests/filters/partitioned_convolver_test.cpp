#include "filters/partitioned_convolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/support/plain_convolution.h"
#include "tests/support/realtime_guard.h"

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
    convolver.process(left.data() + done, right.data() + done, toLeft.data(), toRight.data(),
                      outputs, static_cast<int>(frames));
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

TEST(PartitionedConvolver, InPlaceMonoIsTheLeftChannelOfStereo) {
  const Signal kernel = kernelOf(2048, 5);
  const double* const pointer = kernel.data();
  PartitionedConvolver convolver(2048, 1);
  convolver.setKernels(&pointer, 1);
  Signal left = noiseOf(kFrames, 6);
  const Signal wanted = run(convolver, left, left, 1, {64})[0];
  convolver.reset();
  for (std::size_t done = 0; done < kFrames; done += 100) {
    double* const samples = left.data() + done;
    double* none = nullptr;
    convolver.process(samples, nullptr, &samples, &none, 1, 100);
  }
  for (std::size_t n = 0; n < kFrames; ++n) ASSERT_NEAR(left[n], wanted[n], kRounding) << n;
}

TEST(PartitionedConvolver, ChangesKernelsAsAWholeAtOneSample) {
  const Signal before = kernelOf(2048, 7);
  const Signal after = kernelOf(2048, 8);
  const Signal input = noiseOf(kFrames, 9);
  const double* pointer = before.data();
  for (const int change : {0, 1000, 2999}) {
    PartitionedConvolver convolver(2048, 1);
    convolver.reset(96);
    Signal out(kFrames);
    Signal unused(kFrames);
    for (int n = 0; n < kFrames; ++n) {
      if (n == 0) convolver.setKernels(&(pointer = before.data()), 1);
      if (n == change) convolver.setKernels(&(pointer = after.data()), 1);
      const auto at = static_cast<std::size_t>(n);
      double* const left = &out[at];
      double* const right = &unused[at];
      convolver.process(&input[at], &input[at], &left, &right, 1, 1);
    }
    int changed = 0;
    while (std::abs(out[static_cast<std::size_t>(changed)] -
                    convolvedAt(before, input, static_cast<std::size_t>(changed))) < kRounding) {
      ++changed;
    }
    EXPECT_GE(changed, change);
    EXPECT_LE(changed, change == 0 ? 0 : change + PartitionedConvolver::kPhases);
    for (auto n = static_cast<std::size_t>(changed); n < kFrames; n += 3) {
      ASSERT_NEAR(out[n], convolvedAt(after, input, n), kRounding) << n;
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
  {
    const RealtimeGuard guard;
    convolver.process(left.data(), right.data(), &toLeft, &toRight, 1, kFrames);
    convolver.reset(64);
    EXPECT_EQ(guard.heapCalls(), 0);
    EXPECT_EQ(guard.lockCalls(), 0);
  }
  const Signal silence(kFrames);
  for (const Signal& out : run(convolver, silence, silence, 1, {77})) EXPECT_EQ(out, silence);
}

}  // namespace
