#include "filters/partitioned_convolver.h"

#include <algorithm>
#include <cstddef>
#include <functional>

#include "platform/index.h"

namespace {

constexpr int kVectorSlack = 8;  // what the vector kernels may read or write beyond a count

PlanarSpan offset(PlanarSpan span, int by) noexcept { return {span.re + by, span.im + by}; }

void addTo(double* sum, const double* x, int count) noexcept {
  for (int i = 0; i < count; ++i) sum[i] += x[i];
}

void addTo(PlanarSpan sum, ConstPlanarSpan x, int count) noexcept {
  addTo(sum.re, x.re, count);
  addTo(sum.im, x.im, count);
}

}  // namespace

PartitionedConvolver::Stage::Stage(int block, int partitions, int kernelCount)
    : blockSize(block),
      count(partitions),
      fft(PlanarFft::shared(2 * block)),
      inputs(partitions, 2 * block),
      work(2, 2 * block),
      parts(2 * kernelCount, 2 * block),
      retired(kernelCount * partitions, 2 * block),
      ringing(static_cast<std::size_t>(kernelCount)) {}

PlanarSpan PartitionedConvolver::Stage::tail(int kernel) const noexcept {
  return offset(parts[2 * kernel + (turn ^ 1)], blockSize);
}

void PartitionedConvolver::Stage::clear() noexcept {
  parts.clear();
  retired.clear();
  std::fill(ringing.begin(), ringing.end(), 0);
  known = 0;
}

void PartitionedConvolver::Stage::clearRight() noexcept {
  parts.clearImaginary();
  for (const PlanarArrays* const spectra : {&inputs, &retired}) {
    for (int i = 0; i < spectra->count(); ++i) fft.keepRealSignal((*spectra)[i]);
  }
}

template <typename SpectraOf>
void PartitionedConvolver::Stage::run(ConstPlanarSpan padded, int kernels,
                                      SpectraOf spectraOf) noexcept {
  newest = (newest + count - 1) % count;
  known = std::min(known + 1, count);
  turn ^= 1;
  fft.forward(padded, inputs[newest], work[1]);
  std::array<ConstPlanarSpan, kMaxPartitions> x;
  std::array<ConstPlanarSpan, kMaxPartitions> h;
  for (int j = 0; j < known; ++j) x[at(j)] = inputs[(newest + j) % count];
  for (int kernel = 0; kernel < static_cast<int>(ringing.size()); ++kernel) {
    const bool former = ringing[at(kernel)] > 0;
    if (kernel >= kernels && !former) continue;
    const int terms = kernel < kernels ? known : 0;
    for (int j = 0; j < terms; ++j) h[at(j)] = spectraOf(kernel)[j];
    vectorKernels().multiplySpectra(x.data(), h.data(), terms, work[0], 2 * blockSize);
    if (former) addRetired(kernel, work[0]);
    fft.backward(work[0], fresh(kernel), work[1]);
  }
  due = (due + 1) % count;
}

void PartitionedConvolver::Stage::addRetired(int kernel, PlanarSpan sum) noexcept {
  --ringing[at(kernel)];
  const PlanarSpan part = retired[kernel * count + due];
  addTo(sum, part, 2 * blockSize);
  std::fill_n(part.re, 2 * blockSize, 0.0);
  std::fill_n(part.im, 2 * blockSize, 0.0);
}

