#include "filters/crossover.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/index.h"
#include "platform/prefetch.h"

BlockedKernels::BlockedKernels(const double* const* kernels, int bandCount)
    : lineCount(std::clamp(bandCount, 1, CrossoverEngine::kBands) - 1),
      spectra(2 * lineCount, 2 * kBlock) {
  const PlanarFft& fft = PlanarFft::shared(2 * kBlock);
  const PlanarArrays work(2, 2 * kBlock);
  constexpr double kScale = 0.5 / kBlock;
  for (int half = 0; half < 2 * lineCount; ++half) {
    const double* const taps = kernels[half / 2] + static_cast<std::ptrdiff_t>(half % 2) * kBlock;
    std::transform(taps, taps + kBlock, work[0].re, [](double h) { return h * kScale; });
    fft.forward(work[0], spectra[half], work[1]);
  }
}

Crossover_WithLatency::Crossover_WithLatency() : fft(PlanarFft::shared(2 * kBlock)) {}

void Crossover_WithLatency::setKernels(const double* const* kernels, int bandCount) {
  setKernels(std::make_shared<const BlockedKernels>(kernels, bandCount));
}

void Crossover_WithLatency::setKernels(std::shared_ptr<const BlockedKernels> kernels) {
  for (int band = 0; band < kernels->lines(); ++band) {
    if (lines[at(band)].count() == 0) lines[at(band)] = Line(3, kBlock);
  }
  auto load = std::make_unique<Load>();
  load->kernels = std::move(kernels);
  handover.publish(std::move(load));
}

void Crossover_WithLatency::reset() noexcept {
  // Lines begin anew where a block has none before it.
  input.clear();
  spectra.clear();
  counts.fill(0);
  handover.giveBack(std::exchange(former, nullptr));
  position = start = 0;
}

void Crossover_WithLatency::resetRight() noexcept {
  input.clearImaginary();
  for (int band = 0; band < linesUsed; ++band) lines[at(band)].clearImaginary();
  for (int block = 0; block < 2; ++block) fft.keepRealSignal(spectra[block]);
}

void Crossover_WithLatency::process(const double* left, const double* right,
                                    double* const* bandLeft, double* const* bandRight,
                                    int bandCount, int frames) noexcept {
  const bool mono = right == nullptr;
  fetchAhead(frames);
  for (int done = 0; done < frames;) {
    const int chunk = std::min(frames - done, kSpan - position % kSpan);
    takeInput(left + done, mono ? nullptr : right + done, chunk);
    emit(bandLeft, bandRight, bandCount, done, chunk, mono);
    position += chunk;
    done += chunk;
    if (position % kSpan == 0) endOfSpan(frames - done);
  }
}

void Crossover_WithLatency::takeInput(const double* left, const double* right,
                                      int frames) noexcept {
  const int place = start + position;
  const auto take = [place, frames](const double* from, double* ring) {
    if (from == nullptr) {
      std::fill_n(ring + place, frames, 0.0);
    } else {
      std::copy_n(from, frames, ring + place);
    }
    if (place == 0) ring[kRing] = ring[0];
  };
  take(left, input[0].re);
  take(right, input[0].im);
}

void Crossover_WithLatency::emit(double* const* bandLeft, double* const* bandRight, int bandCount,
                                 int done, int frames, bool mono) noexcept {
  const int top = std::min(bandCount - 1, counts[at(out)]);
  const auto emitChannel = [&](double* const* bands, const double* delayed,
                               double* PlanarSpan::*part) {
    double* const rest = bands[top] + done;
    std::copy_n(delayed, frames, rest);
    for (int band = 0; band < top; ++band) {
      const double* const line = lines[at(band)][out].*part + position;
      double* const to = bands[band] + done;
      for (int i = 0; i < frames; ++i) {
        to[i] = line[i];
        rest[i] -= line[i];
      }
    }
    for (int band = top + 1; band < bandCount; ++band) std::fill_n(bands[band] + done, frames, 0.0);
  };
  const int delayed = placeBefore(kDelay);
  emitChannel(bandLeft, input[0].re + delayed, &PlanarSpan::re);
  if (!mono) emitChannel(bandRight, input[0].im + delayed, &PlanarSpan::im);
}

/// Starts to load what the next frames output, up to the end of the span.
void Crossover_WithLatency::fetchAhead(int frames) const noexcept {
  const int count = std::min(frames, kSpan - position % kSpan);
  for (int band = 0; band < counts[at(out)]; ++band) {
    const PlanarSpan line = lines[at(band)][out];
    prefetch(line.re + position, count);
    prefetch(line.im + position, count);
  }
}

