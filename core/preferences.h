#pragma once

#include "dynamics/output_peak.h"
#include "state/globals.h"

/// The machine-wide preferences that an instance uses. Members are initialised to the defaults.
struct AppliedPreferences {
  int meterBallistic = kDigital;    ///< "Meter Ballistic": a `MeterBallistic`
  bool autolistenPassband = false;  ///< "Autolisten": "Passband"
  bool simpleNumbers = false;       ///< "Number Format": "Simple"
  bool gestures = true;             ///< "VST Gestures"
  bool seamless = true;             ///< "Seamless": changes of the chain are faded in real time
  bool automateBanks = false;       ///< "A/B Automation": "All"

  [[nodiscard]] static AppliedPreferences of(const Globals& globals);
};
