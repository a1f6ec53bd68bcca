#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/process.h"

/// The single object of its kind in a process, made on first use. For static storage.
///
/// A child of `fork()` makes an object of its own and never touches the inherited one: the threads
/// which that one relies on do not exist in the child, and one of them may have held its lock.
/// Threads: any but the audio thread.
template <typename Object>
class OfProcess {
 public:
  using Make = Object (*)();

  explicit OfProcess(Make makeObject) noexcept : make(makeObject) {}
  /// Deletes the object of this process, not inherited ones.
  ~OfProcess() {
    Place* const own = newest.load(std::memory_order_acquire);
    if (!isOwn(own)) return;
    newest.store(own->inherited, std::memory_order_release);
    delete own;
  }
  OfProcess(const OfProcess&) = delete;
  OfProcess& operator=(const OfProcess&) = delete;

  [[nodiscard]] Object& get() {
    Place* found = newest.load(std::memory_order_acquire);
    if (isOwn(found)) return found->object;
    // No lock: after a fork it, too, could be held for ever. If two threads get here, the first
    // one's object is kept.
    auto made = std::make_unique<Place>(make, found);
    if (!newest.compare_exchange_strong(found, made.get())) return found->object;
    return made.release()->object;
  }

 private:
  struct Place {
    Place(Make makeObject, Place* before) : object(makeObject()), inherited(before) {}

    Object object;
    const std::int64_t process = processId();
    Place* const inherited;  // never deleted in this process
  };

  [[nodiscard]] static bool isOwn(const Place* place) noexcept {
    return place != nullptr && place->process == processId();
  }

  const Make make;
  std::atomic<Place*> newest{nullptr};
};
