#pragma once

#include <atomic>

#include "dynamics/work_buffers.h"

/// Work buffers that all chains of a process use in turn, so that they stay in the near caches
/// however many chains there are. Each chain adds a set, so that there is always one to borrow for
/// chains that run at the same time; a thread that runs many uses the same one for all of them.
///
/// Threads: made and destroyed on any but the audio thread; `borrow`, `giveBack` and the buffers on
/// the audio thread, where nothing locks or allocates.
class SharedBuffers {
 public:
  SharedBuffers();  ///< adds a set; throws std::bad_alloc
  ~SharedBuffers();
  SharedBuffers(const SharedBuffers&) = delete;
  SharedBuffers& operator=(const SharedBuffers&) = delete;

  void borrow() noexcept;  ///< unless it has a set already
  void giveBack() noexcept;
  [[nodiscard]] WorkBuffers* operator->() const noexcept { return borrowed; }
  [[nodiscard]] const WorkBuffers& operator*() const noexcept { return *borrowed; }

  /// Sets in the process; any thread but the audio thread.
  [[nodiscard]] static unsigned count();

 private:
  class Pool;

  Pool& pool;
  WorkBuffers* borrowed = nullptr;
  std::atomic<WorkBuffers*>* origin = nullptr;  // where it came from
};
