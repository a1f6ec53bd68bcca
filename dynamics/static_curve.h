#pragma once

/// The way from level to gain of one band, in decibels: independent sides above and below a
/// deadband, each from 0 dB at its threshold to its range, where it ends. `slope...` is the share
/// of that way per dB of level; `knee` bends it from a straight line (0) to a smoothstep (1).
struct StaticCurve {
  double thresholdHigh = 0.0;  ///< dB
  double thresholdLow = 0.0;   ///< dB
  double rangeAbove = 0.0;     ///< dB, signed
  double rangeBelow = 0.0;     ///< dB, signed
  double slopeAbove = 0.0;     ///< per dB
  double slopeBelow = 0.0;     ///< per dB
  double knee = 0.0;           ///< 0..1

  static constexpr double kSilenceDb = -200.0;  ///< of any level below `kSilence`
  static constexpr double kSilence = 1e-10;     ///< linear

  /// From the knobs, all in decibels but the ratios, where x stands for 1 : 1 / (1 - x) and is
  /// positive to pull gain down. Above the amount is linear in x, below it is x / (1 - x).
  static StaticCurve make(double threshold, double ratioAbove, double ceiling, double ratioBelow,
                          double floor, double deadband, double knee) noexcept;

  /// Gain in dB at a level in dB. Any thread.
  [[nodiscard]] double gainAtDb(double decibels) const noexcept;
};
