#include "dynamics/meter_rings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "analysis/vector_kernels.h"
#include "platform/index.h"

void MeterRings::reset() noexcept {
  for (auto* rings : {&inputRings, &outputRings, &reductionRings}) {
    for (Ring& ring : *rings) ring.clear();
  }
  meterWrite.store(0, std::memory_order_release);
  resets.fetch_add(1, std::memory_order_release);
}

void MeterRings::write(Ring& ring, std::uint32_t position, const double* signal,
                       int frames) noexcept {
  if (signal == nullptr) {
    for (int i = 0; i < frames; ++i) ring.store(position + static_cast<std::uint32_t>(i), 0.0F);
    return;
  }
  for (int i = 0; i < frames; ++i) {
    ring.store(position + static_cast<std::uint32_t>(i), static_cast<float>(signal[i]));
  }
}

void MeterRings::writeInput(int channel, const double* signal, int frames) noexcept {
  write(inputRings[at(channel)], writePosition(), signal, frames);
}

void MeterRings::writeOutput(int channel, const double* signal, int frames) noexcept {
  write(outputRings[at(channel)], writePosition(), signal, frames);
}

void MeterRings::writeReduction(int channel, const float* gains, int frames) noexcept {
  Ring& ring = reductionRings[at(channel)];
  const std::uint32_t start = writePosition();
  constexpr int kChunk = 64;
  constexpr double kSmallest = 1e-300;  // as good as 0, but with a logarithm
  std::array<double, kChunk> decibels{};
  for (int done = 0; done < frames; done += kChunk) {
    const int chunk = std::min(kChunk, frames - done);
    for (int i = 0; i < chunk; ++i) {
      const auto gain = static_cast<double>(gains[done + i]);
      decibels[at(i)] = std::max(gain, kSmallest);
    }
    vectorKernels().toDecibels(decibels.data(), chunk);
    write(ring, start + static_cast<std::uint32_t>(done), decibels.data(), chunk);
  }
}

void MeterRings::endBlock(int frames) noexcept {
  const auto next = (writePosition() + static_cast<std::uint32_t>(frames)) % kSize;
  meterWrite.store(static_cast<std::uint32_t>(next), std::memory_order_release);
}

MeterRings::Cursor MeterRings::newCursor() const noexcept {
  const std::uint32_t now = resets.load(std::memory_order_acquire);
  return {meterWrite.load(std::memory_order_acquire), now, 1.0};
}

double MeterRings::readFurthest(int selector, Cursor& cursor) const noexcept {
  const auto& rings = selector < 4 ? reductionRings : selector < 6 ? inputRings : outputRings;
  const Ring& ring = rings[static_cast<std::size_t>(selector % 2)];

  const std::uint32_t now = resets.load(std::memory_order_acquire);
  if (cursor.resets != now) cursor = {0, now, 1.0};
  const std::uint32_t end = meterWrite.load(std::memory_order_acquire);
  if (cursor.position == end) return cursor.result;
  float furthest = 0.0F;
  for (; cursor.position != end; cursor.position = (cursor.position + 1) % kSize) {
    const float entry = ring.load(cursor.position);
    if (std::abs(entry) > std::abs(furthest)) furthest = entry;
  }
  cursor.result = std::pow(10.0, static_cast<double>(furthest) * 0.05);
  return cursor.result;
}

double GainReductionReader::getGainReduction(int selector) noexcept {
  if (selector < 0 || selector >= MeterRings::kSelectors) return 1.0;
  return rings.readFurthest(selector, cursors[static_cast<std::size_t>(selector)]);
}
