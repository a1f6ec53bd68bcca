#include "state/history.h"

#include <algorithm>
#include <iterator>

void HistoryStack::push(HistoryEntry entry) {
  const PlugBaseMutex::Scope scope(lock);
  pushLocked(entry);
}

void HistoryStack::pushLocked(HistoryEntry entry) {
  // One place more than it takes: the end of a group must not fail.
  const std::size_t wanted = entries.size() + 2;
  if (wanted > entries.capacity()) entries.reserve(2 * wanted);
  entries.push_back(entry);
}

void HistoryStack::clear() {
  const PlugBaseMutex::Scope scope(lock);
  entries.clear();
}

bool HistoryStack::empty() {
  const PlugBaseMutex::Scope scope(lock);
  return entries.empty();
}

void HistoryStack::endGroup() {
  const PlugBaseMutex::Scope scope(lock);
  const auto last = std::find_if(entries.rbegin(), entries.rend(), [](const HistoryEntry& entry) {
    return entry.id == historyGroupBegin || entry.id == historyGroupEnd;
  });
  const auto inside = last - entries.rbegin();
  if (last != entries.rend() && last->id == historyGroupBegin && inside <= 1) {
    entries.erase(std::next(last).base());
  } else {
    entries.push_back({historyGroupEnd, 0.0F});
  }
}

bool HistoryStack::removeUnchanged(std::int32_t id, float value) {
  const PlugBaseMutex::Scope scope(lock);
  const auto newest = std::find_if(entries.rbegin(), entries.rend(),
                                   [id](const HistoryEntry& entry) { return entry.id == id; });
  if (newest == entries.rend() || newest->value != value) return false;
  const auto next = entries.erase(std::next(newest).base());
  const bool isEmptyGroup = next != entries.begin() && next != entries.end() &&
                            next->id == historyGroupEnd && std::prev(next)->id == historyGroupBegin;
  if (isEmptyGroup) entries.erase(std::prev(next), std::next(next));
  return true;
}
