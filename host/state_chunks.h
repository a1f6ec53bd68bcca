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
  /// Applies the root of a document. Throws std::bad_alloc, with nothing changed.
  virtual void load(const JsonNode* root, bool isPreset) = 0;
  /// Called instead of `load` for bytes that hold no document.
  virtual void refuse() {}
  /// Whether anything in the state that does not mark itself as changed differs from the last full
  /// document.
  [[nodiscard]] virtual bool hasUnmarkedChanges() const { return false; }
};

/// The state as hosts store it: bytes of a document, packed unless the compression level is 0.
///
/// Threads: any but the audio thread; calls serialise themselves.
class StateChunks {
 public:
  /// `isCached`: a full form is kept and handed out again until `changeMark` says that the state
  /// has changed. All arguments must outlive it.
  StateChunks(HostLink& host, StateModel& model, std::atomic<bool>& changeMark, bool isCached);
  /// Replaces the model; before any other call.
  void connect(StateModel& newModel) noexcept { model = &newModel; }

  /// Points `*data` to the bytes, valid until the next call on the same thread, and returns their
  /// number; 0 and null when memory runs out. If caching is on and nothing has changed since the
  /// last full form, its bytes are handed out again.
  std::int32_t get(void** data, bool isPreset);
  /// A new document of the present state for the effect's own use; bytes handed to hosts stay
  /// valid. Empty when memory runs out.
  [[nodiscard]] std::string document(bool isPreset);
  /// Loads packed or plain bytes. Bytes that hold no document change no value and set `refused`.
  /// Returns `byteSize`, or 0 if `data` is null or `byteSize` negative. Throws std::bad_alloc, with
  /// nothing changed.
  std::int32_t set(const void* data, std::int32_t byteSize, bool isPreset);
  /// Loads a document that has been parsed already, given by its root. Throws as `set` does.
  void take(const JsonNode* root, bool isPreset);
  /// Whether the last `set` held no document.
  [[nodiscard]] bool refused() const noexcept { return isRefused.load(std::memory_order_relaxed); }

  void setLevel(std::int32_t newLevel) noexcept;  ///< compression, 0 none to 9 smallest; clamped
  void forget();                                  ///< the next request makes a new document

  /// Marks the state as changed since the last document was handed out.
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
  Chunk cache;                                               // the last one handed out
  std::vector<std::pair<std::thread::id, Chunk>> handedOut;  // the last one of each thread
};
