#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "host/edit_history.h"
#include "host/engine_link.h"
#include "host/host_link.h"
#include "host/parameter_store.h"

/// The edits of a user that are under way, a gesture for each parameter: the history notes where it
/// begins, the engine has all of it when it ends, and the host is told of both.
///
/// Threads: control threads.
class EditGestures {
 public:
  /// All must outlive it.
  EditGestures(const ParameterStore& values, EditHistory& history, HostLink& host,
               EngineLink& engine);

  /// Also for the ids of loaded states, which the host is not told of.
  void begin(std::int32_t index);
  void end(std::int32_t index);
  [[nodiscard]] bool isOpen(std::int32_t index) const noexcept;

  // A gesture has lost its end if another one of its parameter begins while it is open. It is ended
  // then, and its own end, if it comes after all, is left out.
  void expectLateEnd(std::int32_t index) noexcept;
  [[nodiscard]] bool isLateEnd(std::int32_t index) noexcept;

 private:
  const ParameterStore& values;
  EditHistory& history;
  HostLink& host;
  EngineLink& engine;
  std::vector<std::atomic<bool>> open;      // by parameter
  std::vector<std::atomic<bool>> lateEnds;  // by parameter: one may still come
};
