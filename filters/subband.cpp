#include "filters/subband.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <vector>

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

}  // namespace

double bandEdgeRatio(double q) noexcept {
  const double squared = q * q;
  return std::sqrt(1.0 + (0.5 + std::sqrt(squared + 0.25)) / squared);
}

subband::subband() { fft.prepare(kTaps); }

void subband::setSampleRate(double hz) {
  sampleRate = hz;
  for (BLTEQ* filter : {&highPass, &lowPass, &bandPass}) {
    filter->setSampleRate(static_cast<float>(hz));
  }
  rebuildNeeded = true;
}

void subband::configureFilters(int shape, float frequency, float slope, float q, float slope2) {
  const auto before = std::make_tuple(valuesOf(highPass), valuesOf(lowPass), valuesOf(bandPass));
  configureEdges(shape, frequency, slope, q, slope2);
  for (BLTEQ* filter : {&highPass, &lowPass, &bandPass}) filter->update();
  const auto now = std::make_tuple(valuesOf(highPass), valuesOf(lowPass), valuesOf(bandPass));
  if (now != before) rebuildNeeded = true;
  publishSections();
  filtered.store(shape != kFlat, std::memory_order_relaxed);
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
  setEdge(highPass, EQ::kHpf, prototype, high);
  setEdge(lowPass, EQ::kLpf, prototype, low);
  bandPass.setBypass(shape == kBandPassEE ? 0 : 1);
  bandPass.setType(EQ::kBpf);
  if (shape != kBandPassEE) return;
  bandPass.setFrequency(frequency);
  bandPass.setQ(q);
}

void subband::rebuildKernel() {
  if (!rebuildNeeded || !filtered.load(std::memory_order_relaxed)) return;
  constexpr int kHalf = kTaps / 2;
  std::vector<double> spectrum(2 * static_cast<std::size_t>(kTaps));
  for (int k = 0; k <= kHalf; ++k) spectrum[2 * static_cast<std::size_t>(k)] = 1.0 / kTaps;
  for (const BLTEQ* filter : {&highPass, &lowPass, &bandPass}) {
    AnalogSections rows;
    filter->design(&rows, false);
    for (int k = 0; k <= kHalf; ++k) {
      spectrum[2 * static_cast<std::size_t>(k)] *=
          analogMagnitude(rows.rows.data(), rows.count, k * sampleRate / kTaps);
    }
  }
  for (std::size_t k = 1; k < kHalf; ++k) spectrum[2 * (kTaps - k)] = spectrum[2 * k];
  complexForward(kTaps, spectrum.data(), fft);
  // The response is centred on index 0 and wraps around: exchange the halves.
  std::vector<double> kernel(kTaps);
  for (std::size_t i = 0; i < kTaps; ++i) kernel[i] = spectrum[2 * ((i + kHalf) % kTaps)];
  kernelWindow.applyWindow(kernel.data(), kTaps);
  kernelCopy.set(kernel);
  const double* const taps = kernel.data();
  convolver.setKernels(&taps, 1);
  rebuildNeeded = false;
}

int subband::filter(double* const band[kChannels], double* const rest[kChannels], int frames,
                    int channels) noexcept {
  const bool complement = configured.load(std::memory_order_relaxed);
  if (!filtered.load(std::memory_order_relaxed)) {
    for (int c = 0; c < channels; ++c) {
      if (complement) {
        std::fill_n(rest[c], frames, 0.0);
      } else {
        std::copy_n(band[c], frames, rest[c]);
      }
    }
    running = false;
    return 0;
  }
  // What the filter held when it was last in use is stale.
  if (!running) reset(phase);
  running = true;
  for (int c = 0; c < channels; ++c) {
    std::copy_n(band[c], frames, rest[c]);
    delay(rest[c], static_cast<std::size_t>(c), frames);
  }
  delayIndex = (delayIndex + frames) % kDelay;
  convolver.process(band[0], channels == 2 ? band[1] : nullptr, &band[0], &band[1], 1, frames);
  if (!complement) return kDelay;
  for (int c = 0; c < channels; ++c) {
    for (int i = 0; i < frames; ++i) rest[c][i] -= band[c][i];
  }
  return kDelay;
}

void subband::delay(double* samples, std::size_t channel, int frames) noexcept {
  auto& line = delayLines[channel];
  int index = delayIndex;
  for (int done = 0; done < frames;) {
    const int span = std::min(frames - done, kDelay - index);
    std::swap_ranges(samples + done, samples + done + span, line.data() + index);
    done += span;
    index = (index + span) % kDelay;
  }
}

void subband::reset(int newPhase) noexcept {
  phase = newPhase;
  convolver.reset(phase);
  for (auto& line : delayLines) line.fill(0.0);
  delayIndex = 0;
}

void subband::resetRight() noexcept {
  convolver.resetRight();
  delayLines[1].fill(0.0);
}

void subband::publishSections() {
  const PlugBaseMutex::Scope lock(sectionsLock);
  sections = {highPass.activeSections(), lowPass.activeSections(), bandPass.activeSections()};
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
