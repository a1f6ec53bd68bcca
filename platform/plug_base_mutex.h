#pragma once

#include <mutex>

/// A lock, used as a base class by objects with one lock, or as a member.
/// Not recursive: a thread that holds it must not enter again. Never entered on the audio thread.
class PlugBaseMutex {
 public:
  PlugBaseMutex() = default;
  PlugBaseMutex(const PlugBaseMutex&) = delete;
  PlugBaseMutex& operator=(const PlugBaseMutex&) = delete;

  void enter() { mutex.lock(); }
  void leave() { mutex.unlock(); }

  /// Holds the lock for a scope.
  class Scope {
   public:
    explicit Scope(PlugBaseMutex& owner) : held(owner) { held.enter(); }
    ~Scope() { held.leave(); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    PlugBaseMutex& held;
  };

 private:
  std::mutex mutex;
};
