#pragma once

#include "filters/lanthorn_eq.h"

/// Digitises the analog rows by the bilinear transform. Each row is prewarped to be exact at its
/// own pole frequency, or at 0.45 of the sample rate if that is lower. Cheap to design, but
/// responses narrow towards Nyquist. `update` allocates nothing.
class BLTEQ : public LanthornEQ {
 public:
  void update() noexcept override;
};
