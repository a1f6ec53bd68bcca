#pragma once

#include <cstddef>
#include <cstdint>
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
  void push(HistoryEntry entry);
  [[nodiscard]] std::optional<HistoryEntry> pop();
  void clear();
  [[nodiscard]] bool empty();
  /// Ends the open group. A group of one entry or none loses its marks.
  void endGroup();
  /// Removes the newest entry of `id` if its value is exactly `value`, and the marks of a group
  /// that becomes empty. False if there is no such entry or the value differs.
  bool removeUnchanged(std::int32_t id, float value);

 private:
  PlugBaseMutex lock;
  std::vector<HistoryEntry> entries;
};
