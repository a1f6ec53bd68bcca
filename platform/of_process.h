#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/process.h"

/// The one object of its kind in a process, made at first use. For static storage.
///
/// A child of `fork()` makes an object of its own and never touches the one it has inherited: the
/// threads that this one relies on are not there, and a lock of it may be held by one of them.
/// Threads: any but the audio thread.
template <typename Object>
class OfProcess {
 public:
  using Make = Object (*)();

  explicit OfProcess(Make makeObject) noexcept : make(makeObject) {}
  /// Deletes the process's own.
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
    // No lock: one could be held for ever, too. Of two threads that get here the first one wins.
    auto made = std::make_unique<Place>(make, found);
    if (!newest.compare_exchange_strong(found, made.get())) return found->object;
    return made.release()->object;
  }

 private:
  struct Place {
    Place(Make makeObject, Place* before) : object(makeObject()), inherited(before) {}

    Object object;
    const std::int64_t process = processId();
    Place* const inherited;  // kept for as long as the process lives
  };

  [[nodiscard]] static bool isOwn(const Place* place) noexcept {
    return place != nullptr && place->process == processId();
  }

  const Make make;
  std::atomic<Place*> newest{nullptr};
};
