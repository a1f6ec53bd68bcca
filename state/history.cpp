#include "state/history.h"

#include <algorithm>

void HistoryStack::push(HistoryEntry entry) {
  const PlugBaseMutex::Scope scope(lock);
  entries.push_back(entry);
}

std::optional<HistoryEntry> HistoryStack::pop() {
  const PlugBaseMutex::Scope scope(lock);
  if (entries.empty()) return std::nullopt;
  const HistoryEntry newest = entries.back();
  entries.pop_back();
  return newest;
}

void HistoryStack::clear() {
  const PlugBaseMutex::Scope scope(lock);
  entries.clear();
}

bool HistoryStack::empty() {
  const PlugBaseMutex::Scope scope(lock);
  return entries.empty();
}

bool HistoryStack::popMarker(HistoryMarker marker) {
  const PlugBaseMutex::Scope scope(lock);
  if (entries.empty() || entries.back().id != marker) return false;
  entries.pop_back();
  return true;
}

bool HistoryStack::removeUnchanged(std::int32_t id, float value) {
  const PlugBaseMutex::Scope scope(lock);
  const auto newest = std::find_if(entries.rbegin(), entries.rend(),
                                   [id](const HistoryEntry& entry) { return entry.id == id; });
  if (newest == entries.rend() || newest->value != value) return false;
  entries.erase(std::next(newest).base());
  return true;
}
