#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/plug_base_mutex.h"

/// Ids of history entries that are no parameters.
enum HistoryMarker : std::int32_t {
  historyGroupBegin = -1000,
  historyGroupEnd = -1001,
  historyPresetLoad = -1002,  ///< belongs to the newest state that `PresetFiles` keeps
  historyBankLoad = -1003,
};

[[nodiscard]] constexpr bool isLoadMarker(std::int32_t id) noexcept {
  return id == historyPresetLoad || id == historyBankLoad;
}

/// An entry of the history: a parameter with its normalised value, or a marker.
struct HistoryEntry {
  std::int32_t id;
  float value;
};

/// One direction of the history, newest entry last. Each operation locks by itself, since edits
/// come from the editor and, through control surfaces, from threads of the host.
class HistoryStack {
 public:
  /// Throws std::bad_alloc, with nothing changed.
  void push(HistoryEntry entry);
  /// Moves the newest entry to another stack, `other`, there with the value that `valueOf(id)`
  /// gives; null when there is none. Throws std::bad_alloc, with nothing changed.
  template <typename ValueOf>
  std::optional<HistoryEntry> moveNewest(HistoryStack& other, const ValueOf& valueOf) {
    // Always in the same order, since undo and redo move entries in opposite directions.
    const bool isFirst = std::less<const HistoryStack*>()(this, &other);
    const PlugBaseMutex::Scope first(isFirst ? lock : other.lock);
    const PlugBaseMutex::Scope second(isFirst ? other.lock : lock);
    if (entries.empty()) return std::nullopt;
    const HistoryEntry newest = entries.back();
    other.pushLocked({newest.id, valueOf(newest.id)});
    entries.pop_back();
    return newest;
  }
  void clear();
  [[nodiscard]] bool empty();
  /// Ends the group opened by the newest mark, for whose end its `push` has made room. A group of
  /// one entry or none loses its marks.
  void endGroup();
  /// Removes the newest entry of `id` if its value is exactly `value`, and the marks of a group
  /// that becomes empty. False if there is no such entry or the value differs.
  bool removeUnchanged(std::int32_t id, float value);

 private:
  void pushLocked(HistoryEntry entry);

  PlugBaseMutex lock;
  std::vector<HistoryEntry> entries;
};
