#include "tests/support/realtime_guard.h"

#include <gtest/gtest.h>
#include <semaphore.h>

#include <atomic>
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

// GCC's thread sanitizer reports an aligned allocation only when it is given back, and knows
// nothing of locks timed by the steady clock.
#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

// Keeps the compiler from proving that an allocation is not needed.
void escape(void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }

struct Case {
  const char* name;
  void (*run)();
};

TEST(RealtimeGuard, seesEveryKindOfHeapCall) {
  const Case cases[] = {
      {"malloc",
       [] {
         void* const memory = std::malloc(16);
         escape(memory);
         std::free(memory);
       }},
      {"calloc",
       [] {
         void* const memory = std::calloc(4, 16);
         escape(memory);
         std::free(memory);
       }},
      {"aligned_alloc",
       [] {
         void* const memory = std::aligned_alloc(64, 128);
         escape(memory);
         std::free(memory);
       }},
      {"posix_memalign",
       [] {
         void* memory = nullptr;
         if (posix_memalign(&memory, 64, 128) == 0) std::free(memory);
       }},
      {"new", [] { escape(std::make_unique<double>(1.0).get()); }},
      {"over-aligned new",
       [] {
         struct alignas(64) Line {
           char bytes[64];
         };
         escape(std::make_unique<Line>().get());
       }},
      {"vector", [] { escape(std::vector<double>(100).data()); }},
      {"a call inside a shared library", [] { escape(std::string(100, 'x').data()); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const RealtimeGuard guard;
    c.run();
    EXPECT_GE(guard.heapCalls(), kThreadSanitizer ? 1 : 2);  // taken and given back
  }
}

TEST(RealtimeGuard, seesReallocAndFreeAlone) {
  void* memory = std::malloc(16);
  escape(memory);
  {
    const RealtimeGuard guard;
    memory = std::realloc(memory, 100000);
    escape(memory);
    EXPECT_GE(guard.heapCalls(), 1);
  }
  const RealtimeGuard guard;
  std::free(memory);
  EXPECT_EQ(guard.heapCalls(), 1);
}

TEST(RealtimeGuard, seesEveryKindOfLock) {
  const Case cases[] = {
      {"mutex",
       [] {
         static std::mutex mutex;
         const std::lock_guard lock(mutex);
       }},
      {"recursive mutex",
       [] {
         static std::recursive_mutex mutex;
         const std::lock_guard lock(mutex);
       }},
      {"timed mutex",
       [] {
         static std::timed_mutex mutex;
         if (kThreadSanitizer) return void(std::scoped_lock(mutex));
         const std::unique_lock lock(mutex, std::chrono::milliseconds(1));
       }},
      {"shared mutex, shared",
       [] {
         static std::shared_mutex mutex;
         const std::shared_lock lock(mutex);
       }},
      {"shared mutex, alone",
       [] {
         static std::shared_mutex mutex;
         const std::lock_guard lock(mutex);
       }},
      {"semaphore",
       [] {
         sem_t semaphore;
         sem_init(&semaphore, 0, 1);
         sem_wait(&semaphore);
         sem_destroy(&semaphore);
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const RealtimeGuard guard;
    c.run();
    EXPECT_EQ(guard.lockCalls(), 1);
  }
}

TEST(RealtimeGuard, seesAWaitApartFromItsLock) {
  std::mutex mutex;
  std::condition_variable changed;
  std::unique_lock lock(mutex);
  const RealtimeGuard guard;
  changed.wait_for(lock, std::chrono::milliseconds(1));
  EXPECT_GE(guard.lockCalls(), 1);
}

TEST(RealtimeGuard, letsArithmeticAndTryLocksPass) {
  std::vector<double> signal(4096, 0.25);
  std::mutex mutex;
  const RealtimeGuard guard;
  double y = 0.0;
  for (double& x : signal) x = y += (std::sin(x) - y) * 0.1;
  if (mutex.try_lock()) mutex.unlock();
  const int heapCalls = guard.heapCalls();
  const int lockCalls = guard.lockCalls();
  EXPECT_EQ(heapCalls, 0);
  EXPECT_EQ(lockCalls, 0);
  escape(signal.data());
}

TEST(RealtimeGuard, countsItsOwnThreadAlone) {
  std::mutex mutex;
  int heapCalls = 0;
  int lockCalls = 0;
  std::atomic<int> stage{0};
  std::thread other([&] {
    while (stage.load() == 0) std::this_thread::yield();
    const RealtimeGuard guard;
    const std::lock_guard lock(mutex);
    escape(std::make_unique<double>(1.0).get());
    heapCalls = guard.heapCalls();
    lockCalls = guard.lockCalls();
    stage.store(2);
  });
  const RealtimeGuard guard;
  stage.store(1);
  while (stage.load() != 2) std::this_thread::yield();
  EXPECT_EQ(guard.heapCalls(), 0);
  EXPECT_EQ(guard.lockCalls(), 0);
  other.join();
  EXPECT_EQ(heapCalls, 2);
  EXPECT_EQ(lockCalls, 1);
}

}  // namespace
