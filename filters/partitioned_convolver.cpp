#include "filters/partitioned_convolver.h"

#include <algorithm>
#include <cstddef>
#include <utility>

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

/// Writes `block` samples, followed by as many zeros.
void pad(ConstPlanarSpan from, PlanarSpan to, int block) noexcept {
  std::copy_n(from.re, block, to.re);
  std::copy_n(from.im, block, to.im);
  std::fill_n(to.re + block, block, 0.0);
  std::fill_n(to.im + block, block, 0.0);
}

/// The spectra of partitions of `block` taps, from the second one on: the first block belongs to
/// the head or to the smaller partitions.
void loadPartitions(const double* taps, int block, int partitions, const PlanarArrays& spectra,
                    int first) {
  const PlanarFft& fft = PlanarFft::shared(2 * block);
  const PlanarArrays work(2, 2 * block);
  const PlanarSpan padded = work[0];
  const double scale = 0.5 / block;  // undoes the gain of both transforms
  for (int j = 0; j < partitions; ++j) {
    const double* const partition = taps + static_cast<std::ptrdiff_t>(j + 1) * block;
    std::transform(partition, partition + block, padded.re,
                   [scale](double h) { return h * scale; });
    fft.forward(padded, spectra[first + j], work[1]);
  }
}

}  // namespace

