#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "host/edit_history.h"
#include "host/engine_link.h"
#include "host/host_link.h"
#include "host/parameter_store.h"

/// The user's edits under way, one gesture per parameter. At its beginning the history records the
/// parameter's value; at its end the engine takes every change at once; the host is told of both.
///
/// Threads: control threads.
class EditGestures {
 public:
  /// All arguments must outlive it.
  EditGestures(const ParameterStore& values, EditHistory& history, HostLink& host,
               EngineLink& engine);

  /// `index` may also be the history's marker of a loaded state, which the host is not told of.
  void begin(std::int32_t index);
  void end(std::int32_t index);
  [[nodiscard]] bool isOpen(std::int32_t index) const noexcept;

  // A gesture has lost its end if another gesture of the same parameter begins while it is open.
  // The caller then ends it and expects a late end: should its own end still come, it is ignored.
  void expectLateEnd(std::int32_t index) noexcept;
  /// Whether the end that has just come is such a late one; if so, it is no longer expected.
  [[nodiscard]] bool isLateEnd(std::int32_t index) noexcept;

 private:
  const ParameterStore& values;
  EditHistory& history;
  HostLink& host;
  EngineLink& engine;
  std::vector<std::atomic<bool>> open;      // by parameter
  std::vector<std::atomic<bool>> lateEnds;  // by parameter: a late end may still come
};
