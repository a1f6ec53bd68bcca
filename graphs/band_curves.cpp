#include "graphs/band_curves.h"

#include <algorithm>
#include <cmath>

#include "analysis/vector_kernels.h"

namespace {

constexpr double kLowest = 1e-10;  // `BandCurves::kFloor`, linear

void toDecibels(std::vector<double>& magnitudes) {
  for (double& x : magnitudes) x = std::max(x, kLowest);
  vectorKernels().toDecibels(magnitudes.data(), static_cast<int>(magnitudes.size()));
}

std::size_t padded(std::size_t columns) { return (columns + 7) / 8 * 8; }

}  // namespace

std::vector<ColumnSpan> departures(std::span<const double> drawn, std::span<const double> measured,
                                   double lowest) {
  constexpr double kVisible = 0.5;  // dB
  const auto columns = static_cast<int>(drawn.size());
  std::vector<ColumnSpan> spans;
  for (int i = 0; i < columns; ++i) {
    const double a = drawn[static_cast<std::size_t>(i)];
    const double b = measured[static_cast<std::size_t>(i)];
    if (std::max(a, b) <= lowest || std::abs(a - b) <= kVisible) continue;
    const int begin = std::max(i - 1, 0);
    const int end = std::min(i + 2, columns);
    if (!spans.empty() && begin <= spans.back().end) {
      spans.back().end = end;
    } else {
      spans.push_back({begin, end});
    }
  }
  return spans;
}

double shownGainChange(double shown, double now, double decay) noexcept {
  constexpr double kNear = 1e-3;  // dB: settles, so that a still picture stays as it is
  const bool isFurther = shown * now >= 0.0 && std::abs(now) >= std::abs(shown);
  if (isFurther) return now;
  const double next = shown + (now - shown) * decay;
  return decay > 0.0 && std::abs(next - now) < kNear ? now : next;
}

std::span<const double> BandCurves::shape(int band) const noexcept {
  return std::span(bands[at(band)].decibels).first(frequencies.size());
}

std::span<const double> BandCurves::measured(int band) const noexcept {
  return std::span(bands[at(band)].measured).first(frequencies.size());
}

std::span<const double> BandCurves::response() const noexcept {
  return std::span(total).first(frequencies.size());
}

bool BandCurves::update(Plug& plug, const Settings& settings) {
  const auto rateNow = static_cast<double>(plug.getSampleRate());
  const bool isNewAxis = settings.axis != shown.axis || total.empty();
  const bool isNewView = isNewAxis || settings.measured != shown.measured ||
                         settings.lowest != shown.lowest || rateNow != rate;
  shown = settings;
  rate = rateNow;
  if (isNewAxis) placeColumns();
  // Above half the rate there is nothing to hear.
  const auto end = std::ranges::upper_bound(frequencies, static_cast<float>(rate / 2.0));
  audible = static_cast<std::size_t>(end - frequencies.begin());
  bool isNew = isNewView;
  for (int band = 0; band < kNumBands; ++band) {
    const bool isNewPlace = updatePlace(plug, band);
    const bool isNewShape = updateShape(plug, band);
    const bool isNewGain = updateGain(plug, band);
    const bool isNewCurve = isNewView || isNewPlace || isNewShape;
    const bool isNewKernel = updateMeasured(plug, band, isNewCurve);
    isNew = isNew || isNewCurve || isNewGain || isNewKernel;
  }
  if (isNew) sum();
  return isNew;
}

void BandCurves::placeColumns() {
  frequencies.resize(static_cast<std::size_t>(std::max(shown.axis.width, 0)));
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    frequencies[i] = static_cast<float>(shown.axis.frequencyAt(static_cast<double>(i)));
  }
  drawn.resize(frequencies.size());
  total.assign(padded(frequencies.size() + 1), 0.0);  // never empty
  for (Band& band : bands) {
    band.magnitudes.assign(frequencies.size(), -1.0F);
    band.decibels.assign(padded(frequencies.size()), 0.0);
    band.measured = band.decibels;
  }
}