void Crossover_WithLatency::endOfSpan(int framesLeft) noexcept {
  if (position < kBlock) fetchAhead(framesLeft);
  // The first sample of this block completed the input block now being worked on.
  const int turn = position / kSpan - 1;
  if (turn == 0) {
    takeKernels();
    transformInput();
  } else if (turn <= counts[at(out ^ 1)]) {
    transformBand(turn - 1);
  }
  if (position < kBlock) return;
  position = 0;
  start = (start + kBlock) % kRing;
  out ^= 1;
}

void Crossover_WithLatency::takeKernels() noexcept {
  handover.giveBack(std::exchange(former, nullptr));
  if (Load* const next = handover.take()) former = std::exchange(current, next);
  const int count = current == nullptr ? 0 : current->kernels->lines();
  linesUsed = std::max(linesUsed, count);
  counts[at(out ^ 1)] = count;
  addTails(counts[at(out)], count);
}

void Crossover_WithLatency::transformInput() noexcept {
  const int first = placeBefore(kBlock - 1 + kSpan);
  PlanarScratch<2, 2 * kBlock> work;
  const PlanarSpan padded = work[0];
  std::copy_n(input[0].re + first, kBlock, padded.re);
  std::copy_n(input[0].im + first, kBlock, padded.im);
  std::fill_n(padded.re + kBlock, kBlock, 0.0);
  std::fill_n(padded.im + kBlock, kBlock, 0.0);
  newest ^= 1;
  fft.forward(padded, spectra[newest], work[1]);
}

/// Begins the tails of lines that the last block did not have.
void Crossover_WithLatency::addTails(int before, int count) noexcept {
  for (int band = before; band < count; ++band) {
    for (double* PlanarSpan::*const part : {&PlanarSpan::re, &PlanarSpan::im}) {
      double* const tail = lines[at(band)][kTail].*part;
      std::fill_n(tail, kBlock, 0.0);
      if (band != before) continue;
      // Until now this was the top band, whose kernel has its impulse at the first tap of the
      // second half: what it still adds is the rest of the last blocks.
      for (int below = 0; below < before; ++below) {
        const double* const taken = lines[at(below)][kTail].*part;
        for (int i = 0; i < kBlock; ++i) tail[i] -= taken[i];
      }
    }
  }
}

/// What the block before adds to this one: its product with the second halves of the kernels that
/// it met, for a line it did not have as in `addTails`.
void Crossover_WithLatency::carryOver(int band, PlanarSpan sum, PlanarSpan work) const noexcept {
  const ConstPlanarSpan x = spectra[newest ^ 1];
  const int before = counts[at(out)];
  const Load* const met = former == nullptr ? current : former;
  const auto product = [&](int line, PlanarSpan to) {
    const ConstPlanarSpan h = met->kernels->far(line);
    vectorKernels().multiplySpectra(&x, &h, 1, to, 2 * kBlock);
  };
  if (band < before) return product(band, sum);
  if (band > before) {
    std::fill_n(sum.re, 2 * kBlock, 0.0);
    std::fill_n(sum.im, 2 * kBlock, 0.0);
    return;
  }
  for (int i = 0; i < 2 * kBlock; ++i) {
    sum.re[i] = x.re[i] * kScale;
    sum.im[i] = x.im[i] * kScale;
  }
  for (int below = 0; below < before; ++below) {
    product(below, work);
    for (int i = 0; i < 2 * kBlock; ++i) {
      sum.re[i] -= work.re[i];
      sum.im[i] -= work.im[i];
    }
  }
}

void Crossover_WithLatency::transformBand(int band) noexcept {
  // Overlap-add, not overlap-save: an input block stays with the kernels it met first.
  PlanarScratch<3, 2 * kBlock> work;
  const Line& line = lines[at(band)];
  const auto fetchPart = [&line](int part) {
    prefetch(line[part].re, kBlock);
    prefetch(line[part].im, kBlock);
  };
  fetchPart(kTail);
  const ConstPlanarSpan x = spectra[newest];
  const ConstPlanarSpan near = current->kernels->near(band);
  vectorKernels().multiplySpectra(&x, &near, 1, work[0], 2 * kBlock);
  carryOver(band, work[1], work[2]);
  const auto add = [](const double* from, double* to, int count) {
    for (int i = 0; i < count; ++i) to[i] += from[i];
  };
  add(work[1].re, work[0].re, 2 * kBlock);
  add(work[1].im, work[0].im, 2 * kBlock);
  fetchPart(out ^ 1);
  fft.backward(work[0], work[1], work[2]);
  for (double* PlanarSpan::*const part : {&PlanarSpan::re, &PlanarSpan::im}) {
    const double* const whole = work[1].*part;
    double* const samples = line[out ^ 1].*part;
    double* const tail = line[kTail].*part;
    for (int i = 0; i < kBlock; ++i) samples[i] = whole[i] + tail[i];
    std::copy_n(whole + kBlock, kBlock, tail);
  }
}
