#include "filters/crossover.h"

#include <algorithm>
#include <cstddef>

#include "platform/index.h"

Crossover_WithLatency::Crossover_WithLatency() : fft(PlanarFft::shared(2 * kBlock)) {}

void Crossover_WithLatency::setKernels(const double* const* kernels, int bandCount) noexcept {
  KernelSet& set = exchange.spare();
  set.lines = std::clamp(bandCount, 1, kBands) - 1;
  const PlanarSpan padded = loading[0];
  std::fill_n(padded.im, 2 * kBlock, 0.0);
  for (int partition = 0; partition < set.lines * kPartitions; ++partition) {
    const double* const taps = kernels[partition / kPartitions] +
                               static_cast<std::ptrdiff_t>(partition % kPartitions) * kBlock;
    std::transform(taps, taps + kBlock, padded.re, [](double h) { return h * kScale; });
    std::fill_n(padded.re + kBlock, kBlock, 0.0);
    fft.forward(padded, set.spectra[partition], loading[2]);
  }
  exchange.publish();
}

void Crossover_WithLatency::reset() noexcept {
  for (PlanarArrays* const past : {&input, &spectrum, &carried, &tails}) past->clear();
  for (Lines& block : lines) {
    block.samples.clear();
    block.count = 0;
  }
  position = 0;
}

void Crossover_WithLatency::resetRight() noexcept {
  for (PlanarArrays* const samples : {&input, &tails, &lines[0].samples, &lines[1].samples}) {
    samples->clearImaginary();
  }
  for (const PlanarArrays* const spectra : {&spectrum, &carried}) {
    for (int i = 0; i < spectra->count(); ++i) fft.keepRealSignal((*spectra)[i]);
  }
}

void Crossover_WithLatency::process(const double* left, const double* right,
                                    double* const* bandLeft, double* const* bandRight,
                                    int bandCount, int frames) noexcept {
  const bool mono = right == nullptr;
  for (int done = 0; done < frames;) {
    const int chunk = std::min(frames - done, kSpan - position % kSpan);
    takeInput(left + done, mono ? nullptr : right + done, chunk);
    emit(bandLeft, bandRight, bandCount, done, chunk, mono);
    position += chunk;
    done += chunk;
    if (position % kSpan == 0) endOfSpan();
  }
}

void Crossover_WithLatency::takeInput(const double* left, const double* right,
                                      int frames) noexcept {
  const PlanarSpan present = input[0];
  std::copy_n(left, frames, present.re + kDelay + position);
  if (right == nullptr) {
    std::fill_n(present.im + kDelay + position, frames, 0.0);
  } else {
    std::copy_n(right, frames, present.im + kDelay + position);
  }
}

void Crossover_WithLatency::emit(double* const* bandLeft, double* const* bandRight, int bandCount,
                                 int done, int frames, bool mono) noexcept {
  const Lines& block = lines[at(out)];
  const int top = std::min(bandCount - 1, block.count);
  const auto emitChannel = [&](double* const* bands, const double* delayed,
                               double* PlanarSpan::*part) {
    double* const rest = bands[top] + done;
    std::copy_n(delayed, frames, rest);
    for (int band = 0; band < top; ++band) {
      const double* const line = block.samples[band].*part + position;
      double* const to = bands[band] + done;
      for (int i = 0; i < frames; ++i) {
        to[i] = line[i];
        rest[i] -= line[i];
      }
    }
    for (int band = top + 1; band < bandCount; ++band) std::fill_n(bands[band] + done, frames, 0.0);
  };
  emitChannel(bandLeft, input[0].re + position, &PlanarSpan::re);
  if (!mono) emitChannel(bandRight, input[0].im + position, &PlanarSpan::im);
}

void Crossover_WithLatency::endOfSpan() noexcept {
  // The first sample of this block completed the input block now being worked on.
  const int turn = position / kSpan - 1;
  if (turn == 0) {
    transformInput();
  } else if (turn <= lines[at(out ^ 1)].count) {
    transformBand(turn - 1);
  }
  if (position == kBlock) endOfBlock();
}

void Crossover_WithLatency::transformInput() noexcept {
  exchange.take();
  const int count = exchange.active().lines;
  addBands(lines[at(out)].count, count);
  lines[at(out ^ 1)].count = count;
  constexpr int kStart = kDelay + 1 - kBlock;
  const PlanarSpan padded = work[0];
  std::copy_n(input[0].re + kStart, kBlock, padded.re);
  std::copy_n(input[0].im + kStart, kBlock, padded.im);
  std::fill_n(padded.re + kBlock, kBlock, 0.0);
  std::fill_n(padded.im + kBlock, kBlock, 0.0);
  fft.forward(padded, spectrum[0], work[2]);
}

void Crossover_WithLatency::addBands(int before, int count) noexcept {
  const auto take = [](const double* from, double* to, int points) {
    for (int i = 0; i < points; ++i) to[i] -= from[i];
  };
  for (int band = before; band < count; ++band) {
    for (double* PlanarSpan::*const part : {&PlanarSpan::re, &PlanarSpan::im}) {
      double* const next = carried[band].*part;
      double* const tail = tails[band].*part;
      std::fill_n(next, 2 * kBlock, 0.0);
      std::fill_n(tail, kBlock, 0.0);
      if (band != before) continue;
      // Until now this was the top band, whose kernel has its impulse at the first tap of the
      // second partition: what it still adds is the rest of the last blocks.
      std::transform(spectrum[0].*part, spectrum[0].*part + 2 * kBlock, next,
                     [](double x) { return x * kScale; });
      for (int below = 0; below < before; ++below) {
        take(carried[below].*part, next, 2 * kBlock);
        take(tails[below].*part, tail, kBlock);
      }
    }
  }
}

void Crossover_WithLatency::transformBand(int band) noexcept {
  // Overlap-add, not overlap-save: an input block stays with the kernels it met first.
  const ConstPlanarSpan x = spectrum[0];
  const PlanarArrays& kernels = exchange.active().spectra;
  const ConstPlanarSpan near = kernels[band * kPartitions];
  const ConstPlanarSpan far = kernels[band * kPartitions + 1];
  vectorKernels().multiplySpectra(&x, &near, 1, work[0], 2 * kBlock);
  const auto add = [](const double* from, double* to, int count) {
    for (int i = 0; i < count; ++i) to[i] += from[i];
  };
  add(carried[band].re, work[0].re, 2 * kBlock);
  add(carried[band].im, work[0].im, 2 * kBlock);
  vectorKernels().multiplySpectra(&x, &far, 1, carried[band], 2 * kBlock);
  fft.backward(work[0], work[1], work[2]);
  const PlanarSpan line = lines[at(out ^ 1)].samples[band];
  for (double* PlanarSpan::*const part : {&PlanarSpan::re, &PlanarSpan::im}) {
    const double* const whole = work[1].*part;
    std::copy_n(whole, kBlock, line.*part);
    add(tails[band].*part, line.*part, kBlock);
    std::copy_n(whole + kBlock, kBlock, tails[band].*part);
  }
}

void Crossover_WithLatency::endOfBlock() noexcept {
  out ^= 1;
  for (double* const channel : {input[0].re, input[0].im}) {
    std::copy_n(channel + kBlock, kDelay, channel);
  }
  position = 0;
}
