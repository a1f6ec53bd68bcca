#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "core/parameter_table.h"
#include "host/curves.h"

/// What a host must find for a parameter 0..421, computed from the table only.
struct ParameterFacts {
  explicit ParameterFacts(int number)
      : index(number), record(kParameterTable[static_cast<std::size_t>(number)]) {
    const int range = static_cast<int>(record.max - record.min);
    if (record.curve == kCurveSwitch) hostSteps = 2;
    // One more than there are, so that the host's even steps match those of the curve.
    if (record.curve == kCurveWhole) hostSteps = range + 2;
    if (record.curve == kCurveMultipleOf6) hostSteps = range / 6 + 1;
    stepped = hostSteps > 0;
    if (!stepped) hostSteps = 1000;
    std::uint32_t code = (stepped ? 0x20646420U : 0x206c6420U) + static_cast<unsigned>(index);
    // Up to the first zero, as a host reads it.
    for (; (code & 0xffU) != 0; code >>= 8) id += static_cast<char>(code & 0xffU);
  }

  [[nodiscard]] double plainOfStep(int step) const {
    const int size = record.curve == kCurveMultipleOf6 ? 6 : 1;
    return std::min(lowest() + static_cast<double>(step * size), static_cast<double>(record.max));
  }
  [[nodiscard]] double normalisedOfStep(int step) const {
    return static_cast<double>(step) / static_cast<double>(hostSteps - 1);
  }
  /// The normalised value that a host stores for a plain value.
  [[nodiscard]] double hostValue(double plain) const {
    for (int step = 0; stepped && step < hostSteps; ++step) {
      if (plainOfStep(step) == plain) return normalisedOfStep(step);
    }
    return static_cast<double>(
        plainToNormalised(static_cast<float>(plain), record.min, record.max, record.curve));
  }
  /// The normalised value that the effect reports for a plain value; also that of the default.
  [[nodiscard]] double toldValue(double plain) const {
    if (!stepped || record.curve == kCurveSwitch) return hostValue(plain);
    return (plain - lowest()) / (static_cast<double>(record.max) - lowest() + 1.0);
  }
  [[nodiscard]] double lowest() const { return static_cast<double>(record.min); }

  int index;
  const ParameterRecord& record;
  int hostSteps = 0;
  bool stepped = false;
  std::string id;
};
