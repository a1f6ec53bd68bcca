#include "filters/partitioned_convolver.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kVectorSlack = 8;  // what the vector kernels may read or write beyond a count

PlanarSpan offset(PlanarSpan span, int by) noexcept { return {span.re + by, span.im + by}; }

}  // namespace

PartitionedConvolver::Stage::Stage(int block, int partitions, int kernelCount)
    : blockSize(block),
      count(partitions),
      fft(PlanarFft::shared(2 * block)),
      inputs(partitions, 2 * block),
      work(3, 2 * block),
      outputs(kernelCount, block) {}

void PartitionedConvolver::Stage::clear() noexcept {
  inputs.clear();
  outputs.clear();
}

template <typename SpectraOf>
void PartitionedConvolver::Stage::run(ConstPlanarSpan end, int kernels,
                                      SpectraOf spectraOf) noexcept {
  // Overlap-save: of two blocks in, the second comes out whole.
  newest = (newest + count - 1) % count;
  fft.forward({end.re - 2 * blockSize, end.im - 2 * blockSize}, inputs[newest], work[2]);
  std::array<ConstPlanarSpan, kMaxPartitions> x;
  std::array<ConstPlanarSpan, kMaxPartitions> h;
  for (int j = 0; j < count; ++j) x[static_cast<std::size_t>(j)] = inputs[(newest + j) % count];
  for (int kernel = 0; kernel < kernels; ++kernel) {
    const PlanarArrays& spectra = spectraOf(kernel);
    for (int j = 0; j < count; ++j) h[static_cast<std::size_t>(j)] = spectra[j];
    vectorKernels().multiplySpectra(x.data(), h.data(), count, work[0], 2 * blockSize);
    fft.backward(work[0], work[1], work[2]);
    std::copy_n(work[1].re + blockSize, blockSize, outputs[kernel].re);
    std::copy_n(work[1].im + blockSize, blockSize, outputs[kernel].im);
  }
}

PartitionedConvolver::KernelSet::KernelSet(int smallPartitions, int largePartitions,
                                           int kernelCount)
    : kernels(static_cast<std::size_t>(kernelCount)) {
  for (Spectra& spectra : kernels) {
    spectra.small = PlanarArrays(smallPartitions, 2 * kSmall);
    spectra.large = PlanarArrays(largePartitions, 2 * kLarge);
  }
}

PartitionedConvolver::PartitionedConvolver(int tapCount, int kernelCount)
    : small(kSmall, kLarge / kSmall - 1, kernelCount),
      large(kLarge, tapCount / kLarge - 1, kernelCount),
      exchange(small.count, large.count, kernelCount),
      past(1, 2 * kLarge + kVectorSlack),
      loading(3, 2 * kLarge) {}

void PartitionedConvolver::setKernels(const double* const* kernels, int count) noexcept {
  KernelSet& set = exchange.spare();
  set.count = std::min(count, static_cast<int>(set.kernels.size()));
  for (int k = 0; k < set.count; ++k) {
    Spectra& spectra = set.kernels[static_cast<std::size_t>(k)];
    std::copy_n(kernels[k], kHead, spectra.head.data());
    loadPartitions(kernels[k], small, spectra.small);
    loadPartitions(kernels[k], large, spectra.large);
  }
  exchange.publish();
}

void PartitionedConvolver::loadPartitions(const double* taps, const Stage& stage,
                                          const PlanarArrays& spectra) noexcept {
  const int block = stage.blockSize;
  const PlanarSpan padded = loading[0];
  for (int j = 0; j < stage.count; ++j) {
    // The head, or the partitions of the stage before, hold the first block of taps.
    const double* const partition = taps + static_cast<std::ptrdiff_t>(j + 1) * block;
    const double scale = 0.5 / block;  // of a forward and a backward transform
    std::transform(partition, partition + block, padded.re,
                   [scale](double h) { return h * scale; });
    std::fill_n(padded.re + block, block, 0.0);
    std::fill_n(padded.im, 2 * block, 0.0);
    stage.fft.forward(padded, spectra[j], loading[2]);
  }
}

