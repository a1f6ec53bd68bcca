#include "editing/parameter_menu.h"

#include <bit>
#include <string>
#include <utility>

#include "editing/edited_parameters.h"
#include "editing/parameter_edits.h"
#include "host/editor_state.h"
#include "state/midi_map.h"

namespace {

using Parts = ParameterMenuParts;

/// What the texts of a menu depend on.
struct Texts {
  Texts(const Parts& parts, int id)
      : lock(parts.parameters.isLocked(id) ? "Unlock" : "Lock"),
        link(parts.parameters.isLinked(id) ? "Unlink" : "Link"),
        // Depends on the lock although it is about the link: kept on purpose.
        linkSelected(parts.parameters.isLocked(id) ? "Unlink selected" : "Link selected"),
        severalSelected(std::popcount(parts.editor.selectedBands & kEveryBand) > 1) {
    const bool isDynamic =
        isBandParameter(id) && parts.parameters.isOn(bandParameterId(bandOf(id), kB1Type));
    kind = isDynamic ? "Dynamic" : "XOver";
  }

  std::string lock;
  std::string link;
  std::string linkSelected;
  std::string kind;
  bool severalSelected;
};

/// Adds a choice of `ParameterEdits`, for the bands selected when it is made.
template <typename Choice>
void addChoice(Menu& menu, const std::string& text, const Parts& parts, int id,
               void (ParameterEdits::*act)(int, Choice, BandMask), Choice choice) {
  menu.add(text, [parts, id, act, choice] {
    (ParameterEdits(parts.parameters).*act)(id, choice, parts.editor.selectedBands);
  });
}

void addLocks(Menu& menu, const Parts& parts, int id, const Texts& texts) {
  const auto add = [&parts, id](Menu& to, const std::string& text, LockScope choice) {
    addChoice(to, text, parts, id, &ParameterEdits::lock, choice);
  };
  if (!isBandParameter(id)) return add(menu, texts.lock, kLockToggle);
  Menu locks{"Locking"};
  add(locks, texts.lock, kLockToggle);
  add(locks, "Lock all others", kLockAllOthers);
  add(locks, "Unlock all others", kUnlockAllOthers);
  add(locks, texts.lock + " all", kLockAllBands);
  add(locks, texts.lock + " all " + texts.kind, kLockOfKind);
  if (texts.severalSelected) add(locks, texts.lock + " selected", kLockSelected);
  menu.addSubmenu(std::move(locks));
}

void addPropagation(Menu& menu, const Parts& parts, int id, const Texts& texts) {
  Menu targets{"Propagate"};
  const auto add = [&](const std::string& text, PropagateScope choice) {
    addChoice(targets, text, parts, id, &ParameterEdits::propagate, choice);
  };
  add("To all bands", kPropagateToAll);
  add("To other " + texts.kind + " bands", kPropagateToKind);
  if (texts.severalSelected) add("To selected bands", kPropagateToSelected);
  menu.addSubmenu(std::move(targets));
}

void addLinks(Menu& menu, const Parts& parts, int id, const Texts& texts) {
  Menu links{"Link"};
  const auto add = [&](const std::string& text, LinkScope choice) {
    addChoice(links, text, parts, id, &ParameterEdits::link, choice);
  };
  add(texts.link, kLinkToggle);
  add(texts.link + " all bands", kLinkAllBands);
  add(texts.link + " all " + texts.kind + " bands", kLinkOfKind);
  if (texts.severalSelected) add(texts.linkSelected, kLinkSelected);
  menu.addSubmenu(std::move(links));
}

/// Learning replaces any other parameter that was waiting for a controller.
void addMidi(Menu& menu, MIDIMap& midi, int id) {
  const auto learn = [&midi, id] { midi.setLearnTarget(id); };
  const int controller = midi.controllerOf(id);
  if (midi.getLearnTarget() == id) {
    menu.add("Cancel Learn", [&midi] { midi.setLearnTarget(-1); });
  } else if (controller < 0) {
    menu.add("Learn...", learn);
  } else {
    Menu mapped{"MIDI"};
    mapped.add("Mapped to CC#" + std::to_string(controller), nullptr);
    mapped.addSeparator();
    mapped.add("Relearn...", learn);
    mapped.add("Unlearn", [&midi, id] {
      midi.setLearnTarget(-1);
      midi.unlearn(id);
    });
    menu.addSubmenu(std::move(mapped));
  }
}

}  // namespace

Menu parameterMenu(const ParameterMenuParts& parts, int id) {
  Menu menu;
  if (!hasMenu(id)) return menu;
  const Texts texts(parts, id);
  if (canBeLocked(id)) addLocks(menu, parts, id, texts);
  if (canBeShared(id)) {
    addPropagation(menu, parts, id, texts);
    addLinks(menu, parts, id, texts);
  }
  addMidi(menu, parts.midi, id);
  return menu;
}
