#include "filters/df1_cascade.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <type_traits>

namespace {

constexpr std::array<double, 5> kUnity{1.0, 0.0, 0.0, 0.0, 0.0};
using Coefficients = std::array<double, 5>;

Coefficients load(const std::array<std::atomic<double>, 5>& shared) noexcept {
  Coefficients values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = shared[i].load(std::memory_order_relaxed);
  }
  return values;
}

void store(std::array<std::atomic<double>, 5>& shared, const Coefficients& values) noexcept {
  for (std::size_t i = 0; i < values.size(); ++i) {
    shared[i].store(values[i], std::memory_order_relaxed);
  }
}

// Replaces by 0 what is subnormal or within a factor of two of it, so that a decaying tail does not
// end in subnormals, and infinities and NaN, which would stay in the state for ever.
double flushed(double value) noexcept {
  const auto exponent = (std::bit_cast<std::uint64_t>(value) >> 52) & 0x7FF;
  return exponent <= 1 || exponent == 0x7FF ? 0.0 : value;
}

template <typename State>
void flush(State& s) noexcept {
  s = {flushed(s.x1), flushed(s.x2), flushed(s.y1), flushed(s.y2)};
}

// One sample of one section. In single precision, adding and subtracting small constants keeps
// subnormals out of the state and out of the next section's input.
template <typename Sample, typename State>
Sample advance(const Coefficients& c, State& s, Sample sample) noexcept {
  const double x = sample;
  double y = c[0] * x + c[1] * s.x1 + c[2] * s.x2 - c[3] * s.y1 - c[4] * s.y2;
  if constexpr (std::is_same_v<Sample, float>) y = (y + 1e-30) - 1e-30;
  s.x2 = s.x1;
  s.x1 = x;
  s.y2 = s.y1;
  s.y1 = y;
  if constexpr (std::is_same_v<Sample, float>) {
    const auto raised = static_cast<float>(static_cast<float>(y) + 1e-15);
    return static_cast<float>(raised - 1e-15);
  } else {
    return y;
  }
}

// e^(2jw) (b0 + b1 e^(-jw) + b2 e^(-2jw)), and the same with 1, a1, a2.
struct SectionResponse {
  std::complex<double> numerator;
  std::complex<double> denominator;
};

SectionResponse sectionResponse(const Coefficients& c, double omega) noexcept {
  const auto z = std::polar(1.0, omega);
  const auto z2 = std::polar(1.0, 2.0 * omega);
  return {c[0] * z2 + c[1] * z + c[2], z2 + c[3] * z + c[4]};
}

}  // namespace

DF1Cascade::DF1Cascade() noexcept { DF1Cascade::resetCoefficients(true); }

void DF1Cascade::resetState() noexcept { stateResetWanted.store(true, std::memory_order_release); }

void DF1Cascade::resetCoefficients(bool immediate) noexcept {
  if (!immediate) {
    std::array<double, 5 * kMaxSections> unity{};
    for (std::size_t i = 0; i < unity.size(); i += 5) unity[i] = 1.0;
    setCoefficients(unity.data(), sectionsInUse());
    return;
  }
  takeCoefficients();
  for (std::size_t i = 0; i < kMaxSections; ++i) {
    store(coefficients[i], kUnity);
    store(target[i], kUnity);
  }
  goal.fill(kUnity);
  step.fill({});
  rampRemaining = -1;
}

void DF1Cascade::setCoefficients(const double* newCoefficients, std::int32_t count) noexcept {
  const std::int32_t used = std::clamp<std::int32_t>(count, 0, kMaxSections);
  bool changed = used != sectionsInUse();
  setSectionCount(used);
  CoefficientSet& set = exchange.spare();
  for (std::size_t i = 0; i < static_cast<std::size_t>(used); ++i) {
    std::copy_n(newCoefficients + 5 * i, 5, set.target[i].begin());
    store(target[i], set.target[i]);
    changed = changed || set.target[i] != load(coefficients[i]);
  }
  if (changed) ++rampsWanted;
  set.count = used;
  set.serial = ++serial;
  set.rampsWanted = rampsWanted;
  exchange.publish();
}

void DF1Cascade::takeCoefficients() noexcept {
  exchange.take();
  const CoefficientSet& set = exchange.active();
  if (set.serial == serialTaken) return;
  bool changed = set.rampsWanted != rampsTaken;
  for (std::size_t i = 0; i < static_cast<std::size_t>(set.count); ++i) {
    const Coefficients inForce = load(coefficients[i]);
    goal[i] = set.target[i];
    for (std::size_t k = 0; k < 5; ++k) step[i][k] = (goal[i][k] - inForce[k]) * 0.001;
    changed = changed || goal[i] != inForce;
  }
  if (changed) rampRemaining = kRampLength;
  sectionsRun = set.count;
  serialTaken = set.serial;
  rampsTaken = set.rampsWanted;
}

void DF1Cascade::setSectionCount(std::int32_t count) noexcept {
  sectionCount.store(count, std::memory_order_relaxed);
}

void DF1Cascade::storeFlat(bool isFlat) noexcept {
  flat.store(isFlat ? 1 : 0, std::memory_order_release);
}

