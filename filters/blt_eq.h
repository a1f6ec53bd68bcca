#pragma once

#include "filters/lanthorn_eq.h"

/// The analog rows made digital by the bilinear transform, each warped to be exact at its own pole
/// frequency, at most at 0.45 of the sample rate: cheap to design, narrowed towards Nyquist.
/// `update` allocates nothing.
class BLTEQ : public LanthornEQ {
 public:
  void update() noexcept override;
};
