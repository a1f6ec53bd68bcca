#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "editing/parameter_ids.h"
#include "host/edit_history.h"
#include "host/parameter_input.h"
#include "state/parameter_flags.h"

/// Locks and links of parameters. A locked parameter keeps its value. A linked one passes its value
/// to the same row of all other bands that is linked and not locked. During undo and redo links do
/// not act, since the history restores each parameter's own value. Ids out of range read false and
/// are ignored. Threads: any.
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
