#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "platform/plug_base_mutex.h"

/// An object that the audio thread fills for readers on other threads, and that exists only while
/// there are any: the first one makes it, and after the last one it is freed, at the latest when
/// the next one comes.
template <typename Object>
class OnDemand {
 public:
  // Any thread but the audio thread.
  /// `make` returns a shared pointer and may throw; then nothing has changed.
  template <typename Make>
  void addReader(const Make& make) {
    const PlugBaseMutex::Scope scope(lock);
    if (readers == 0) give(make());
    ++readers;
  }
  void removeReader() noexcept {
    const PlugBaseMutex::Scope scope(lock);
    if (--readers == 0) give(nullptr);
  }
  /// Replaces the object by a new one, if it exists.
  template <typename Make>
  void remake(const Make& make) {
    const PlugBaseMutex::Scope scope(lock);
    if (readers > 0) give(make());
  }
  /// Null without readers.
  [[nodiscard]] std::shared_ptr<Object> get() const {
    const PlugBaseMutex::Scope scope(lock);
    return current;
  }

  /// The audio thread's use of the object, one at a time; null if there is none.
  class Use {
   public:
    explicit Use(OnDemand& from) noexcept : owner(from) {
      Object* const seen = owner.offered.load(std::memory_order_relaxed);
      if (seen == nullptr) return;
      // Either `give` sees that it is in use, or this sees that it has gone.
      owner.inUse.store(seen, std::memory_order_seq_cst);
      if (owner.offered.load(std::memory_order_seq_cst) == seen) object = seen;
    }
    ~Use() { owner.inUse.store(nullptr, std::memory_order_release); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    [[nodiscard]] Object* get() const noexcept { return object; }

   private:
    OnDemand& owner;
    Object* object = nullptr;
  };

 private:
  /// Under the lock.
  void give(std::shared_ptr<Object> next) noexcept {
    std::swap(current, next);
    offered.store(current.get(), std::memory_order_seq_cst);
    const Object* const used = inUse.load(std::memory_order_seq_cst);
    if (next != nullptr && used == next.get()) {
      retired = std::move(next);  // the one before is not in use, since this is
    } else if (used != retired.get()) {
      retired.reset();
    }
  }

  mutable PlugBaseMutex lock;
  int readers = 0;
  std::shared_ptr<Object> current;
  std::shared_ptr<Object> retired;  // the audio thread used it when it was taken back
  std::atomic<Object*> offered{nullptr};
  std::atomic<Object*> inUse{nullptr};
};