int DF1Cascade::sectionsInUse() const noexcept {
  return sectionCount.load(std::memory_order_relaxed);
}

void DF1Cascade::getCoefficients(double* out) const noexcept {
  for (std::size_t i = 0; i < static_cast<std::size_t>(sectionsInUse()); ++i) {
    const Coefficients values = load(coefficients[i]);
    std::copy(values.begin(), values.end(), out + 5 * i);
  }
}

void DF1Cascade::process(double* samples, std::int32_t n) noexcept {
  if (n < 1) return;
  // Read `flat` first: if it is set, the ramp that leads to it is visible, too.
  const bool isFlat = flat.load(std::memory_order_acquire) != 0;
  takeCoefficients();
  if (isFlat && rampRemaining <= 0) {
    if (differenceMode.load(std::memory_order_relaxed)) std::fill(samples, samples + n, 0.0);
    return;
  }
  runCascade(samples, n);
}

void DF1Cascade::process(float* samples, std::int32_t n) noexcept {
  if (n < 1) return;
  // Unlike in double precision, bypass counts even before `update` has seen it: on purpose.
  const bool isOut = flat.load(std::memory_order_acquire) != 0 || getBypass() != 0;
  takeCoefficients();
  if (isOut && rampRemaining < 1) return;
  runCascade(samples, n);
}

template <typename Sample>
void DF1Cascade::runCascade(Sample* samples, std::int32_t n) noexcept {
  if (stateResetWanted.load(std::memory_order_relaxed) &&
      stateResetWanted.exchange(false, std::memory_order_acquire)) {
    state.fill({});
  }
  const auto count = static_cast<std::size_t>(sectionsRun);
  if constexpr (std::is_same_v<Sample, double>) {
    for (std::size_t i = 0; i < count; ++i) flush(state[i]);
  }
  if (rampRemaining >= 0) {
    const std::int32_t moving = std::min(n, rampRemaining + 1);
    for (std::size_t i = 0; i < count; ++i) runRamp(samples, moving, i);
    rampRemaining -= n;
    samples += moving;
    n -= moving;
  }
  // Each section waits for its own last output: running two together overlaps the waits.
  std::size_t i = 0;
  for (; i + 2 <= count; i += 2) runPlain<2>(samples, n, i);
  if (i < count) runPlain<1>(samples, n, i);
}

template <typename Sample>
void DF1Cascade::runRamp(Sample* samples, std::int32_t n, std::size_t section) noexcept {
  State s = state[section];
  const Coefficients end = goal[section];
  const Coefficients slope = step[section];
  const std::int32_t ramp = rampRemaining;
  Coefficients c{};
  for (std::int32_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < c.size(); ++k) c[k] = end[k] - (ramp - i) * slope[k];
    samples[i] = advance(c, s, samples[i]);
  }
  store(coefficients[section], c);
  state[section] = s;
}

template <std::size_t kTogether, typename Sample>
void DF1Cascade::runPlain(Sample* samples, std::int32_t n, std::size_t first) noexcept {
  std::array<State, kTogether> s;
  std::array<Coefficients, kTogether> c;
  for (std::size_t k = 0; k < kTogether; ++k) {
    s[k] = state[first + k];
    c[k] = load(coefficients[first + k]);
  }
  for (std::int32_t i = 0; i < n; ++i) {
    Sample sample = samples[i];
    for (std::size_t k = 0; k < kTogether; ++k) sample = advance(c[k], s[k], sample);
    samples[i] = sample;
  }
  for (std::size_t k = 0; k < kTogether; ++k) state[first + k] = s[k];
}

double DF1Cascade::magnitudeAt(double hz, double* phase) const noexcept {
  const double omega = 2.0 * std::numbers::pi * hz / static_cast<double>(sampleRate);
  double numerators = 1.0;
  double denominators = 1.0;
  double angle = 0.0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(sectionsInUse()); ++i) {
    const SectionResponse response = sectionResponse(load(target[i]), omega);
    numerators *= std::norm(response.numerator);
    denominators *= std::norm(response.denominator);
    if (phase != nullptr) angle += std::arg(response.numerator * std::conj(response.denominator));
  }
  if (phase != nullptr) *phase = angle;
  if (denominators < 1e-20 && numerators > denominators) return numerators < 1e-20 ? 1.0 : 0.0;
  return std::sqrt(numerators / denominators);
}

void DF1Cascade::responseAt(double hz, double* re, double* im) const noexcept {
  const double omega = 2.0 * std::numbers::pi * hz / static_cast<double>(sampleRate);
  std::complex<double> numerator = 1.0;
  std::complex<double> denominator = 1.0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(sectionsInUse()); ++i) {
    const SectionResponse response = sectionResponse(load(target[i]), omega);
    numerator *= response.numerator;
    denominator *= response.denominator;
  }
  const double size = std::norm(denominator);
  if (size == 0.0) {
    *re = numerator.real() == 0.0 ? 1.0 : 0.0;
    *im = numerator.imag() == 0.0 ? 1.0 : 0.0;
    return;
  }
  const std::complex<double> crossed = numerator * std::conj(denominator);
  *re = crossed.real() / size;
  *im = crossed.imag() / size;
}
