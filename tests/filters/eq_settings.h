#pragma once

#include <algorithm>
#include <iterator>

#include "filters/eq.h"

inline float toFloat(double x) { return static_cast<float>(x); }

/// What a filter is set to: numbers that single precision holds.
struct Settings {
  int type = EQ::kOff, subtype = 0, order = 2;
  double hz = 250, db = 0, q = 1, percent = 0.5, rate = 48000;

  /// Whether any setter has reported a change.
  bool apply(EQ& filter) const {
    const bool changes[] = {filter.setBypass(0),
                            filter.setType(type),
                            filter.setSubtype(subtype),
                            filter.setOrder(order),
                            filter.setFrequency(toFloat(hz)),
                            filter.setGain(toFloat(db)),
                            filter.setQ(toFloat(q)),
                            filter.setParameterA(toFloat(percent)),
                            filter.setSampleRate(toFloat(rate))};
    filter.update();
    return std::find(std::begin(changes), std::end(changes), true) != std::end(changes);
  }
};
