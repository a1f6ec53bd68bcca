#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editing/parameter_ids.h"

class EditedParameters;
class MIDIMap;
struct EditorState;

/// Bands by bits.
using BandMask = std::uint32_t;
inline constexpr BandMask kEveryBand = (1U << kNumBands) - 1;

[[nodiscard]] constexpr bool isIn(BandMask bands, int band) noexcept {
  return (bands >> band & 1U) != 0;
}
/// The bands, running or not, that are of the kind of `band`: crossover or dynamic EQ.
[[nodiscard]] BandMask bandsOfKind(const EditedParameters& parameters, int band);

// Entries of the context menu of a parameter, by place.
enum LockAction : int {
  kLockToggle,
  kLockAllOthers,
  kUnlockAllOthers,
  kLockAllBands,  ///< these follow the state of the parameter: unlock when it is locked
  kLockOfKind,
  kLockSelected,
};
enum PropagateAction : int { kPropagateToAll, kPropagateToKind, kPropagateToSelected };
enum LinkAction : int { kLinkToggle, kLinkAllBands, kLinkOfKind, kLinkSelected };
enum MidiAction : int { kMidiLearn = 0, kMidiCancel = 0, kMidiRelearn = 2, kMidiUnlearn = 3 };

/// What the context menu of a parameter shows, apart from which parameter it is.
struct ParameterMenuState {
  enum class Midi { kUnmapped, kLearning, kMapped };

  bool locked = false;
  bool linked = false;
  bool crossoverBand = true;  ///< the band of the parameter is one
  int selectedBands = 1;      ///< how many
  Midi midi = Midi::kUnmapped;
  int controller = 0;  ///< that moves the parameter, if one does
};

/// A part of that menu, as data.
struct ParameterMenuPart {
  enum class Kind { kLocking, kPropagate, kLink, kMidi };

  Kind kind;
  std::string title;                 ///< of a submenu; empty: the entry stands in the menu itself
  std::vector<std::string> entries;  ///< by action; an empty one is a separator

  bool operator==(const ParameterMenuPart&) const = default;
};

/// The context menu of parameter `id`; empty for one that has none.
[[nodiscard]] std::vector<ParameterMenuPart> parameterMenu(int id, const ParameterMenuState& state);
/// The state for that menu, from the effect, its editor's selection and the machine's MIDI map.
[[nodiscard]] ParameterMenuState parameterMenuState(const EditedParameters& parameters,
                                                    const EditorState& editor, const MIDIMap& midi,
                                                    int id);

/// Does what the context menu of a parameter offers, to bands whether they run or not, each call as
/// one step of the history; locks and links themselves are no part of that. What the menu does not
/// offer for a parameter does nothing. Threads: message thread.
class ParameterActions {
 public:
  explicit ParameterActions(EditedParameters& edited) noexcept : parameters(edited) {}

  void lock(int id, int action, BandMask selected);
  /// All that are linked take the parameter's value.
  void link(int id, int action, BandMask selected);
  /// Locked parameters stay as they are.
  void propagate(int id, int action, BandMask selected);

 private:
  EditedParameters& parameters;
};
