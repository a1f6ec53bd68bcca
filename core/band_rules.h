#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "editing/parameter_ids.h"
#include "host/edit_history.h"
#include "host/parameter_input.h"
#include "state/parameter_flags.h"

/// Locks and links of parameters: a locked one stays as it is; a linked one takes the same row of
/// all other bands that are linked, too, and not locked, with it, but when undo or redo takes a
/// step, which knows the others' own values. Ids out of range read false and are ignored.
/// Threads: any.
class BandRules final : public ParameterRules {
 public:
  using Flags = ParameterFlags<kNumParams>;
  using Words = std::array<std::int32_t, Flags::kWords>;

  explicit BandRules(const EditHistory& edits) noexcept : history(edits) {}

  [[nodiscard]] ParameterTargets targetsOf(std::int32_t index) const noexcept override;

  void clear() noexcept {
    locked.clear();
    linked.clear();
  }

  Flags locked;
  Flags linked;

 private:
  const EditHistory& history;
};
