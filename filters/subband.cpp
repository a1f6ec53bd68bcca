#include "filters/subband.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "filters/blt_eq.h"
#include "filters/kernel_cache.h"
#include "filters/linear_phase.h"

namespace {

constexpr int kStacked = 1;  // subtype of the edges: stacked sections, corner kept in place
constexpr int kButterworth = 2;

struct Edge {
  bool on = false;
  double frequency = 1000.0;  // Hz
  float slope = 0.0F;         // dB per octave
};

/// The rows of an edge, or flat ones.
AnalogSections edgeRows(EQ::Type type, int prototype, const Edge& edge) noexcept {
  if (!edge.on) return kFlatSections;
  BLTEQ filter;  // for its design alone
  filter.setType(type);
  filter.setOrder(static_cast<int>(edge.slope / 6.0F));
  filter.setSubtype(prototype);
  filter.setFrequency(static_cast<float>(edge.frequency));
  AnalogSections rows;
  filter.design(&rows, true);
  return rows;
}

AnalogSections bandPassRows(float frequency, float q) noexcept {
  BLTEQ filter;
  filter.setType(EQ::kBpf);
  filter.setFrequency(frequency);
  filter.setQ(q);
  AnalogSections rows;
  filter.design(&rows, true);
  return rows;
}

std::array<AnalogSections, 3> designFilters(int shape, float frequency, float slope, float q,
                                            float slope2, double rate) noexcept {
  if (shape == kBandPassEE) return {kFlatSections, kFlatSections, bandPassRows(frequency, q)};
  const bool butterworth = shape == kBandPassB || shape == kLowPassB || shape == kHighPassB;
  const int prototype = butterworth ? kButterworth : kStacked;
  const auto centre = static_cast<double>(frequency);
  Edge high{shape == kHighPass || shape == kHighPassB, centre, slope};
  Edge low{shape == kLowPass || shape == kLowPassB, centre, slope};
  if (shape == kBandPass || shape == kBandPassB) {
    const double ratio = bandEdgeRatio(static_cast<double>(q));
    high = {true, centre / ratio, shape == kBandPassB ? slope2 : slope};
    low = {true, std::min(centre * ratio, rate / 2.0), slope};
  }
  return {edgeRows(EQ::kHpf, prototype, high), edgeRows(EQ::kLpf, prototype, low), kFlatSections};
}

/// What a kernel is designed from.
struct KernelSource {
  std::array<AnalogSections, 3> filters;
  double rate;
  bool operator==(const KernelSource&) const = default;
};

std::vector<double> designKernel(const KernelSource& source) {
  constexpr std::size_t kHalf = subband::kTaps / 2;
  std::array<double, kHalf + 1> half{};
  half.fill(1.0 / subband::kTaps);
  for (const AnalogSections& rows : source.filters) {
    for (std::size_t k = 0; k <= kHalf; ++k) {
      half[k] *= analogMagnitude(rows.rows.data(), rows.count,
                                 static_cast<double>(k) * source.rate / subband::kTaps);
    }
  }
  return linearPhaseKernel(half);
}

/// A finished kernel: as it is shown, and as the convolver reads it.
struct FinishedKernel {
  explicit FinishedKernel(const KernelSource& source) : FinishedKernel(designKernel(source)) {}
  explicit FinishedKernel(std::vector<double> kernel)
      : shown(std::move(kernel)), spectra(pointerTo(shown.taps).data(), 1, subband::kTaps) {}

  static std::array<const double*, 1> pointerTo(const std::vector<double>& taps) noexcept {
    return {taps.data()};
  }

  NumberedTaps shown;
  PartitionedKernels spectra;
};

std::shared_ptr<const FinishedKernel> kernelOf(const KernelSource& source) {
  constexpr std::size_t kRecent = 32;  // of 90 KiB each
  static KernelCache<KernelSource, FinishedKernel> cache(kRecent);
  return cache.get(source, [&source] { return std::make_shared<const FinishedKernel>(source); });
}

}  // namespace

double bandEdgeRatio(double q) noexcept {
  const double squared = q * q;
  return std::sqrt(1.0 + (0.5 + std::sqrt(squared + 0.25)) / squared);
}

