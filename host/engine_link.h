#pragma once

#include <cstdint>

/// The engine as the parameters see it: it is told of every value that changes.
class EngineLink {
 public:
  EngineLink() = default;
  virtual ~EngineLink() = default;
  EngineLink(const EngineLink&) = delete;
  EngineLink& operator=(const EngineLink&) = delete;

  /// Notes that a parameter has a new value, for the next `update`. Any thread, the audio thread
  /// included.
  virtual void parameterChanged(std::int32_t index) noexcept = 0;
  /// Hands the changed values to the engine. `force` also does what is otherwise rate limited.
  /// Control threads, and the audio thread in the one block in which the host goes offline or comes
  /// back.
  virtual void update(bool force) = 0;
  /// Notes that values of a whole program, bank or state come with the next update.
  virtual void everythingReplaced() noexcept = 0;
  // Updates wait while there are more calls of `hold` than of `release`.
  virtual void hold() = 0;
  virtual void release() = 0;
};

/// Lets several parameters change as one: the engine's updates wait while it lives and run when it
/// ends. Control threads.
class UpdateHold {
 public:
  explicit UpdateHold(EngineLink& link) : engine(link) { engine.hold(); }
  ~UpdateHold() { engine.release(); }
  UpdateHold(const UpdateHold&) = delete;
  UpdateHold& operator=(const UpdateHold&) = delete;

 private:
  EngineLink& engine;
};
