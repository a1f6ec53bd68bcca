#pragma once

#include <cstdint>

#include "editing/parameter_ids.h"

class EditedParameters;

/// Bands by bits.
using BandMask = std::uint32_t;
inline constexpr BandMask kEveryBand = (1U << kNumBands) - 1;

[[nodiscard]] constexpr bool isIn(BandMask bands, int band) noexcept {
  return (bands >> band & 1U) != 0;
}
/// The bands, running or not, that are of the kind of `band`: crossover or dynamic EQ.
[[nodiscard]] BandMask bandsOfKind(const EditedParameters& parameters, int band);

// Whom an entry of the context menu of a parameter means, by its place.
enum LockScope : int {
  kLockToggle,
  kLockAllOthers,
  kUnlockAllOthers,
  kLockAllBands,  ///< these follow the state of the parameter: unlock when it is locked
  kLockOfKind,
  kLockSelected,
};
enum PropagateScope : int { kPropagateToAll, kPropagateToKind, kPropagateToSelected };
enum LinkScope : int { kLinkToggle, kLinkAllBands, kLinkOfKind, kLinkSelected };

// What a parameter can be asked for, by its id.
[[nodiscard]] bool hasMenu(int id) noexcept;
[[nodiscard]] bool canBeLocked(int id) noexcept;  ///< not the switches that are clicked
[[nodiscard]] bool canBeShared(int id) noexcept;  ///< linked, and sent to other bands

/// Does what the context menu of a parameter offers, to bands whether they run or not, each call as
/// one step of the history; locks and links themselves are no part of that. What the menu does not
/// offer for a parameter does nothing. Threads: message thread.
class ParameterEdits {
 public:
  explicit ParameterEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  void lock(int id, LockScope scope, BandMask selected);
  /// All that are linked take the parameter's value.
  void link(int id, LinkScope scope, BandMask selected);
  /// Locked parameters stay as they are.
  void propagate(int id, PropagateScope scope, BandMask selected);

 private:
  EditedParameters& parameters;
};
