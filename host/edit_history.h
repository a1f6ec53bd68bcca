#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "host/engine_link.h"
#include "host/parameter_store.h"
#include "state/history.h"

/// What the user can take back: the parameters that edits change, with their values of before, in
/// groups.
///
/// Threads: edits on any control thread; `step` on one thread at a time.
class EditHistory {
 public:
  EditHistory(const ParameterStore& store, EngineLink& link) noexcept
      : values(store), engine(link) {}

  /// Notes the present value of a parameter, or that a state is loaded; other ids do nothing.
  void begin(std::int32_t id);
  /// Forgets an edit that changed nothing, and what could be redone after one that did.
  void end(std::int32_t id);

  // Edits between the two marks are undone as one; marks with nothing between leave none, and those
  // of a group within a group are left out.
  void beginGroup();
  void endGroup();
  /// The group that is open ends as soon as the edit of this parameter has begun, which belongs to
  /// it: what its gesture will change is known then, and no end can be lost.
  void endGroupWithEdit(std::int32_t index);
  void editHasBegun(std::int32_t index);  ///< ... which a group may wait for
  void endOpenGroups();                   ///< of whoever cannot any more

  /// How entries are brought back: each parameter, and then the state that the marker of a load
  /// among them stands for.
  struct Restore {
    std::function<void(HistoryEntry)> parameter;
    std::function<void(std::int32_t)> loadedState;
  };
  /// Takes the newest group back, or does the one taken back last again.
  void step(bool towardsRedo, const Restore& restore);
  [[nodiscard]] bool isStepping() const noexcept { return stepping.load(); }

  [[nodiscard]] bool canUndo() { return !undoStack.empty(); }
  [[nodiscard]] bool canRedo() { return !redoStack.empty(); }
  void clear();

 private:
  std::int32_t walk(bool towardsRedo, const Restore& restore);
  [[nodiscard]] float valueOf(std::int32_t id) const noexcept;

  const ParameterStore& values;
  EngineLink& engine;
  HistoryStack undoStack;
  HistoryStack redoStack;
  std::atomic<bool> stepping{false};
  std::atomic<int> openGroups{0};               // a group within a group is part of it
  std::atomic<std::int32_t> groupEndsWith{-1};  // the edit that the open group waits for
};
