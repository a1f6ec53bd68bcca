#pragma once

#include "dynamics/output_peak.h"
#include "state/globals.h"

/// What an instance takes from the machine-wide preferences; the members start at their defaults.
struct Preferences {
  int meterBallistic = kDigital;    ///< "Meter Ballistic": a `MeterBallistic`
  bool autolistenPassband = false;  ///< "Autolisten": "Passband"
  bool simpleNumbers = false;       ///< "Number Format": "Simple"
  bool gestures = true;             ///< "VST Gestures"
  bool automateBanks = false;       ///< "A/B Automation": "All"

  [[nodiscard]] static Preferences of(const Globals& globals);
};
