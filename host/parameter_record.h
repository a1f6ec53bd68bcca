#pragma once

#include <cstdint>

/// Tapers of a parameter: how its normalised 0..1 value becomes the user's number (`curves.h`).
enum Curve : std::int32_t {
  kCurveLinear = 0,
  kCurveExponential = 1,  ///< frequency, time, Q
  kCurveSquare = 2,
  kCurveCube = 3,
  kCurveWhole = 4,        ///< whole numbers
  kCurveMultipleOf6 = 5,  ///< slopes
  kCurveSwitch = 6,       ///< on only at the very end
  kCurveMultipleOf12 = 7,
  kCurveCentredCube = 8,
  kCurveOctaves = 9,
  kCurveFloor = 10,
  kCurveFourthPower = 11,
};

/// One parameter as host, editor and engine see it. The fields and their order are a contract:
/// adapters and tables rely on them.
struct ParameterRecord {
  char name[32];       ///< text shown to the host, zero-terminated
  char label[32];      ///< unit or option hint; may be empty
  float value;         ///< plain value, in the unit of `label`
  float min;           ///< lowest plain value
  float max;           ///< highest plain value
  std::int32_t curve;  ///< a `Curve`
  float normalised;    ///< 0..1, what the host sees
  std::int32_t group;  ///< 0 global, 1..8 the band that owns it
};
