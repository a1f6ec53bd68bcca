#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "state/midi_map.h"
#include "toolkit/geometry.h"

class ControlIndex;
class PlugEdits;

/// Shows on the controls what holds for their parameters: locks and links, the colours that the
/// host or a link gives them, and which controller moves them. Threads: message thread, under the
/// frame's lock.
class ControlMarker {
 public:
  ControlMarker(const ControlIndex& shown, PlugEdits& edited, MIDIMap& map) noexcept
      : controls(shown), edits(edited), midi(map) {}

  /// Everything, on controls that are new.
  void showAll();
  void showLocksAndLinks();
  /// `colourIndex`: 0 to 4; others count as the first.
  void setLinkHighlight(std::int32_t tag, bool on, std::int32_t colourIndex);
  /// What has changed in the table of controllers, which all instances share, since it was shown.
  void followControllers();

 private:
  [[nodiscard]] bool readMapped();
  void showMapped();
  void showLink(std::int32_t tag);
  void setLearning(std::int32_t tag, bool on);

  const ControlIndex& controls;
  PlugEdits& edits;
  MIDIMap& midi;
  std::map<std::int32_t, std::int32_t> linkColours;  // parameter to index: those that are on
  std::int32_t learnBlinkTag = -1;
  std::array<std::int32_t, MIDIMap::kControllers> mapped{};  // by controller, as shown
};
