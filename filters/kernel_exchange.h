#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// Hands kernels from a control thread to the audio thread without waiting and without copying. Of
/// three kernels each side owns one, and the third lies between them. The control side fills
/// `spare` and publishes it; the audio thread takes the newest published kernel.
template <typename Kernel>
class KernelExchange {
 public:
  template <typename... Arguments>
  explicit KernelExchange(const Arguments&... arguments)
      : kernels{Kernel(arguments...), Kernel(arguments...), Kernel(arguments...)} {}

  // Control side, one thread at a time.
  [[nodiscard]] Kernel& spare() noexcept { return kernels[spareIndex]; }
  /// Returns whether the kernel published before has been taken; otherwise it never will be.
  bool publish() noexcept {
    // Release: hands over the filled kernel. Acquire: the audio thread has finished reading the one
    // that comes back.
    const std::uint32_t back = middle.exchange(spareIndex | kFresh, std::memory_order_acq_rel);
    spareIndex = back & kIndex;
    return (back & kFresh) == 0;
  }
  /// Whether what was published last has been taken, and what was active before is free.
  [[nodiscard]] bool taken() const noexcept {
    return (middle.load(std::memory_order_acquire) & kFresh) == 0;
  }

  // Audio thread.
  [[nodiscard]] const Kernel& active() const noexcept { return kernels[activeIndex]; }
  /// Whether `take` would change the active kernel.
  [[nodiscard]] bool waiting() const noexcept {
    return (middle.load(std::memory_order_relaxed) & kFresh) != 0;
  }
  /// Makes the newest published kernel the active one.
  void take() noexcept {
    if (!waiting()) return;
    activeIndex = middle.exchange(activeIndex, std::memory_order_acq_rel) & kIndex;
  }

 private:
  static constexpr std::uint32_t kIndex = 3;
  static constexpr std::uint32_t kFresh = 4;  // published and not yet taken

  std::array<Kernel, 3> kernels;
  std::uint32_t spareIndex = 0;
  std::atomic<std::uint32_t> middle{1};
  std::uint32_t activeIndex = 2;
};