void subband::setSampleRate(double hz) {
  sampleRate = hz;
  rebuildNeeded = true;
}

void subband::configureFilters(int shape, float frequency, float slope, float q, float slope2) {
  const bool filters = shape != kFlat;
  if (filters && shared.load(std::memory_order_relaxed) == nullptr) {
    if (owned == nullptr) owned = std::make_unique<Filter>();
    useKernel(Sections{});  // all of the signal, until the kernel is designed
    // Release: hands over the filter.
    shared.store(owned.get(), std::memory_order_release);
  }
  const Sections wanted{designFilters(shape, frequency, slope, q, slope2, sampleRate)};
  if (wanted != sections) {
    rebuildNeeded = true;
    const PlugBaseMutex::Scope lock(sectionsLock);
    sections = wanted;
  }
  filtered.store(filters, std::memory_order_relaxed);
  configured.store(true, std::memory_order_relaxed);
}

void subband::rebuildKernel() {
  if (owned != nullptr) owned->convolver.collect();
  if (!rebuildNeeded || !filtered.load(std::memory_order_relaxed)) return;
  useKernel(sections);
  rebuildNeeded = false;
}

void subband::useKernel(const Sections& source) {
  const auto kernel = kernelOf({source.filters, sampleRate});
  owned->convolver.setKernels({kernel, &kernel->spectra});
  kernelCopy.set({kernel, &kernel->shown});
}

int subband::filter(double* const band[kChannels], double* const rest[kChannels], int frames,
                    int channels) noexcept {
  const bool complement = configured.load(std::memory_order_relaxed);
  Filter* const now = inUse();
  if (now == nullptr) {
    for (int c = 0; c < channels; ++c) {
      if (!complement) std::copy_n(band[c], frames, rest[c]);
      std::fill_n(complement ? rest[c] : band[c], frames, 0.0);
    }
    running = false;
    return 0;
  }
  // What the filter held when it was last in use is stale.
  if (!running) reset(phase);
  running = true;
  for (int c = 0; c < channels; ++c) {
    std::copy_n(band[c], frames, rest[c]);
    now->delay(rest[c], static_cast<std::size_t>(c), frames);
  }
  now->index = (now->index + frames) % kDelay;
  now->convolver.process(band[0], channels == 2 ? band[1] : nullptr, &band[0], &band[1], 1, frames);
  for (int c = 0; c < channels; ++c) {
    for (int i = 0; i < frames; ++i) rest[c][i] -= band[c][i];
  }
  return kDelay;
}

void subband::Filter::delay(double* samples, std::size_t channel, int frames) noexcept {
  auto& line = lines[channel];
  int at = index;
  for (int done = 0; done < frames;) {
    const int span = std::min(frames - done, kDelay - at);
    std::swap_ranges(samples + done, samples + done + span, line.data() + at);
    done += span;
    at = (at + span) % kDelay;
  }
}

void subband::reset(int newPhase) noexcept {
  phase = newPhase;
  Filter* const now = shared.load(std::memory_order_acquire);
  if (now == nullptr) return;
  now->convolver.reset(phase);
  for (auto& line : now->lines) line.fill(0.0);
  now->index = 0;
}

void subband::resetRight() noexcept {
  Filter* const now = shared.load(std::memory_order_acquire);
  if (now == nullptr) return;
  now->convolver.resetRight();
  now->lines[1].fill(0.0);
}

double subband::Sections::magnitudeAt(double frequency) const noexcept {
  double magnitude = 1.0;
  for (const AnalogSections& rows : filters) {
    magnitude *= analogMagnitude(rows.rows.data(), rows.count, frequency);
  }
  return magnitude;
}

double subband::bandMagnitude(double frequency) const {
  const PlugBaseMutex::Scope lock(sectionsLock);
  return sections.magnitudeAt(frequency);
}

void subband::bandCurve(const float* frequencies, int n, float* out) {
  if (n <= 0) return;
  const Sections drawn = [this] {
    const PlugBaseMutex::Scope lock(sectionsLock);
    return sections;
  }();
  curve.draw(drawn, frequencies, n, 0, out,
             [&drawn](double f) { return std::array{drawn.magnitudeAt(f)}; });
}
