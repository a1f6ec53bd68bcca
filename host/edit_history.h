#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "host/engine_link.h"
#include "host/parameter_store.h"
#include "state/history.h"

/// Undo and redo: which parameters the user's edits changed, with their values from before, grouped
/// so that edits made together are undone together.
///
/// Threads: edits on any control thread; `step` on one thread at a time.
class EditHistory {
 public:
  EditHistory(const ParameterStore& store, EngineLink& link) noexcept
      : values(store), engine(link) {}

  /// Records the present value of a parameter, or that a state is being loaded when `id` is a load
  /// marker; other ids do nothing.
  void begin(std::int32_t id);
  /// Drops the edit if the value has not changed; otherwise clears what could be redone.
  void end(std::int32_t id);

  // Edits between these two are undone as one. An empty group leaves no entry, and a group within a
  // group is part of the outer one.
  void beginGroup();
  void endGroup();
  /// Leaves the open group to end by itself as soon as the edit of this parameter, its last, has
  /// begun: by then everything the gesture will change is recorded, so a lost end does no harm.
  void endGroupWithEdit(std::int32_t index);
  /// The edit of this parameter has begun: ends a group that waits for it.
  void editHasBegun(std::int32_t index);
  /// Ends the groups whose owner can no longer end them.
  void endOpenGroups();

  /// How entries are restored: `parameter` for each value, then `loadedState` once with the marker
  /// if a load was among them.
  struct Restore {
    std::function<void(HistoryEntry)> parameter;
    std::function<void(std::int32_t)> loadedState;
  };
  /// Undoes the newest group or single edit, or redoes the one undone last. Open groups end first.
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
  std::atomic<int> openGroups{0};               // depth of nesting
  std::atomic<std::int32_t> groupEndsWith{-1};  // parameter whose edit ends the open group, or -1
};