template <typename SpectraOf>
void PartitionedConvolver::Stage::retire(int kernels, SpectraOf spectraOf) noexcept {
  std::array<ConstPlanarSpan, kMaxPartitions> x;
  std::array<ConstPlanarSpan, kMaxPartitions> h;
  for (int j = 0; j < known; ++j) x[at(j)] = inputs[(newest + j) % count];
  for (int kernel = 0; kernel < kernels; ++kernel) {
    for (int j = 0; j < count; ++j) h[at(j)] = spectraOf(kernel)[j];
    // The next run uses the newest block with partition 1, and so on.
    for (int ahead = 0; ahead + 1 < count; ++ahead) {
      const int terms = std::min(known, count - 1 - ahead);
      vectorKernels().multiplySpectra(x.data(), h.data() + ahead + 1, terms, work[0],
                                      2 * blockSize);
      addTo(retired[kernel * count + (due + ahead) % count], work[0], 2 * blockSize);
    }
    // One run per partition, and two more to leave silence in both parts.
    ringing[at(kernel)] = count + 1;
  }
  known = 0;
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
      past(1, kHead + 2 * kLarge),
      smallBlock(1, 2 * kSmall),
      loading(3, 2 * kLarge) {}

void PartitionedConvolver::setKernels(const double* const* kernels, int count) noexcept {
  KernelSet& set = exchange.spare();
  set.count = std::min(count, static_cast<int>(set.kernels.size()));
  for (int k = 0; k < set.count; ++k) {
    Spectra& spectra = set.kernels[at(k)];
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
    // The first block of taps belongs to the head or to the stage before.
    const double* const partition = taps + static_cast<std::ptrdiff_t>(j + 1) * block;
    const double scale = 0.5 / block;  // undoes the gain of both transforms
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

void PartitionedConvolver::resetRight() noexcept {
  small.clearRight();
  large.clearRight();
  past.clearImaginary();
}

void PartitionedConvolver::process(const double* left, const double* right, double* const* outLeft,
                                   double* const* outRight, int outputs, int frames) noexcept {
  if (frames <= 0) return;
  // With no past to convolve, kernels can be changed at any sample.
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
  const PlanarSpan newest = offset(past[0], kHead + position);
  std::copy_n(left, frames, newest.re);
  if (right == nullptr) {
    std::fill_n(newest.im, frames, 0.0);
  } else {
    std::copy_n(right, frames, newest.im);
  }
  const int kernelCount = static_cast<int>(exchange.active().kernels.size());
  for (int k = 0; k < outputs; ++k) {
    if (k < kernelCount) {
      convolveChunk(k, outLeft[k], outRight[k], frames);
    } else {
      std::fill_n(outLeft[k], frames, 0.0);
      if (outRight[k] != nullptr) std::fill_n(outRight[k], frames, 0.0);
    }
  }
  position += frames;
  if (position % kSmall == 0) endOfBlock();
}

void PartitionedConvolver::convolveChunk(int kernel, double* left, double* right,
                                         int frames) noexcept {
  const KernelSet& set = exchange.active();
  const PlanarSpan newest = offset(past[0], kHead + position);
  const int inSmall = position % kSmall;
  const auto convolve = [&](double* PlanarSpan::*part, double* out) {
    std::array<double, kSmall + kVectorSlack> head;
    if (kernel < set.count) {
      const double* const taps = set.kernels[at(kernel)].head.data();
      vectorKernels().fir(taps, kHead, newest.*part, head.data(), frames);
    } else {
      head.fill(0.0);
    }
    const double* const near = small.fresh(kernel).*part + inSmall;
    const double* const nearTail = small.tail(kernel).*part + inSmall;
    const double* const far = large.fresh(kernel).*part + position;
    const double* const farTail = large.tail(kernel).*part + position;
    for (int i = 0; i < frames; ++i) {
      out[i] = head[at(i)] + near[i] + nearTail[i] + far[i] + farTail[i];
    }
  };
  convolve(&PlanarSpan::re, left);
  if (right != nullptr) convolve(&PlanarSpan::im, right);
}

void PartitionedConvolver::endOfBlock() noexcept {
  const KernelSet& set = exchange.active();
  const PlanarSpan present = offset(past[0], kHead);
  std::copy_n(present.re + position - kSmall, kSmall, smallBlock[0].re);
  std::copy_n(present.im + position - kSmall, kSmall, smallBlock[0].im);
  small.run(smallBlock[0], set.count, set.smallSpectra());
  if (position != kLarge) return;
  large.run(present, set.count, set.largeSpectra());
  for (double* const channel : {past[0].re, past[0].im}) {
    std::copy_n(channel + kLarge, kHead, channel);
  }
  position = 0;
  // Kernels change only where blocks of both sizes begin, so that each block meets one set.
  if (exchange.waiting()) changeKernels();
}

void PartitionedConvolver::changeKernels() noexcept {
  const KernelSet& old = exchange.active();
  small.retire(old.count, old.smallSpectra());
  large.retire(old.count, old.largeSpectra());
  for (double* PlanarSpan::*const part : {&PlanarSpan::re, &PlanarSpan::im}) {
    // The direct taps reach back: what they would still add is output with the next small block.
    double* const samples = past[0].*part;
    std::fill_n(samples + kHead, kHead + kVectorSlack, 0.0);
    for (int k = 0; k < old.count; ++k) {
      std::array<double, kHead + kVectorSlack> rest;
      const double* const taps = old.kernels[at(k)].head.data();
      vectorKernels().fir(taps, kHead, samples + kHead, rest.data(), kHead);
      addTo(small.fresh(k).*part, rest.data(), kHead);
    }
    std::fill_n(samples, kHead, 0.0);
  }
  exchange.take();
}
