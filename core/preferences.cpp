#include "core/preferences.h"

AppliedPreferences AppliedPreferences::of(const Globals& globals) {
  constexpr int kNoTable = -1;  // read for every preference if there is no table
  const auto choice = [&globals](const char* key) { return globals.getGlobal(key, kNoTable); };
  AppliedPreferences wanted;
  wanted.meterBallistic = choice("Meter Ballistic");
  wanted.autolistenPassband = choice("Autolisten") != 0;
  wanted.simpleNumbers = choice("Number Format") != 0;
  wanted.gestures = choice("VST Gestures") != 0;
  wanted.seamless = choice("Seamless") != 0;
  wanted.automateBanks = choice("A/B Automation") != 0;
  return wanted;
}
