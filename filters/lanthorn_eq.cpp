#include "filters/lanthorn_eq.h"

#include <cmath>
#include <limits>
#include <numbers>

#include "filters/quartic.h"

namespace {

constexpr float kUnityDb = 0.01F;

struct FitLimits {
  double ceiling;
  int tries;
  double floor;
};

FitLimits fitLimits(filters::RowShape shape) noexcept {
  switch (shape) {
    case filters::RowShape::kLowPass:
      return {std::numeric_limits<double>::infinity(), 100, 0.0};
    case filters::RowShape::kPeak:
      return {1.0, 50, 1e-18};
    case filters::RowShape::kGeneral:
      return {1.0, 10, 1e-18};
    case filters::RowShape::kHighPass:
      return {1.0, 100, 1e-10};
    default:
      return {1.0, 10, 1e-8};
  }
}

// The fit if it is stable, otherwise the closed form. The FIRST section of the cascade decides,
// whichever section was fitted: on purpose.
DigitalSection checkedSection(const filters::RowMatch& match, const DigitalSection& fitted,
                              const DigitalSection& first) noexcept {
  if (!match.inverted) return filters::isStable(first[3], first[4]) ? fitted : match.section;
  const bool kept = filters::isStable(first[1] / first[0], first[2] / first[0]);
  return filters::reciprocalSection(kept ? fitted : match.section);
}

// Turns H into H - 1.
void subtractInput(DigitalSection& section) noexcept {
  section[0] -= 1.0;
  section[1] -= section[3];
  section[2] -= section[4];
}

// The same for a product of two: the poles stay, the new zeros are divided between the two.
void subtractInput(DigitalSection& first, DigitalSection& second) noexcept {
  const std::array<double, 3> d{1.0, first[3], first[4]};
  const std::array<double, 3> e{1.0, second[3], second[4]};
  std::array<double, 5> numerator{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) numerator[i + j] += first[i] * second[j] - d[i] * e[j];
  }
  const auto parts = filters::splitPolynomial(numerator);
  for (std::size_t i = 0; i < 3; ++i) {
    first[i] = parts[0][i];
    second[i] = parts[1][i];
  }
}

}  // namespace

bool LanthornEQ::setSampleRate(float hz) noexcept {
  const bool differs = DF1Cascade::setSampleRate(hz);
  if (differs && fit != nullptr) fit->prepare(hz);
  return differs;
}

bool LanthornEQ::isOut() const noexcept { return type == kOff || getBypass() != 0; }

bool LanthornEQ::takeRows(AnalogSections& radian) noexcept {
  if (dirty) {
    design(&sections, false);
    dirty = false;
  } else if (!sectionsChanged) {
    return false;
  }
  sectionsChanged = false;
  radian = sections;
  setSectionCount(radian.count);
  scaleSections(radian.rows.data(), radian.count, 2.0 * std::numbers::pi);
  return true;
}

void LanthornEQ::update() {
  if (isOut()) {
    setSectionCount(1);
    constexpr DigitalSection kSilence{};
    if (getDifferenceMode()) {
      setCoefficients(kSilence.data(), 1);
    } else {
      resetCoefficients(false);
    }
    storeFlat(true);
    return;
  }
  if (fit == nullptr) fit = std::make_unique<MatchFit>(sampleRate);
  AnalogSections radian;
  if (!takeRows(radian)) return;
  Cascade result{};
  const bool allFlat = matchRows(radian, result);
  if (getDifferenceMode() && radian.count == 1) subtractInput(result[0]);
  if (getDifferenceMode() && radian.count == 2) subtractInput(result[0], result[1]);
  if (allFlat) {
    resetCoefficients(false);
    storeFlat(true);
    return;
  }
  storeFlat(false);
  setCoefficients(result[0].data(), radian.count);
}

// Digitises all rows. Returns whether all of them are unity.
bool LanthornEQ::matchRows(const AnalogSections& radian, Cascade& result) noexcept {
  bool allFlat = true;
  filters::RowMatch match;
  DigitalSection fitted{};
  for (std::size_t i = 0; i < static_cast<std::size_t>(radian.count); ++i) {
    const AnalogRow& row = radian.rows[i];
    // A steep filter is a stack of equal rows, which need only one fit.
    if (i == 0 || row != radian.rows[i - 1]) {
      match = filters::matchRow(row, sampleRate);
      allFlat = allFlat && isUnity(match);
      fitted = allFlat ? match.section : fitRow(row, match);
    }
    result[i] = match.section;
    if (allFlat || match.shape == filters::RowShape::kConstant) continue;
    result[i] = fitted;
    result[i] = checkedSection(match, fitted, result[0]);
  }
  return allFlat;
}

bool LanthornEQ::isUnity(const filters::RowMatch& match) const noexcept {
  if (match.shape != filters::RowShape::kGeneral) return match.unity;
  return (type == kLowShelf || type == kHighShelf) && std::abs(gain) <= kUnityDb;
}

DigitalSection LanthornEQ::fitRow(const AnalogRow& row, const filters::RowMatch& match) noexcept {
  DigitalSection section = match.section;
  if (match.shape == filters::RowShape::kConstant) return section;
  MatchFit::Points wanted;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    // Single precision on purpose: the result of a fit depends on the last digits of its target.
    const auto magnitude = static_cast<float>(analogMagnitude(&row, 1, fit->radiansPerSecond(i)));
    wanted[i] = magnitude;
    if (match.inverted) wanted[i] = 1.0 / wanted[i];
  }
  const FitLimits limits = fitLimits(match.shape);
  fit->fitSection(section, wanted, limits.ceiling, limits.tries, limits.floor);
  return section;
}
