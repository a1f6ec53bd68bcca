#include "filters/subband.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>
#include <vector>

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

void setEdge(BLTEQ& filter, EQ::Type type, int prototype, const Edge& edge) noexcept {
  // Bypass is set once, so that equal values leave the filter clean.
  filter.setBypass(edge.on ? 0 : 1);
  filter.setType(type);
  if (!edge.on) return;
  filter.setOrder(static_cast<int>(edge.slope / 6.0F));
  filter.setSubtype(prototype);
  filter.setFrequency(static_cast<float>(edge.frequency));
}

/// Everything that the magnitude of a filter depends on.
auto valuesOf(const BLTEQ& filter) noexcept {
  return std::make_tuple(filter.getBypass(), filter.getType(), filter.getSubtype(),
                         filter.getOrder(), filter.getFrequency(), filter.getQ());
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
  if (edges != nullptr) {
    for (BLTEQ* filter : edges->all()) filter->setSampleRate(static_cast<float>(hz));
  }
  rebuildNeeded = true;
}

void subband::configureFilters(int shape, float frequency, float slope, float q, float slope2) {
  const bool filters = shape != kFlat;
  if (edges == nullptr) {
    edges = std::make_unique<Edges>();
    setSampleRate(sampleRate);
  }
  if (filters && owned == nullptr) {
    owned = std::make_unique<Filter>();
    // Release: hands over the filter.
    shared.store(owned.get(), std::memory_order_release);
  }
  const auto values = [this] {
    return std::make_tuple(valuesOf(edges->highPass), valuesOf(edges->lowPass),
                           valuesOf(edges->bandPass));
  };
  const auto before = values();
  configureEdges(shape, frequency, slope, q, slope2);
  for (BLTEQ* filter : edges->all()) filter->update();
  if (values() != before) rebuildNeeded = true;
  publishSections();
  filtered.store(filters, std::memory_order_relaxed);
  configured.store(true, std::memory_order_relaxed);
}

void subband::configureEdges(int shape, float frequency, float slope, float q, float slope2) {
  const bool butterworth = shape == kBandPassB || shape == kLowPassB || shape == kHighPassB;
  const int prototype = butterworth ? kButterworth : kStacked;
  const auto centre = static_cast<double>(frequency);
  Edge high{shape == kHighPass || shape == kHighPassB, centre, slope};
  Edge low{shape == kLowPass || shape == kLowPassB, centre, slope};
  if (shape == kBandPass || shape == kBandPassB) {
    const double ratio = bandEdgeRatio(static_cast<double>(q));
    high = {true, centre / ratio, shape == kBandPassB ? slope2 : slope};
    low = {true, std::min(centre * ratio, sampleRate / 2.0), slope};
  }
  setEdge(edges->highPass, EQ::kHpf, prototype, high);
  setEdge(edges->lowPass, EQ::kLpf, prototype, low);
  BLTEQ& bandPass = edges->bandPass;
  bandPass.setBypass(shape == kBandPassEE ? 0 : 1);
  bandPass.setType(EQ::kBpf);
  if (shape != kBandPassEE) return;
  bandPass.setFrequency(frequency);
  bandPass.setQ(q);
}

void subband::rebuildKernel() {
  if (owned != nullptr) owned->convolver.collect();
  if (!rebuildNeeded || !filtered.load(std::memory_order_relaxed)) return;
  KernelSource source{{}, sampleRate};
  const auto filters = edges->all();
  for (std::size_t i = 0; i < filters.size(); ++i) filters[i]->design(&source.filters[i], false);
  const auto kernel = kernelOf(source);
  owned->convolver.setKernels({kernel, &kernel->spectra});
  kernelCopy.set({kernel, &kernel->shown});
  rebuildNeeded = false;
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

void subband::publishSections() {
  const PlugBaseMutex::Scope lock(sectionsLock);
  sections = {edges->highPass.activeSections(), edges->lowPass.activeSections(),
              edges->bandPass.activeSections()};
}

subband::Sections subband::currentSections() const {
  const PlugBaseMutex::Scope lock(sectionsLock);
  return sections;
}

double subband::Sections::magnitudeAt(double frequency) const noexcept {
  const auto magnitude = [frequency](const AnalogSections& filter) {
    return analogMagnitude(filter.rows.data(), filter.count, frequency);
  };
  return magnitude(high) * magnitude(low) * magnitude(band);
}

double subband::bandMagnitude(double frequency) const {
  const PlugBaseMutex::Scope lock(sectionsLock);
  return sections.magnitudeAt(frequency);
}

void subband::bandCurve(const float* frequencies, int n, float* out) {
  if (n <= 0) return;
  const Sections drawn = currentSections();
  curve.draw(drawn, frequencies, n, 0, out,
             [&drawn](double f) { return std::array{drawn.magnitudeAt(f)}; });
}
