#pragma once

#include <array>
#include <memory>

#include "filters/df1_cascade.h"
#include "filters/match_fit.h"

/// The analog rows made digital so that they hold up to Nyquist: each by a closed form that
/// prescribes its gain there, then fitted to the analog curve.
/// Threads: as `EQ`; `update` allocates when it first has rows to take. It costs some hundred
/// microseconds per different row.
class LanthornEQ : public DF1Cascade {
 public:
  bool setSampleRate(float hz) noexcept override;
  void update() override;

 protected:
  /// Whether the filter is switched off or bypassed.
  [[nodiscard]] bool isOut() const noexcept;
  /// Designs if need be. The rows in rad/s into `radian`, and their number into use; false if they
  /// have been taken before.
  bool takeRows(AnalogSections& radian) noexcept;

 private:
  using Cascade = std::array<DigitalSection, kMaxSections>;

  [[nodiscard]] bool matchRows(const AnalogSections& radian, Cascade& result) noexcept;
  [[nodiscard]] bool isUnity(const filters::RowMatch& match) const noexcept;
  [[nodiscard]] DigitalSection fitRow(const AnalogRow& row,
                                      const filters::RowMatch& match) noexcept;

  // Large, and made when first needed: many a filter is never switched on.
  std::unique_ptr<MatchFit> fit;
};
