#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/plug_base_mutex.h"

/// Entries of the history that are no parameter, as its ids.
enum HistoryMarker : std::int32_t {
  historyGroupBegin = -1000,
  historyGroupEnd = -1001,
  historyPresetLoad = -1002,  ///< the newest of the kept states belongs to it
  historyBankLoad = -1003,
};

[[nodiscard]] constexpr bool isLoadMarker(std::int32_t id) noexcept {
  return id == historyPresetLoad || id == historyBankLoad;
}

/// What to restore: a parameter and its normalised value, or a marker.
struct HistoryEntry {
  std::int32_t id;
  float value;
};

/// One direction of the history, newest last. Each operation locks for itself: edits come from the
/// editor, and from hosts' threads through control surfaces.
class HistoryStack {
 public:
  /// Throws std::bad_alloc, with nothing changed.
  void push(HistoryEntry entry);
  /// Moves the newest entry to `other`, there with the value that `valueOf(id)` gives; null when
  /// there is none. Throws std::bad_alloc, with nothing changed.
  template <typename ValueOf>
  std::optional<HistoryEntry> moveNewest(HistoryStack& other, const ValueOf& valueOf) {
    const PlugBaseMutex::Scope scope(lock);
    if (entries.empty()) return std::nullopt;
    const HistoryEntry newest = entries.back();
    other.push({newest.id, valueOf(newest.id)});
    entries.pop_back();
    return newest;
  }
  void clear();
  [[nodiscard]] bool empty();
  /// Ends the group that the newest mark opens, for whose end its `push` has made room. One entry
  /// needs no marks, nothing leaves none.
  void endGroup();
  /// Takes out the newest entry of `id` if it holds exactly `value`, and the marks of a group that
  /// it leaves empty; false when it does not, and when there is no such entry.
  bool removeUnchanged(std::int32_t id, float value);

 private:
  PlugBaseMutex lock;
  std::vector<HistoryEntry> entries;
};
