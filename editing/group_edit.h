#pragma once

#include <array>
#include <cstdint>

#include "editing/parameter_edits.h"

class EditedParameters;
struct EditorState;

/// How the edit of a row of one band moves the same row of the others that are selected.
enum class SpreadRule {
  kNone,
  kSame,        ///< all take the value, normalised
  kDifference,  ///< distances stay, normalised
  kRatio,       ///< ratios stay, plain; distances where the band edited began at 0
};
[[nodiscard]] SpreadRule spreadRuleOf(int id) noexcept;

/// Where a band goes that began at `reference`, when the one edited began at `ownReference` and is
/// asked for `wanted`: in the units of the rule, what is normalised held in 0..1.
[[nodiscard]] float spreadValue(SpreadRule rule, float reference, float ownReference,
                                float wanted) noexcept;

/// Bands edited as a group: while several are selected, the gesture of one band's control moves
/// the others, as part of the same step of the history.
///
/// Calls: `begin` ahead of the edit's own `beginEdit`, `spread` ahead of each value, `end` behind
/// its `endEdit`. Gestures of different rows may overlap. Any parameter may be given; most do
/// nothing. Threads: message thread.
class GroupEdit {
 public:
  GroupEdit(EditedParameters& edited, const EditorState& selection) noexcept
      : parameters(edited), editor(selection) {}

  /// Notes where the bands begin, and which of them the gesture moves.
  void begin(int id);
  void spread(int id, float normalised);
  void end(int id);
  /// Of all gestures under way, as the window closes in which they began.
  void endAll();

 private:
  using References = std::array<float, kNumBands>;

  struct Gesture {
    BandMask followers = 0;
    BandMask edited = 0;  // followers that have a gesture of their own
    int leader = -1;      // the crossover band whose gesture is that of all of them
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

/// The other of a band's two release times, which an edit with Alt sets too; -1 for any other id.
[[nodiscard]] int otherRelease(int id) noexcept;

/// Chooses what a band's sidechain hears: `source` as `kB1SCSrc`, `sourceBand` as `kB1SCSBand`; an
/// edit of its own, one step of the history. Message thread.
void setSidechainSource(EditedParameters& parameters, int band, int source, int sourceBand);
