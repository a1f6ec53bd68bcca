#include "host/state_chunks.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "state/chunk_codec.h"
#include "state/json_memory.h"

StateChunks::StateChunks(HostLink& hostLink, StateModel& state, std::atomic<bool>& changeMark,
                         bool keepsFullForm)
    : host(hostLink), model(&state), isDirty(changeMark), isCached(keepsFullForm) {}

void StateChunks::setLevel(std::int32_t newLevel) noexcept {
  level.store(std::clamp(newLevel, 0, 9), std::memory_order_relaxed);
}

void StateChunks::forget() {
  const HostLink::StateScope scope(host);
  cache.reset();
  markChanged();
}

std::int32_t StateChunks::get(void** data, bool isPreset) {
  if (data == nullptr) return 0;
  const HostLink::StateScope scope(host);
  try {
    if (model->hasUnmarkedChanges()) markChanged();
    if (isPreset || !cache || isDirty.load(std::memory_order_acquire)) {
      // Before the values are read: changes made meanwhile mark the state again. An exchange, so
      // that values written before a mark that it clears are seen.
      if (!isPreset && isCached) isDirty.exchange(false);
      bool isPacked = false;
      cache = std::make_shared<const std::string>(build(isPreset, isPacked));
      if (!isPacked) markChanged();
    }
    keepFor(std::this_thread::get_id(), cache);
  } catch (const std::bad_alloc&) {
    markChanged();
    *data = nullptr;
    return 0;
  }
  *data = const_cast<char*>(cache->data());
  return static_cast<std::int32_t>(cache->size());
}

/// Keeps a chunk alive for its reader: another thread may ask while this one still reads.
void StateChunks::keepFor(std::thread::id reader, const Chunk& chunk) {
  constexpr std::size_t kMostReaders = 16;  // more than hosts use at a time; the oldest goes first
  std::erase_if(handedOut, [reader](const auto& entry) { return entry.first == reader; });
  handedOut.reserve(kMostReaders);
  if (handedOut.size() == kMostReaders) handedOut.erase(handedOut.begin());
  handedOut.emplace_back(reader, chunk);
}

std::string StateChunks::document(bool isPreset) {
  const HostLink::StateScope scope(host);
  markChanged();  // this document is not the one the cache holds
  try {
    bool isPacked = false;
    return build(isPreset, isPacked);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

/// If the text cannot be packed, returns it plain, with `isPacked` false.
std::string StateChunks::build(bool isPreset, bool& isPacked) {
  const JsonTree tree = model->save(isPreset);
  const JsonText text(made(jsonPrintFormatted(tree.get())));
  std::string chunk(text.get(), std::strlen(text.get()) + 1);
  isPacked = true;
  const std::int32_t packing = level.load(std::memory_order_relaxed);
  if (packing == 0) return chunk;
  auto packed = packChunk(chunk, packing);
  isPacked = packed.has_value();
  return packed ? std::move(*packed) : chunk;
}

std::int32_t StateChunks::set(const void* data, std::int32_t byteSize, bool isPreset) {
  const HostLink::StateScope scope(host);
  markChanged();
  if (data == nullptr || byteSize < 0) return 0;
  const auto root =
      readDocument({static_cast<const char*>(data), static_cast<std::size_t>(byteSize)});
  isRefused.store(root == nullptr, std::memory_order_relaxed);
  if (root != nullptr) {
    model->load(root.get(), isPreset);
  } else {
    model->refuse();
  }
  return byteSize;
}

void StateChunks::take(const JsonNode* root, bool isPreset) {
  const HostLink::StateScope scope(host);
  markChanged();
  isRefused.store(false, std::memory_order_relaxed);
  model->load(root, isPreset);
}
