#pragma once

/// Shapes of a dynamic EQ band: the plain values of its shape parameter.
enum SubType : int {
  kBandPass = 0,
  kBandPassB = 1,   ///< with Butterworth edges
  kBandPassEE = 2,  ///< one resonant section
  kLowPass = 3,
  kLowPassB = 4,
  kHighPass = 5,
  kHighPassB = 6,
  kFlat = 7,  ///< no filter: the band is the whole signal
};
