#pragma once

#include <cstdint>

/// The engine as the parameters see it: what is told of each value that has changed.
class EngineLink {
 public:
  EngineLink() = default;
  virtual ~EngineLink() = default;
  EngineLink(const EngineLink&) = delete;
  EngineLink& operator=(const EngineLink&) = delete;

  /// A parameter stands at a new value, of which the next update takes notice. Any thread, the
  /// audio thread included.
  virtual void parameterChanged(std::int32_t index) noexcept = 0;
  /// Hands over what has changed. `force` also runs what is rate limited. Control threads, and the
  /// audio thread in the one block in which the host goes offline or comes back.
  virtual void update(bool force) = 0;
  // Updates wait from the first to the last of these; they count.
  virtual void hold() = 0;
  virtual void release() = 0;
};

/// Several parameters change as one: while it lives, the engine's updates wait; its end runs them.
/// Control threads.
class UpdateHold {
 public:
  explicit UpdateHold(EngineLink& link) : engine(link) { engine.hold(); }
  ~UpdateHold() { engine.release(); }
  UpdateHold(const UpdateHold&) = delete;
  UpdateHold& operator=(const UpdateHold&) = delete;

 private:
  EngineLink& engine;
};
