#pragma once

/// What the rows of a plot stand for: dB from `range` at row 0 to its negative at the last one.
struct LevelAxis {
  double range = 24.0;
  int height = 0;

  [[nodiscard]] double rowOf(double level) const;
  /// The gain that a drag to a row sets. It spreads the range over one row more than `rowOf`: kept.
  [[nodiscard]] double gainAt(double row) const;

  bool operator==(const LevelAxis&) const = default;
};

/// The levels of the analyser, in dB.
struct AnalyserAxis {
  double range = 96.0;
  double top = 0.0;

  /// `share`: of the plot's height.
  [[nodiscard]] double levelOf(double share) const { return (share - 1.0) * range + top; }
  [[nodiscard]] double levelAt(double row, int height) const { return top - row * range / height; }

  bool operator==(const AnalyserAxis&) const = default;
};
