#pragma once

#include <array>
#include <memory>

#include "filters/df1_cascade.h"
#include "filters/match_fit.h"

/// Digitises the analog rows so that they match the analog curve up to Nyquist: each row by a
/// closed form with a prescribed gain there, then by a fit to the analog curve.
/// Threads: see `EQ`. `update` allocates when it first designs rows, and takes some hundred
/// microseconds per distinct row.
class LanthornEQ : public DF1Cascade {
 public:
  bool setSampleRate(float hz) noexcept override;
  void update() override;

 protected:
  /// Whether the filter is switched off or bypassed.
  [[nodiscard]] bool isOut() const noexcept;
  /// Designs if dirty, writes the rows in rad/s to `radian` and sets their number. False if they
  /// have been taken before.
  bool takeRows(AnalogSections& radian) noexcept;

 private:
  using Cascade = std::array<DigitalSection, kMaxSections>;

  [[nodiscard]] bool matchRows(const AnalogSections& radian, Cascade& result) noexcept;
  [[nodiscard]] bool isUnity(const filters::RowMatch& match) const noexcept;
  [[nodiscard]] DigitalSection fitRow(const AnalogRow& row,
                                      const filters::RowMatch& match) noexcept;

  // Large, therefore made when first needed: many filters are never switched on.
  std::unique_ptr<MatchFit> fit;
};
