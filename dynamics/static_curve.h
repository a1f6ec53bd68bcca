#pragma once

/// The knobs of a curve: decibels, and ratios in which x means 1 : 1 / (1 - x) and is positive to
/// reduce gain.
struct CurveKnobs {
  double threshold = 0.0;
  double ratioAbove = 0.0;
  double ceiling = 24.0;
  double ratioBelow = 0.0;
  double floor = 24.0;
  double deadband = 0.0;
  double knee = 0.0;  ///< 0..1
  bool operator==(const CurveKnobs&) const = default;
};

/// Maps the level of one band to a gain, both in decibels. There are independent sides above and
/// below a deadband; each goes from 0 dB at its threshold to its range and stays there. A slope is
/// the share of the range per dB of level; `knee` bends the line from straight (0) to a smoothstep
/// (1).
struct StaticCurve {
  double thresholdHigh = 0.0;  ///< dB
  double thresholdLow = 0.0;   ///< dB
  double rangeAbove = 0.0;     ///< dB, signed
  double rangeBelow = 0.0;     ///< dB, signed
  double slopeAbove = 0.0;     ///< per dB
  double slopeBelow = 0.0;     ///< per dB
  double knee = 0.0;           ///< 0..1

  static constexpr double kSilenceDb = -200.0;  ///< stands for any level below `kSilence`
  static constexpr double kSilence = 1e-10;     ///< linear

  /// Above the threshold the change per dB is the ratio x, below the deadband it is x / (1 - x).
  static StaticCurve make(double threshold, double ratioAbove, double ceiling, double ratioBelow,
                          double floor, double deadband, double knee) noexcept;
  static StaticCurve make(const CurveKnobs& knobs) noexcept;

  /// Gain in dB at a level in dB. Any thread.
  [[nodiscard]] double gainAtDb(double decibels) const noexcept;

  bool operator==(const StaticCurve&) const = default;
};
