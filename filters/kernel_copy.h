#pragma once

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "platform/plug_base_mutex.h"

/// The taps of a kernel, with a number that no other kernel of the process has; never 0.
struct NumberedTaps {
  explicit NumberedTaps(std::vector<double> kernel)
      : taps(std::move(kernel)), number(lastNumber.fetch_add(1) + 1) {}

  const std::vector<double> taps;
  const unsigned number;

 private:
  static inline std::atomic<unsigned> lastNumber{0};
};

/// The newest kernel of a filter, for what shows it. Threads: any but the audio thread.
class KernelCopy {
 public:
  using Shared = std::shared_ptr<const NumberedTaps>;

  /// `kernel`: null if there is none any more.
  void set(Shared kernel) noexcept {
    const PlugBaseMutex::Scope scope(lock);
    newest.swap(kernel);
  }
  /// Copies the kernel to `taps` unless its number is `known`. Returns its number; 0, with nothing
  /// copied, if there is none. Instances with the same kernel return the same number.
  unsigned copy(unsigned known, std::vector<double>& taps) const {
    const Shared kernel = shared();
    if (kernel == nullptr) return 0;
    if (kernel->number != known) taps = kernel->taps;
    return kernel->number;
  }

 private:
  [[nodiscard]] Shared shared() const noexcept {
    const PlugBaseMutex::Scope scope(lock);
    return newest;
  }

  mutable PlugBaseMutex lock;
  Shared newest;  // under the lock
};
