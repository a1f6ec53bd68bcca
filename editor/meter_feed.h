#pragma once

#include <array>
#include <vector>

#include "dynamics/meter_peaks.h"
#include "dynamics/output_levels.h"
#include "editing/parameter_ids.h"
#include "editor/control_index.h"
#include "editor/controls/value_source.h"
#include "graphs/meters/gain_meters.h"

class bandTabs;
class LineFader;
class Plug;
class ReleaseLED;
class ValueBlock;
class loudnessMeterView;
class nVU;

/// Gives all meters of a surface what the engine measures; nothing else ever moves them. Nothing is
/// drawn again where it would look the same. Threads: the message thread, under the frame's lock.
class MeterFeed {
 public:
  /// The controls stay in the surface as long as this; `values` and `effect` outlive it.
  MeterFeed(const ControlIndex& controls, const ValueSource& values, Plug& effect);

  /// What the user has chosen: preferences, options and the state of the meters.
  void applySettings();
  /// About every 10 ms.
  void show();

 private:
  static constexpr int kBands = 8;

  /// All that shows a single band.
  struct Band {
    miniPPMmeter* meter = nullptr;
    LineFader* threshold = nullptr;
    ValueBlock* fastRelease = nullptr;
    std::vector<miniGRmeter*> reductions;
    double shownGain = 0.0;    // dB, in the tab
    float shownLevel = -1.0F;  // beside the threshold
  };

  void find(const ControlIndex& controls, int band);
  void showOutput();
  void showBand(int band);
  void showGain(Band& own, int band, double dB);
  void showLevel(Band& own, int band, bool isActive);

  const ValueSource& values;
  Plug& effect;
  OutputLevels levels;
  GainReductionReader reduction;
  std::vector<nVU*> outputs;
  std::vector<loudnessMeterView*> loudnesses;
  std::vector<ReleaseLED*> lamps;
  std::array<Band, kBands> bands;
  bandTabs* tabs;
  BandMeterChoice choice;
  bool flashes = false;
};