bool BandCurves::updatePlace(Plug& plug, int index) {
  constexpr float kRunning = 2.0F;
  Band& band = bands[at(index)];
  const int list = plug.getEngine().layout.placeOf(index).list;
  const bool isListed = list != kOffList;
  const bool runs = isListed && plug.getBandValue(0, index) == kRunning;
  const bool isXover = list == kXoverList;
  if (runs == band.runs && isListed == band.isListed && isXover == band.isXover) return false;
  band.runs = runs;
  band.isListed = isListed;
  band.isXover = isXover;
  return true;
}

bool BandCurves::updateShape(Plug& plug, int index) {
  Band& band = bands[at(index)];
  if (!band.isListed || frequencies.empty()) return false;
  plug.getBandCurve(index, frequencies.data(), static_cast<int>(frequencies.size()), drawn.data());
  if (drawn == band.magnitudes) return false;
  band.magnitudes = drawn;
  std::copy(drawn.begin(), drawn.end(), band.decibels.begin());
  toDecibels(band.decibels);
  return true;
}

bool BandCurves::updateMeasured(Plug& plug, int index, bool isDue) {
  Band& band = bands[at(index)];
  const unsigned known = band.kernel;
  band.kernel =
      shown.measured && band.runs ? plug.getEngine().getBandKernel(index, known, taps) : 0;
  const bool isNew = band.kernel != known;
  if (band.kernel == 0) {
    band.spans.clear();
    return isNew;
  }
  if (isNew) band.spectrum.set(taps, fft);
  if (isNew || isDue) evaluateKernel(band);
  const double lowest = shown.lowest - band.setGain;
  if (isNew || isDue || lowest != band.lowest) {
    band.lowest = lowest;
    band.spans = departures(std::span(band.decibels).first(audible), band.measured, lowest);
  }
  return isNew;
}

void BandCurves::evaluateKernel(Band& band) const {
  for (std::size_t i = 0; i < audible; ++i) {
    band.measured[i] = band.spectrum.magnitudeAt(static_cast<double>(frequencies[i]) / rate);
  }
  std::fill(band.measured.begin() + static_cast<std::ptrdiff_t>(audible), band.measured.end(), 0.0);
  toDecibels(band.measured);
}

bool BandCurves::updateGain(Plug& plug, int index) {
  Band& band = bands[at(index)];
  if (!band.isListed) return false;
  const double left = plug.getBandGain(index, 3, 0);
  const double right = plug.getBandGain(index, 3, 1);
  const double told = std::abs(right) > std::abs(left) ? right : left;
  const double set = plug.getEngine().getBandSetGain(index);
  const bool isNew = told != band.told || set != band.set;
  if (isNew) {
    band.told = told;
    band.set = set;
    band.setGain = 20.0 * std::log10(set);
    band.changeNow = 20.0 * std::log10(plug.getBandGraphGain(index) / set);
  }
  const double change = shownGainChange(band.change, band.changeNow, shown.grDecay);
  if (!isNew && change == band.change) return false;
  band.change = change;
  band.liveFactor = std::pow(10.0, liveGain(index) * 0.05);
  return true;
}

void BandCurves::sum() {
  const bool hasXover = std::ranges::any_of(bands, [](const Band& band) { return band.isXover; });
  const std::size_t columns = frequencies.size();
  std::fill(total.begin(), total.end(), hasXover ? 0.0 : 1.0);
  const auto add = [&](const Band& band, const auto& step) {
    for (std::size_t i = 0; i < columns; ++i) {
      total[i] = step(total[i], static_cast<double>(band.magnitudes[i]));
    }
  };
  for (const Band& band : bands) {
    const double gain = band.liveFactor;
    if (band.isXover) add(band, [gain](double all, double own) { return all + own * gain; });
  }
  for (const Band& band : bands) {
    const double more = band.liveFactor - 1.0;
    if (!band.isListed || band.isXover || more == 0.0) continue;
    add(band, [more](double all, double own) { return all * (1.0 + own * more); });
  }
  toDecibels(total);
}
