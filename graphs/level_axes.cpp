#include "graphs/level_axes.h"

double LevelAxis::rowOf(double level) const { return (height - 1) * (range - level) / (2 * range); }

double LevelAxis::gainAt(double row) const { return (1 - 2 * row / height) * range; }
