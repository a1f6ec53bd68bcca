#pragma once

#include <array>
#include <cstdint>

#include "editing/parameter_edits.h"

class EditedParameters;
struct EditorState;

/// How the edit of a row of one band moves the same row of the other selected bands.
enum class SpreadRule {
  kNone,
  kSame,        ///< all take the same value; normalised
  kDifference,  ///< differences stay the same; normalised
  kRatio,       ///< ratios stay the same, or differences if the edited band began at 0; plain
};
[[nodiscard]] SpreadRule spreadRuleOf(int id) noexcept;

/// The new value of a band that began at `reference`, if the edited band began at `ownReference`
/// and is set to `wanted`. All in the units of the rule; a normalised result is clamped to 0..1.
[[nodiscard]] float spreadValue(SpreadRule rule, float reference, float ownReference,
                                float wanted) noexcept;

/// Edits the selected bands together: while several are selected, a gesture on one band's control
/// moves the others, too, in the same undo step.
///
/// Order of calls: `begin` before the edit's own `beginEdit`, `spread` before each value, `end`
/// after its `endEdit`. Gestures of different rows may overlap. Calls for parameters without a
/// `SpreadRule` do nothing. Threads: message thread.
class GroupEdit {
 public:
  GroupEdit(EditedParameters& edited, const EditorState& selection) noexcept
      : parameters(edited), editor(selection) {}

  /// Records the bands' values and which of the bands the gesture moves.
  void begin(int id);
  void spread(int id, float normalised);
  void end(int id);
  /// Ends all open gestures, when the window in which they began closes.
  void endAll();

 private:
  using References = std::array<float, kNumBands>;

  struct Gesture {
    BandMask followers = 0;
    BandMask edited = 0;  // followers with a gesture of their own
    int leader = -1;      // the crossover band whose gesture covers the whole crossover, or -1
  };

  [[nodiscard]] References& referencesOf(int id) noexcept;
  [[nodiscard]] BandMask followersOf(int id) const;
  [[nodiscard]] BandMask crossoverBands() const;
  [[nodiscard]] int leaderOf(int id, BandMask followers) const;

  EditedParameters& parameters;
  const EditorState& editor;

  References gainReference{};  // plain
  References thresholdReference{};
  References frequencyReference{};
  std::array<Gesture, kBandRows> gestures{};  // under way, by row
};

/// The other of a band's two release times, which an edit with Alt held sets, too; -1 for any other
/// id.
[[nodiscard]] int otherRelease(int id) noexcept;

/// Sets what a band's sidechain hears, as one undo step: `source` is a plain value of `kB1SCSrc`,
/// `sourceBand` one of `kB1SCSBand`. Message thread.
void setSidechainSource(EditedParameters& parameters, int band, int source, int sourceBand);