PartitionedKernels::PartitionedKernels(const double* const* kernels, int count, int tapCount)
    : largePartitions(tapCount / kLarge - 1),
      heads(static_cast<std::size_t>(count)),
      smallSpectra(count * kSmallPartitions, 2 * kSmall),
      largeSpectra(count * largePartitions, 2 * kLarge) {
  for (int k = 0; k < count; ++k) {
    std::copy_n(kernels[k], kHead, heads[at(k)].data());
    loadPartitions(kernels[k], kSmall, kSmallPartitions, smallSpectra, k * kSmallPartitions);
    loadPartitions(kernels[k], kLarge, largePartitions, largeSpectra, k * largePartitions);
  }
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
PartitionedConvolver::Stage<blockSize, spectrumOf>::Stage(int partitions, int kernelCount)
    : count(partitions),
      fft(PlanarFft::shared(2 * blockSize)),
      inputs(partitions, 2 * blockSize),
      parts(2 * kernelCount, 2 * blockSize),
      ringing(static_cast<std::size_t>(kernelCount)) {}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
PlanarArrays PartitionedConvolver::Stage<blockSize, spectrumOf>::ring() const {
  return {static_cast<int>(ringing.size()) * count, 2 * blockSize};
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
PlanarSpan PartitionedConvolver::Stage<blockSize, spectrumOf>::tail(int kernel) const noexcept {
  return offset(parts[2 * kernel + (turn ^ 1)], blockSize);
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
bool PartitionedConvolver::Stage<blockSize, spectrumOf>::rings() const noexcept {
  return std::ranges::any_of(ringing, [](int runs) { return runs > 0; });
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
void PartitionedConvolver::Stage<blockSize, spectrumOf>::clear() noexcept {
  parts.clear();
  std::fill(ringing.begin(), ringing.end(), 0);
  known = 0;
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
void PartitionedConvolver::Stage<blockSize, spectrumOf>::clearRight(
    const PlanarArrays* retired) noexcept {
  parts.clearImaginary();
  for (const PlanarArrays* const spectra : {&std::as_const(inputs), retired}) {
    for (int i = 0; spectra != nullptr && i < spectra->count(); ++i) {
      fft.keepRealSignal((*spectra)[i]);
    }
  }
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
void PartitionedConvolver::Stage<blockSize, spectrumOf>::run(ConstPlanarSpan block,
                                                             const PartitionedKernels* kernels,
                                                             const PlanarArrays* retired) noexcept {
  PlanarScratch<2, 2 * blockSize> work;
  newest = (newest + count - 1) % count;
  known = std::min(known + 1, count);
  turn ^= 1;
  pad(block, work[0], blockSize);
  fft.forward(work[0], inputs[newest], work[1]);
  const int kernelCount = kernels == nullptr ? 0 : kernels->count();
  std::array<ConstPlanarSpan, kMaxPartitions> x;
  std::array<ConstPlanarSpan, kMaxPartitions> h;
  for (int j = 0; j < known; ++j) x[at(j)] = inputs[(newest + j) % count];
  for (int kernel = 0; kernel < static_cast<int>(ringing.size()); ++kernel) {
    const bool former = ringing[at(kernel)] > 0;
    if (kernel >= kernelCount && !former) continue;
    const int terms = kernel < kernelCount ? known : 0;
    for (int j = 0; j < terms; ++j) h[at(j)] = (kernels->*spectrumOf)(kernel, j);
    vectorKernels().multiplySpectra(x.data(), h.data(), terms, work[0], 2 * blockSize);
    if (former) addRetired(kernel, work[0], *retired);
    fft.backward(work[0], fresh(kernel), work[1]);
  }
  due = (due + 1) % count;
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
void PartitionedConvolver::Stage<blockSize, spectrumOf>::addRetired(
    int kernel, PlanarSpan sum, const PlanarArrays& retired) noexcept {
  --ringing[at(kernel)];
  const PlanarSpan part = retired[kernel * count + due];
  addTo(sum, part, 2 * blockSize);
  std::fill_n(part.re, 2 * blockSize, 0.0);
  std::fill_n(part.im, 2 * blockSize, 0.0);
}

template <int blockSize, PartitionedConvolver::SpectrumOf spectrumOf>
void PartitionedConvolver::Stage<blockSize, spectrumOf>::retire(
    const PartitionedKernels& kernels, const PlanarArrays& retired) noexcept {
  PlanarScratch<1, 2 * blockSize> work;
  std::array<ConstPlanarSpan, kMaxPartitions> x;
  std::array<ConstPlanarSpan, kMaxPartitions> h;
  for (int j = 0; j < known; ++j) x[at(j)] = inputs[(newest + j) % count];
  for (int kernel = 0; kernel < kernels.count(); ++kernel) {
    for (int j = 0; j < count; ++j) h[at(j)] = (kernels.*spectrumOf)(kernel, j);
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

PartitionedConvolver::PartitionedConvolver(int tapCount, int kernelCount)
    : taps(tapCount),
      small(PartitionedKernels::kSmallPartitions, kernelCount),
      large(tapCount / kLarge - 1, kernelCount),
      past(1, kHead + kLarge) {}

void PartitionedConvolver::setKernels(const double* const* kernels, int count) {
  const int most = std::min(count, static_cast<int>(small.ringing.size()));
  setKernels(std::make_shared<const PartitionedKernels>(kernels, most, taps));
}

void PartitionedConvolver::setKernels(std::shared_ptr<const PartitionedKernels> kernels) {
  auto load = std::make_unique<Load>();
  load->kernels = std::move(kernels);
  collect();
  if (!handover.present().empty()) {
    load->ringOut = std::make_unique<RingOut>(RingOut{small.ring(), large.ring()});
  }
  handover.makeRoom();
  handover.withdraw();
  if (handover.present().empty()) load->ringOut = nullptr;
  handover.publish(std::move(load));
}

void PartitionedConvolver::collect() noexcept {
  handover.collect();
  for (const auto& load : handover.present()) {
    // Acquire: the audio thread has finished with it.
    if (load->isRingUnused.load(std::memory_order_acquire)) load->ringOut.reset();
  }
}

void PartitionedConvolver::reset(int phase) noexcept {
  small.clear();
  large.clear();
  endRinging();
  past.clear();
  position = phase % kLarge / kSmall * kSmall;
  silent = true;
}

void PartitionedConvolver::resetRight() noexcept {
  const RingOut* const rings = ringing == nullptr ? nullptr : ringing->ringOut.get();
  small.clearRight(rings == nullptr ? nullptr : &rings->small);
  large.clearRight(rings == nullptr ? nullptr : &rings->large);
  past.clearImaginary();
}

void PartitionedConvolver::process(const double* left, const double* right, double* const* outLeft,
                                   double* const* outRight, int outputs, int frames) noexcept {
  if (frames <= 0) return;
  // With no past to convolve, kernels can be changed at any sample.
  if (silent && handover.waiting()) takeKernels();
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
  const int kernelCount = static_cast<int>(small.ringing.size());
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
  const PartitionedKernels* const kernels = active();
  const PlanarSpan newest = offset(past[0], kHead + position);
  const int inSmall = position % kSmall;
  const auto convolve = [&](double* PlanarSpan::*part, double* out) {
    std::array<double, kSmall + kVectorSlack> head;
    if (kernels != nullptr && kernel < kernels->count()) {
      vectorKernels().fir(kernels->head(kernel), kHead, newest.*part, head.data(), frames);
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
  const RingOut* const rings = ringing == nullptr ? nullptr : ringing->ringOut.get();
  small.run(offset(past[0], kHead + position - kSmall), active(),
            rings == nullptr ? nullptr : &rings->small);
  if (position != kLarge) return;
  large.run(offset(past[0], kHead), active(), rings == nullptr ? nullptr : &rings->large);
  for (double* const channel : {past[0].re, past[0].im}) {
    std::copy_n(channel + kLarge, kHead, channel);
  }
  position = 0;
  if (ringing != nullptr && !small.rings() && !large.rings()) endRinging();
  // Kernels change only where blocks of both sizes begin, so that each block meets one set.
  if (handover.waiting()) takeKernels();
}

void PartitionedConvolver::takeKernels() noexcept {
  Load* const next = handover.take();
  if (next == nullptr) return;
  if (!silent) retireKernels(*next);
  if (next != ringing) next->isRingUnused.store(true, std::memory_order_release);
  if (current != ringing) handover.giveBack(current);
  current = next;
}

void PartitionedConvolver::retireKernels(Load& next) noexcept {
  double* const samples[] = {past[0].re, past[0].im};
  if (current == nullptr) {
    small.known = large.known = 0;
  } else {
    if (ringing == nullptr) ringing = &next;
    const PartitionedKernels& old = *current->kernels;
    small.retire(old, ringing->ringOut->small);
    large.retire(old, ringing->ringOut->large);
    // The direct taps reach back: what they would still add is output with the next small block.
    for (double* const channel : samples) {
      std::fill_n(channel + kHead, kHead + kVectorSlack, 0.0);
      for (int k = 0; k < old.count(); ++k) {
        std::array<double, kHead + kVectorSlack> rest;
        vectorKernels().fir(old.head(k), kHead, channel + kHead, rest.data(), kHead);
        const PlanarSpan sum = small.fresh(k);
        addTo(channel == samples[0] ? sum.re : sum.im, rest.data(), kHead);
      }
    }
  }
  for (double* const channel : samples) std::fill_n(channel, kHead, 0.0);
}

void PartitionedConvolver::endRinging() noexcept {
  if (ringing == nullptr) return;
  if (ringing == current) {
    current->isRingUnused.store(true, std::memory_order_release);
  } else {
    handover.giveBack(ringing);
  }
  ringing = nullptr;
}
