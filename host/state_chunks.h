#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/host_link.h"
#include "state/json_document.h"

/// A state that can be stored as a document.
class StateModel {
 public:
  StateModel() = default;
  virtual ~StateModel() = default;
  StateModel(const StateModel&) = delete;
  StateModel& operator=(const StateModel&) = delete;

  /// Throws std::bad_alloc.
  [[nodiscard]] virtual JsonTree save(bool isPreset) = 0;
  /// Applies the root of a document. Where memory runs out it throws with nothing changed.
  virtual void load(const JsonNode* root, bool isPreset) = 0;
  /// What was asked to be loaded is no document.
  virtual void refuse() {}
  /// Whether the state holds something that differs from the last full document and that nobody
  /// marks as changed.
  [[nodiscard]] virtual bool hasUnmarkedChanges() const { return false; }
};

/// The state as hosts store it: bytes of a document, packed unless the compression level is 0.
///
/// Threads: any but the audio thread; one after the other by themselves.
class StateChunks {
 public:
  /// `isCached`: a full form is kept for the next request, as long as nothing changes, which
  /// `changeMark` tells. All must outlive it.
  StateChunks(HostLink& host, StateModel& model, std::atomic<bool>& changeMark, bool isCached);
  /// Another model in place of the first; before any other call.
  void connect(StateModel& newModel) noexcept { model = &newModel; }

  /// Points `*data` to the bytes, valid until the next call on the same thread, and returns their
  /// number; 0 and null without memory. Where nothing has changed since the last full form, the
  /// bytes handed out last are handed out again.
  std::int32_t get(void** data, bool isPreset);
  /// The same for the product's own use, of this moment; what hosts were handed stays. Empty
  /// without memory.
  [[nodiscard]] std::string document(bool isPreset);
  /// Takes packed or plain bytes; those that hold no document change no value, and `refused` tells.
  /// Returns `byteSize`; 0 for null `data` and for less than no bytes. Throws std::bad_alloc, with
  /// nothing changed.
  std::int32_t set(const void* data, std::int32_t byteSize, bool isPreset);
  /// Takes the root of a document that has been read already; throws as `set`.
  void take(const JsonNode* root, bool isPreset);
  /// Whether the last `set` held no document.
  [[nodiscard]] bool refused() const noexcept { return isRefused.load(std::memory_order_relaxed); }

  void setLevel(std::int32_t newLevel) noexcept;  ///< 0 none to 9 smallest; clamped
  void forget();                                  ///< the next request makes a new document

  /// The state is another one than the document that was handed out last.
  void markChanged() noexcept { isDirty.store(true, std::memory_order_release); }

 private:
  using Chunk = std::shared_ptr<const std::string>;

  [[nodiscard]] std::string build(bool isPreset, bool& isPacked);
  void keepFor(std::thread::id reader, const Chunk& chunk);

  HostLink& host;
  StateModel* model;
  std::atomic<bool>& isDirty;
  const bool isCached;
  std::atomic<bool> isRefused{false};
  std::atomic<std::int32_t> level{9};
  // In a `StateScope`.
  Chunk cache;                                               // what was handed out last
  std::vector<std::pair<std::thread::id, Chunk>> handedOut;  // to each thread last
};
