#pragma once

#include <cstdint>

#include "editing/parameter_ids.h"

class EditedParameters;

/// A set of bands, one bit per band.
using BandMask = std::uint32_t;
inline constexpr BandMask kEveryBand = (1U << kNumBands) - 1;

[[nodiscard]] constexpr bool isIn(BandMask bands, int band) noexcept {
  return (bands >> band & 1U) != 0;
}
/// The bands, running or not, of the same kind as `band`: crossover or dynamic EQ.
[[nodiscard]] BandMask bandsOfKind(const EditedParameters& parameters, int band);

// The targets of the entries of a parameter's context menu, numbered by the entry's place.
enum LockScope : int {
  kLockToggle,
  kLockAllOthers,
  kUnlockAllOthers,
  kLockAllBands,  ///< from here on: lock, or unlock if the parameter itself is locked
  kLockOfKind,
  kLockSelected,
};
enum PropagateScope : int { kPropagateToAll, kPropagateToKind, kPropagateToSelected };
enum LinkScope : int { kLinkToggle, kLinkAllBands, kLinkOfKind, kLinkSelected };

// What the context menu offers for a parameter.
[[nodiscard]] bool hasMenu(int id) noexcept;
[[nodiscard]] bool canBeLocked(int id) noexcept;  ///< false for switches operated by a click
[[nodiscard]] bool canBeShared(int id) noexcept;  ///< can be linked and copied to other bands

/// The actions of a parameter's context menu, on bands whether they run or not. Each call is one
/// undo step, but changes of locks and links are not undone. Actions that the menu does not offer
/// for a parameter do nothing. Threads: message thread.
class ParameterEdits {
 public:
  explicit ParameterEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  void lock(int id, LockScope scope, BandMask selected);
  /// Parameters that become linked take the parameter's value.
  void link(int id, LinkScope scope, BandMask selected);
  /// Locked parameters stay as they are.
  void propagate(int id, PropagateScope scope, BandMask selected);

 private:
  EditedParameters& parameters;
};
