#pragma once

#include <span>

#include "toolkit/geometry.h"

/// The places at which the nodes of a frequency graph are taken hold of.
namespace graph_handles {

struct Point {
  double x = 0.0;
  double y = 0.0;
};

struct Handle {
  bool isActive = false;
  bool isRunning = false;
  Point centre;            ///< from the plot's corner, at the live level
  double setRow = 0.0;     ///< where it would stand without a gain change
  double targetRow = 0.0;  ///< of the set gain alone
};

inline constexpr double kReach = 10.0;  ///< a press this far away misses
/// How far inside the plot a disc is drawn at least.
inline constexpr double kFromEdge = 13.5;

/// The active handle whose squared distance from a point is the least one below `limit`: of equals
/// the first one. -1 for none.
[[nodiscard]] int nearest(std::span<const Handle> handles, Point where,
                          double limit = kReach * kReach);

/// The crossover point between two bands: its frequency in Hz, and its level in dB by half the
/// range of the graph.
[[nodiscard]] double crossoverFrequency(double below, double above);
[[nodiscard]] double crossoverLevel(double range);

/// The dB of a linear magnitude; not below -200.
[[nodiscard]] double decibels(double magnitude);

/// Where a disc is drawn that would stand at `row`: clear of the zoom strip and of the edges.
/// `isLow`: it would stand lower.
struct LiftedDisc {
  double row;
  bool isLow;
};
[[nodiscard]] LiftedDisc liftedDisc(double row, int height);

}  // namespace graph_handles
