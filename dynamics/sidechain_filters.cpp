#include "dynamics/sidechain_filters.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

/// Sets the low or the high filter: a pass filter with a slope, or a shelf of order 2 with a gain.
void setEnd(LanthornEQ& filter, const SidechainFilterSettings::Filter& settings, int passType,
            int shelfType) noexcept {
  filter.setBypass(settings.on ? 0 : 1);
  filter.setFrequency(settings.frequency);
  filter.setGain(settings.second ? settings.gain : 0.0F);
  filter.setOrder(settings.second ? 2 : settings.slope / 6);
  filter.setQ(settings.q);
  filter.setType(settings.second ? shelfType : passType);
}

void setMiddle(LanthornEQ& filter, const SidechainFilterSettings::Filter& settings) noexcept {
  filter.setBypass(settings.on ? 0 : 1);
  filter.setFrequency(settings.frequency);
  filter.setGain(settings.gain);
  filter.setQ(settings.q);
  filter.setType(settings.second ? EQ::kBpf : EQ::kPeak);
}

/// Whether both are the same, bit by bit.
bool areSame(const double* a, const double* b, int count) noexcept {
  std::uint64_t differences = 0;
  for (int i = 0; i < count; ++i) {
    differences |= std::bit_cast<std::uint64_t>(a[i]) ^ std::bit_cast<std::uint64_t>(b[i]);
  }
  return differences == 0;
}

}  // namespace

void SidechainLinkage::setPosition(bool leftRight, int percent) noexcept {
  const double p = percent * 0.01;
  const double q = 1.0 - p;
  factors = leftRight ? std::array{std::min(1.0, 2.0 * q), 0.0, 0.0, std::min(1.0, 2.0 * p)}
                      : std::array{std::min(0.5, q), std::min(0.5, q), std::min(0.5, p),
                                   -std::min(0.5, p)};
}

bool SidechainLinkage::link(double* left, double* right, int frames) const noexcept {
  const auto [c0, c1, c2, c3] = factors;
  const double share = unlink;
  for (int i = 0; i < frames; ++i) {
    const double a = std::abs(c0 * left[i] + c1 * right[i]);
    const double b = std::abs(c2 * left[i] + c3 * right[i]);
    const double louder = a > b ? a : b;
    left[i] = (a - louder) * share + louder;
    right[i] = (b - louder) * share + louder;
  }
  return share == 0.0 && areSame(left, right, frames);
}

void SidechainFilters::setSampleRate(float hz) noexcept {
  sampleRate = hz;
  for (Place& place : places) {
    if (place.made == nullptr) continue;
    for (LanthornEQ& filter : *place.made) filter.setSampleRate(hz);
  }
}

/// Sets both channels of a filter; `set` sets one. Until it is on for the first time there is none.
template <typename Set>
void SidechainFilters::design(Place& place, bool on, const Set& set) const {
  if (place.made == nullptr) {
    if (!on) return;
    place.made = std::make_unique<Pair>();
    for (LanthornEQ& filter : *place.made) filter.setSampleRate(sampleRate);
  }
  for (LanthornEQ& filter : *place.made) {
    set(filter);
    filter.update();
  }
  place.inUse.store(place.made.get(), std::memory_order_release);
}

void SidechainFilters::set(const SidechainFilterSettings& settings) {
  design(places[kLowFilter], settings.low.on, [&settings](LanthornEQ& filter) {
    setEnd(filter, settings.low, EQ::kHpf, EQ::kLowShelf);
  });
  design(places[kMidFilter], settings.mid.on,
         [&settings](LanthornEQ& filter) { setMiddle(filter, settings.mid); });
  design(places[kHighFilter], settings.high.on, [&settings](LanthornEQ& filter) {
    setEnd(filter, settings.high, EQ::kLpf, EQ::kHighShelf);
  });
  const PlugBaseMutex::Scope lock(rowsLock);
  const std::array now = {places[kLowFilter].drawn(), places[kMidFilter].drawn(),
                          places[kHighFilter].drawn()};
  if (rows == now) return;
  rows = now;
  changes.store(++lastRevision, std::memory_order_relaxed);
}

double SidechainFilters::response(int filter, double frequency) const {
  const PlugBaseMutex::Scope lock(rowsLock);
  double magnitude = 1.0;
  for (int i = 0; i < kAllFilters; ++i) {
    if (filter != i && filter != kAllFilters) continue;
    const AnalogSections& drawn = rows[static_cast<std::size_t>(i)];
    magnitude *= analogMagnitude(drawn.rows.data(), drawn.count, frequency);
  }
  return magnitude;
}

void SidechainFilters::reset() noexcept {
  for (const Place& place : places) {
    Pair* const filters = place.get();
    if (filters == nullptr) continue;
    for (LanthornEQ& filter : *filters) filter.resetState();
  }
}

void SidechainFilters::resetRight() noexcept {
  for (const Place& place : places) {
    if (Pair* const filters = place.get()) (*filters)[1].resetState();
  }
}

void SidechainFilters::settle() noexcept {
  std::array<double, DF1Cascade::kRampLength> silence{};
  for (std::size_t c = 0; c < kChannels; ++c) {
    process(c, 1.0, silence.data(), silence.data(), DF1Cascade::kRampLength);
  }
}

void SidechainFilters::process(std::size_t channel, double gain, const double* in, double* out,
                               int frames) noexcept {
  for (int i = 0; i < frames; ++i) out[i] = in[i] * gain;
  for (const Place& place : places) {
    if (Pair* const filters = place.get()) (*filters)[channel].process(out, frames);
  }
}
