#include "dynamics/shared_buffers.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "platform/of_process.h"
#include "platform/plug_base_mutex.h"
#include "platform/process.h"

/// The sets of the process, each with a place of its own. Places stay where they are while anybody
/// may look at them: row k holds 2^k.
class SharedBuffers::Pool {
 public:
  using Free = std::atomic<WorkBuffers*>;  // null while the set is borrowed

  static Pool& ofProcess() {
    static OfProcess<std::unique_ptr<Pool>> all([] { return std::make_unique<Pool>(); });
    return *all.get();
  }
  [[nodiscard]] bool isInherited() const noexcept { return process != processId(); }

  void add() {
    const PlugBaseMutex::Scope scope(lock);
    unsigned index = 0;
    while (index < count.load(std::memory_order_relaxed) && at(index).made != nullptr) ++index;
    if (auto& row = rows[rowOf(index)]; row == nullptr) {
      row = std::make_unique<Place[]>(std::size_t{1} << rowOf(index));
    }
    Place& place = at(index);
    place.made = std::make_unique<WorkBuffers>();
    if (index < kWarm) place.made->touch();
    place.free.store(place.made.get(), std::memory_order_release);
    // Release: hands over the row.
    if (index == count.load(std::memory_order_relaxed)) {
      count.store(index + 1, std::memory_order_release);
    }
  }

  void remove() noexcept {
    const PlugBaseMutex::Scope scope(lock);
    unsigned left = count.load(std::memory_order_relaxed);
    // The last one that is free: chains that are left need no more than the others.
    for (unsigned index = left - 1;; index = (index + left - 1) % left) {
      Place& place = at(index);
      if (place.free.exchange(nullptr, std::memory_order_acquire) == nullptr) continue;
      place.made.reset();
      break;
    }
    while (left > 0 && at(left - 1).made == nullptr) --left;
    count.store(left, std::memory_order_relaxed);
    if (left == 0) rows = {};
  }

  /// A set that is free and where it goes when it is so again.
  WorkBuffers* borrow(Free*& from) noexcept {
    // A thread finds its set again, as long as no other needs it, among those that are in use.
    const std::size_t thread = std::hash<std::thread::id>{}(std::this_thread::get_id());
    for (std::size_t i = thread % kWarm;; ++i) {
      // Acquire: rows. Each time, since a set added now may be the only one that is free.
      Free& free = at(static_cast<unsigned>(i % count.load(std::memory_order_acquire))).free;
      if (free.load(std::memory_order_relaxed) == nullptr) continue;
      // Acquire: what the thread before has done with it.
      if (WorkBuffers* const found = free.exchange(nullptr, std::memory_order_acquire)) {
        from = &free;
        return found;
      }
    }
  }

  unsigned size() noexcept {
    const PlugBaseMutex::Scope scope(lock);
    unsigned sets = 0;
    for (unsigned i = 0; i < count.load(std::memory_order_relaxed); ++i) {
      if (at(i).made != nullptr) ++sets;
    }
    return sets;
  }

 private:
  static constexpr unsigned kWarm = 8;  // sets, about what threads use at a time

  struct Place {
    Free free{nullptr};
    std::unique_ptr<WorkBuffers> made;
  };
  static std::size_t rowOf(unsigned index) noexcept {
    return static_cast<std::size_t>(std::bit_width(index + 1)) - 1;
  }
  Place& at(unsigned index) noexcept {
    const std::size_t row = rowOf(index);
    return rows[row][index + 1 - (std::size_t{1} << row)];
  }

  const std::int64_t process = processId();
  PlugBaseMutex lock;
  std::array<std::unique_ptr<Place[]>, 32> rows;
  std::atomic<unsigned> count{0};  // places up to the last one that has a set
};

SharedBuffers::SharedBuffers() : pool(Pool::ofProcess()) { pool.add(); }

SharedBuffers::~SharedBuffers() {
  giveBack();
  // In a child process the lock may be held for ever.
  if (!pool.isInherited()) pool.remove();
}

void SharedBuffers::borrow() noexcept {
  if (borrowed == nullptr) borrowed = pool.borrow(origin);
}

void SharedBuffers::giveBack() noexcept {
  if (borrowed == nullptr) return;
  // Release: the next thread writes what this one has read.
  origin->store(borrowed, std::memory_order_release);
  borrowed = nullptr;
}

unsigned SharedBuffers::count() { return Pool::ofProcess().size(); }
