#pragma once

/// Shapes of a dynamic EQ band, as its shape parameter counts them.
enum SubType : int {
  kBandPass = 0,
  kBandPassB = 1,   ///< of Butterworth edges
  kBandPassEE = 2,  ///< one resonant section
  kLowPass = 3,
  kLowPassB = 4,
  kHighPass = 5,
  kHighPassB = 6,
  kFlat = 7,  ///< no filter: the band is everything
};
