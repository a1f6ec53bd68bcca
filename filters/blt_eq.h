#pragma once

#include "filters/df1_cascade.h"

/// The analog rows made digital by the bilinear transform, each warped to be exact at its own pole
/// frequency, at most at 0.45 of the sample rate: cheap to design, narrowed towards Nyquist.
class BLTEQ : public DF1Cascade {
 public:
  void update() noexcept override;
};
