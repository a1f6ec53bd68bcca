#include "state/midi_map.h"

#include <algorithm>

#include "platform/index.h"
#include "state/json_memory.h"

namespace {

constexpr const char* kStoreName = "MIDIMap";
constexpr std::uint8_t kControlChange = 0xB0;
constexpr int kCallsAfterFailure = 500;  // five seconds of idle calls

}  // namespace

MIDIMap::MIDIMap(UserStore& userStore) : store(userStore) {
  Table table;
  table.fill(-1);
  readTable(store.read(kStoreName), table);
  for (std::size_t i = 0; i < table.size(); ++i)
    entries[i].store({table[i], 0}, std::memory_order_relaxed);
}

// Leaves the table unchanged if the text is no array.
void MIDIMap::readTable(const std::optional<std::string>& text, Table& table) {
  const JsonTree array = parsedJson(text ? text->c_str() : nullptr);
  if (!jsonIsType(array.get(), kJsonArray)) return;
  const JsonNode* item = array->child;
  for (std::int32_t& id : table) {
    const bool isNumber = jsonIsType(item, kJsonNumber);
    id = isNumber ? std::max(item->valueInt, -1) : -1;
    if (item) item = item->next;
  }
}

std::int32_t MIDIMap::controllerOf(std::int32_t id) const noexcept {
  if (id < 0) return -1;
  for (std::int32_t i = 0; i < kControllers; ++i) {
    if (parameterOf(i) == id) return i;
  }
  return -1;
}

std::int32_t MIDIMap::parameterOf(std::int32_t controller) const noexcept {
  if (controller < 0 || controller >= kControllers) return -1;
  return entries[at(controller)].load(std::memory_order_relaxed).id;
}

void MIDIMap::setLearnTarget(std::int32_t id) noexcept {
  learnTarget.store(std::max(id, -1), std::memory_order_relaxed);
}

std::int32_t MIDIMap::getLearnTarget() const noexcept {
  return learnTarget.load(std::memory_order_relaxed);
}

void MIDIMap::learn(std::int32_t id, std::int32_t controller) {
  learnLive(id, controller);
  callsToWait.store(0, std::memory_order_relaxed);
  saveChanges();
}

void MIDIMap::unlearn(std::int32_t id) {
  release(id);
  callsToWait.store(0, std::memory_order_relaxed);
  saveChanges();
}

void MIDIMap::release(std::int32_t id) noexcept {
  if (id < 0) return;
  for (std::atomic<Entry>& entry : entries) {
    Entry old = entry.load(std::memory_order_relaxed);
    while (old.id == id &&
           !entry.compare_exchange_weak(old, {-1, old.edits + 1}, std::memory_order_relaxed)) {
    }
  }
}

void MIDIMap::learnLive(std::int32_t id, std::int32_t controller) noexcept {
  if (id < 0) return;
  release(id);
  auto& entry = entries[at(controller & (kControllers - 1))];
  Entry old = entry.load(std::memory_order_relaxed);
  while (!entry.compare_exchange_weak(old, {id, old.edits + 1}, std::memory_order_relaxed)) {
  }
}

bool MIDIMap::takes(const std::uint8_t* message) const noexcept {
  if ((message[0] & 0xF0) != kControlChange) return false;
  return getLearnTarget() != -1 || parameterOf(message[1] & 0x7F) != -1;
}

std::optional<MIDIMap::Move> MIDIMap::process(const std::uint8_t* message) noexcept {
  if (!takes(message)) return std::nullopt;
  const std::int32_t controller = message[1] & 0x7F;
  // If two audio threads receive a controller each, only one may learn.
  if (getLearnTarget() != -1) {
    learnLive(learnTarget.exchange(-1, std::memory_order_relaxed), controller);
  }
  const std::int32_t id = parameterOf(controller);
  if (id == -1) return std::nullopt;
  return Move{id, static_cast<float>((message[2] & 0x7F) / 127.0)};
}

bool MIDIMap::isChanged(std::size_t index, const Entry& entry) const noexcept {
  return entry.edits != storedEdits[index].load(std::memory_order_relaxed);
}

bool MIDIMap::saveChanges() {
  bool anyChanged = false;
  for (std::size_t i = 0; i < entries.size() && !anyChanged; ++i) {
    anyChanged = isChanged(i, entries[i].load(std::memory_order_relaxed));
  }
  if (!anyChanged) return false;
  // Do not ask a store that cannot be written again in every idle call.
  if (callsToWait.load(std::memory_order_relaxed) > 0 &&
      callsToWait.fetch_sub(1, std::memory_order_relaxed) > 0) {
    return true;
  }
  Entries seen;
  if (store.update(kStoreName, [&](const auto& stored) { return mergeInto(stored, seen); })) {
    for (std::size_t i = 0; i < seen.size(); ++i)
      storedEdits[i].store(seen[i].edits, std::memory_order_relaxed);
  } else {
    callsToWait.store(kCallsAfterFailure, std::memory_order_relaxed);
  }
  return true;
}

// Called under the store's lock, so that the later of two threads stores the newer table. Without a
// readable stored table it starts from the live one.
std::optional<std::string> MIDIMap::mergeInto(const std::optional<std::string>& stored,
                                              Entries& seen) {
  Table merged;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    seen[i] = entries[i].load(std::memory_order_relaxed);
    merged[i] = seen[i].id;
  }
  readTable(stored, merged);
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (seen[i].id == -1 || !isChanged(i, seen[i])) continue;
    std::replace(merged.begin(), merged.end(), seen[i].id, -1);
  }
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (isChanged(i, seen[i])) {
      merged[i] = seen[i].id;
    } else if (Entry expected = seen[i]; expected.id != merged[i]) {
      // Fails if the entry was edited since: that edit wins and is stored by the next call.
      entries[i].compare_exchange_strong(expected, {merged[i], expected.edits},
                                         std::memory_order_relaxed);
    }
  }
  const JsonTree array(made(jsonCreateIntArray(merged.data(), kControllers)));
  return JsonText(made(jsonPrintUnformatted(array.get()))).get();
}
