#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

/// Hands loads from a control thread to the audio thread, which reads them where they are and says
/// when it has done with one. All belong to the control side, which alone makes and frees them.
/// `Load` has a member `std::atomic<bool> done`, at first false.
template <typename Load>
class KernelHandover {
 public:
  // Control side, one thread at a time.
  /// Makes room for one more, so that `publish` allocates nothing. Throws std::bad_alloc.
  void makeRoom() { loads.reserve(loads.size() + 1); }
  /// Takes back and frees what has been published and not yet taken.
  void withdraw() noexcept {
    Load* const untaken = incoming.exchange(nullptr, std::memory_order_acq_rel);
    if (untaken != nullptr) untaken->done.store(true, std::memory_order_relaxed);
    collect();
  }
  /// Makes `load` the newest one.
  void publish(std::unique_ptr<Load> load) {
    makeRoom();
    withdraw();
    Load* const newest = load.get();
    loads.push_back(std::move(load));
    // Release: hands over what the load holds.
    incoming.store(newest, std::memory_order_release);
  }
  /// Frees the loads that are done with.
  void collect() noexcept {
    // Acquire: the audio thread has finished reading.
    std::erase_if(loads,
                  [](const auto& load) { return load->done.load(std::memory_order_acquire); });
  }
  /// Those that the audio thread holds or may take.
  [[nodiscard]] const std::vector<std::unique_ptr<Load>>& present() const noexcept { return loads; }

  // Audio thread.
  [[nodiscard]] bool waiting() const noexcept {
    return incoming.load(std::memory_order_relaxed) != nullptr;
  }
  /// The newest load, or null if it has been taken. The caller may use it until it says `done`.
  [[nodiscard]] Load* take() noexcept {
    return waiting() ? incoming.exchange(nullptr, std::memory_order_acq_rel) : nullptr;
  }
  /// Gives back a load; null is none.
  static void giveBack(Load* load) noexcept {
    if (load != nullptr) load->done.store(true, std::memory_order_release);
  }

 private:
  std::vector<std::unique_ptr<Load>> loads;
  std::atomic<Load*> incoming{nullptr};
};
