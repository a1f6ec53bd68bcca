#include "tests/support/realtime_guard.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

// GCC's thread sanitizer reports an aligned allocation only when it is given back.
#if defined(__SANITIZE_THREAD__)
constexpr int kLeastHeapCalls = 1;
#else
constexpr int kLeastHeapCalls = 2;  // taken and given back
#endif

// Keeps the compiler from proving that an allocation is not needed.
void escape(void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }

void takeAndGiveBack(void* memory) {
  escape(memory);
  std::free(memory);
}

TEST(RealtimeGuard, SeesEveryKindOfHeapCall) {
  const struct {
    const char* name;
    void (*run)();
  } cases[] = {{"malloc", [] { takeAndGiveBack(std::malloc(16)); }},
               {"calloc", [] { takeAndGiveBack(std::calloc(4, 16)); }},
               {"aligned_alloc", [] { takeAndGiveBack(std::aligned_alloc(64, 128)); }},
               {"realloc", [] { takeAndGiveBack(std::realloc(nullptr, 100)); }},
               {"new", [] { escape(std::make_unique<double>(1.0).get()); }},
               {"inside a shared library", [] { escape(std::string(100, 'x').data()); }}};
  for (const auto& c : cases) {
    const RealtimeGuard guard;
    c.run();
    EXPECT_GE(guard.heapCalls(), kLeastHeapCalls) << c.name;
  }
}

TEST(RealtimeGuard, SeesLocksAndWaitsOfItsOwnThread) {
  std::mutex mutex;
  std::shared_mutex shared;
  std::condition_variable changed;
  const RealtimeGuard guard;
  std::unique_lock lock(mutex);
  EXPECT_EQ(guard.lockCalls(), 1);
  { const std::shared_lock reading(shared); }
  EXPECT_EQ(guard.lockCalls(), 2);
  changed.wait_for(lock, std::chrono::milliseconds(1));
  EXPECT_GE(guard.lockCalls(), 3);
  std::thread([&shared] {
    const RealtimeGuard own;
    const std::lock_guard writing(shared);
    EXPECT_EQ(own.lockCalls(), 1) << "not those of the thread that started it";
  }).join();
}

TEST(RealtimeGuard, LetsArithmeticAndTryLocksPass) {
  std::vector<double> signal(4096, 0.25);
  std::mutex mutex;
  const RealtimeGuard guard;
  double y = 0.0;
  for (double& x : signal) x = y += (std::sin(x) - y) * 0.1;
  if (mutex.try_lock()) mutex.unlock();
  EXPECT_EQ(guard.heapCalls() + guard.lockCalls(), 0);
  escape(signal.data());
}

}  // namespace
