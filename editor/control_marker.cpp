#include "editor/control_marker.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "core/parameter_table.h"
#include "core/plug_edits.h"
#include "editor/control_index.h"
#include "editor/controls/marks.h"

namespace {

constexpr CColor kLinkColours[] = {CColor::rgb(0x000000), CColor::rgb(0x0000FF),
                                   CColor::rgb(0xFF0000), CColor::rgb(0x00FF00),
                                   CColor::rgb(0x00FFFF)};
constexpr CColor kMappedColour = CColor::rgb(0xFF00FF);

template <typename Marked, typename Act>
void forEachMarked(const ControlIndex& controls, std::int32_t tag, Act&& act) {
  controls.forEach(tag, [&act](CControl& control) {
    if (auto* const marked = dynamic_cast<Marked*>(&control)) act(*marked);
  });
}

}  // namespace

void ControlMarker::showAll() {
  showLocksAndLinks();
  static_cast<void>(readMapped());
  showMapped();
  for (const auto& [tag, colour] : linkColours) showLink(tag);
  if (learnBlinkTag >= 0) setLearning(learnBlinkTag, true);
}

void ControlMarker::showLocksAndLinks() {
  for (std::int32_t id = 0; id < kNumParams; ++id) {
    const bool isLinked = edits.isLinked(id);
    const bool isLocked = edits.isLocked(id);
    forEachMarked<nCanLink>(controls, id, [isLinked, isLocked](nCanLink& control) {
      control.setLinkState(isLinked, isLocked);
    });
  }
}

/// Whether the table is another one now.
bool ControlMarker::readMapped() {
  bool isOther = false;
  for (std::int32_t controller = 0; controller < MIDIMap::kControllers; ++controller) {
    const std::int32_t id = midi.parameterOf(controller);
    isOther |= std::exchange(mapped[static_cast<std::size_t>(controller)], id) != id;
  }
  return isOther;
}

void ControlMarker::showMapped() {
  for (std::int32_t id = 0; id < kNumParams; ++id) {
    const bool isMapped = std::ranges::find(mapped, id) != mapped.end();
    forEachMarked<CHighlightControl>(controls, id, [isMapped](CHighlightControl& control) {
      control.setMidiHighlight(isMapped, kMappedColour);
    });
  }
}

void ControlMarker::setLinkHighlight(std::int32_t tag, bool on, std::int32_t colourIndex) {
  const bool isKnown = colourIndex >= 0 && colourIndex < std::ssize(kLinkColours);
  if (on) {
    linkColours[tag] = isKnown ? colourIndex : 0;
  } else {
    linkColours.erase(tag);
  }
  showLink(tag);
}

void ControlMarker::showLink(std::int32_t tag) {
  const auto found = linkColours.find(tag);
  const bool on = found != linkColours.end();
  const CColor colour = kLinkColours[on ? found->second : 0];
  forEachMarked<CHighlightControl>(controls, tag, [on, colour](CHighlightControl& control) {
    control.setLinkHighlight(on, colour);
  });
}

void ControlMarker::setLearning(std::int32_t tag, bool on) {
  forEachMarked<nCanMIDILearn>(controls, tag,
                               [on](nCanMIDILearn& control) { control.setLearning(on); });
}

void ControlMarker::followControllers() {
  if (readMapped()) showMapped();
  const std::int32_t target = midi.getLearnTarget();
  if (target == learnBlinkTag) return;
  if (learnBlinkTag >= 0) setLearning(learnBlinkTag, false);
  learnBlinkTag = target;
  if (target >= 0) setLearning(target, true);
}