void PartitionedConvolver::reset(int phase) noexcept {
  small.clear();
  large.clear();
  past.clear();
  position = phase % kLarge / kSmall * kSmall;
  silent = true;
}

void PartitionedConvolver::process(const double* left, const double* right, double* const* outLeft,
                                   double* const* outRight, int outputs, int frames) noexcept {
  if (frames <= 0) return;
  // With no past to convolve, any sample is as good a place to change kernels as another.
  if (silent) exchange.take();
  silent = false;
  std::array<double*, 8> toLeft{};
  std::array<double*, 8> toRight{};
  for (int done = 0; done < frames;) {
    const int chunk = std::min(frames - done, kSmall - position % kSmall);
    for (std::size_t k = 0; k < static_cast<std::size_t>(outputs); ++k) {
      toLeft[k] = outLeft[k] + done;
      toRight[k] = right == nullptr ? nullptr : outRight[k] + done;
    }
    processChunk(left + done, right == nullptr ? nullptr : right + done, toLeft.data(),
                 toRight.data(), outputs, chunk);
    done += chunk;
  }
}

void PartitionedConvolver::processChunk(const double* left, const double* right,
                                        double* const* outLeft, double* const* outRight,
                                        int outputs, int frames) noexcept {
  const PlanarSpan newest = offset(past[0], kLarge + position);
  std::copy_n(left, frames, newest.re);
  if (right == nullptr) {
    std::fill_n(newest.im, frames, 0.0);
  } else {
    std::copy_n(right, frames, newest.im);
  }
  const KernelSet& set = exchange.active();
  for (int k = 0; k < outputs; ++k) {
    if (k < set.count) {
      convolveChunk(k, set.kernels[static_cast<std::size_t>(k)].head.data(), outLeft[k],
                    outRight[k], frames);
    } else {
      std::fill_n(outLeft[k], frames, 0.0);
      if (outRight[k] != nullptr) std::fill_n(outRight[k], frames, 0.0);
    }
  }
  position += frames;
  if (position % kSmall == 0) endOfBlock();
}

void PartitionedConvolver::convolveChunk(int kernel, const double* taps, double* left,
                                         double* right, int frames) noexcept {
  std::array<double, kSmall + kVectorSlack> head;
  const PlanarSpan newest = offset(past[0], kLarge + position);
  const PlanarSpan nearPart = offset(small.outputs[kernel], position % kSmall);
  const PlanarSpan farPart = offset(large.outputs[kernel], position);
  vectorKernels().fir(taps, kHead, newest.re, head.data(), frames);
  for (int i = 0; i < frames; ++i) {
    left[i] = head[static_cast<std::size_t>(i)] + nearPart.re[i] + farPart.re[i];
  }
  if (right == nullptr) return;
  vectorKernels().fir(taps, kHead, newest.im, head.data(), frames);
  for (int i = 0; i < frames; ++i) {
    right[i] = head[static_cast<std::size_t>(i)] + nearPart.im[i] + farPart.im[i];
  }
}

void PartitionedConvolver::endOfBlock() noexcept {
  const bool endOfLarge = position == kLarge;
  // Only here all partitions start afresh together.
  if (endOfLarge) exchange.take();
  const KernelSet& set = exchange.active();
  const PlanarSpan end = offset(past[0], kLarge + position);
  const auto spectra = [&set](int k) -> const Spectra& {
    return set.kernels[static_cast<std::size_t>(k)];
  };
  small.run(end, set.count, [&](int k) -> const PlanarArrays& { return spectra(k).small; });
  if (!endOfLarge) return;
  large.run(end, set.count, [&](int k) -> const PlanarArrays& { return spectra(k).large; });
  for (double* const channel : {past[0].re, past[0].im}) {
    std::copy_n(channel + kLarge, kLarge, channel);
  }
  position = 0;
}
