#pragma once

#include <atomic>
#include <span>
#include <vector>

#include "platform/plug_base_mutex.h"

/// The newest kernel of a filter, for what shows it. Threads: any but the audio thread.
class KernelCopy {
 public:
  /// Throws std::bad_alloc, with nothing changed.
  void set(std::span<const double> taps) {
    const PlugBaseMutex::Scope scope(lock);
    newest.assign(taps.begin(), taps.end());
    number = ++lastNumber;
  }
  /// Copies the kernel to `taps` unless its number is `known`. Returns its number, which no other
  /// kernel of the process has had; 0, with nothing copied, if there is none yet.
  unsigned copy(unsigned known, std::vector<double>& taps) const {
    const PlugBaseMutex::Scope scope(lock);
    if (number != known) taps = newest;
    return number;
  }

 private:
  static inline std::atomic<unsigned> lastNumber{0};

  mutable PlugBaseMutex lock;
  // Under the lock.
  std::vector<double> newest;
  unsigned number = 0;
};
