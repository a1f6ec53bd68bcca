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
}

void MeterRings::resetReaders() noexcept {
  for (Reader& reader : readers) {
    reader.position.store(0, std::memory_order_relaxed);
    reader.result.store(1.0, std::memory_order_relaxed);
  }
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
  constexpr double kSmallest = 1e-300;  // of what has a logarithm; as good as 0
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

double MeterRings::getGainReduction(int selector) noexcept {
  if (selector < 0 || selector >= kSelectors) return 1.0;
  auto& rings = selector < 4 ? reductionRings : selector < 6 ? inputRings : outputRings;
  const Ring& ring = rings[at(selector % 2)];
  Reader& reader = readers[at(selector)];

  const std::uint32_t end = meterWrite.load(std::memory_order_acquire);
  std::uint32_t position = reader.position.load(std::memory_order_relaxed);
  if (position == end) return reader.result.load(std::memory_order_relaxed);
  float furthest = 0.0F;
  for (; position != end; position = (position + 1) % kSize) {
    const float entry = ring.load(position);
    if (std::abs(entry) > std::abs(furthest)) furthest = entry;
  }
  const double result = std::pow(10.0, static_cast<double>(furthest) * 0.05);
  reader.position.store(end, std::memory_order_relaxed);
  reader.result.store(result, std::memory_order_relaxed);
  return result;
}
