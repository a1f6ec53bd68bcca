// What watches the audio thread in all other tests must see what it is for.

#include "tests/support/real_time.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/seccomp_child.h"

namespace {

// GCC's thread sanitizer reports an aligned allocation only when it is given back.
#if defined(__SANITIZE_THREAD__)
constexpr int kLeastHeapCalls = 1;
#else
constexpr int kLeastHeapCalls = 2;  // taken and given back
#endif

// Keeps the compiler from proving that an allocation is not needed.
void escape(void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }

void giveBack(void* memory) {
  escape(memory);
  std::free(memory);
}

TEST(RealtimeGuard, SeesEveryKindOfHeapCall) {
  void* aligned = nullptr;
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"malloc", [] { giveBack(std::malloc(16)); }},
      {"calloc", [] { giveBack(std::calloc(4, 16)); }},
      {"realloc", [] { giveBack(std::realloc(nullptr, 100)); }},
      {"aligned_alloc", [] { giveBack(std::aligned_alloc(64, 128)); }},
      {"memalign", [] { giveBack(memalign(64, 128)); }},
      {"posix_memalign", [&] { giveBack((posix_memalign(&aligned, 64, 128), aligned)); }},
      {"new", [] { escape(std::make_unique<double>(1.0).get()); }},
      {"inside a shared library", [] { escape(std::string(100, 'x').data()); }},
  };
  for (const auto& [name, run] : rows) {
    const RealtimeGuard guard;
    run();
    EXPECT_GE(guard.heapCalls(), kLeastHeapCalls) << name;
    EXPECT_EQ(guard.lockCalls(), 0) << name;
  }
}

TEST(RealtimeGuard, SeesEveryKindOfLockCallOfItsOwnThread) {
  // Free locks, and conditions that time out at once.
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_rwlock_t shared = PTHREAD_RWLOCK_INITIALIZER;
  pthread_cond_t never = PTHREAD_COND_INITIALIZER;
  sem_t semaphore;
  sem_init(&semaphore, 0, 1);
  const timespec past{};
  const auto unlocked = [&](int result) { return pthread_mutex_unlock(&mutex) + result; };
  const auto locked = [&] { return pthread_mutex_trylock(&mutex); };
  const struct {
    const char* name;
    std::function<int()> run;
    int calls = 1;
  } rows[] = {
      {"lock", [&] { return unlocked(pthread_mutex_lock(&mutex)); }},
      {"timed lock", [&] { return unlocked(pthread_mutex_timedlock(&mutex, &past)); }},
#ifndef __SANITIZE_THREAD__  // which overlooks this call, and then wonders at the release
      {"clock lock",
       [&] { return unlocked(pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &past)); }},
#endif
      {"read lock",
       [&] { return pthread_rwlock_rdlock(&shared) + pthread_rwlock_unlock(&shared); }},
      {"write lock",
       [&] { return pthread_rwlock_wrlock(&shared) + pthread_rwlock_unlock(&shared); }},
      {"timed wait",
       [&] {
         return locked() != 0 ? -1 : unlocked(pthread_cond_timedwait(&never, &mutex, &past));
       }},
      {"clock wait",
       [&] {
         if (locked() != 0) return -1;
         return unlocked(pthread_cond_clockwait(&never, &mutex, CLOCK_MONOTONIC, &past));
       }},
      {"semaphore", [&] { return sem_wait(&semaphore); }},
      {"try-lock", [&] { return unlocked(locked()); }, 0},
      {"release", [&] { return sem_post(&semaphore); }, 0},
  };
  for (const auto& row : rows) {
    const RealtimeGuard guard;
    const int result = row.run();
    EXPECT_TRUE(result == 0 || result == ETIMEDOUT) << row.name;
    EXPECT_EQ(guard.lockCalls(), row.calls) << row.name;
  }
  std::mutex own;
  std::condition_variable changed;
  bool isDone = false;
  std::thread other([&] {
    const RealtimeGuard guard;
    const std::lock_guard lock(own);
    isDone = true;
    changed.notify_one();
    EXPECT_EQ(guard.lockCalls(), 1) << "not those of the thread that waits for it";
  });
  const RealtimeGuard guard;
  std::unique_lock lock(own);
  while (!isDone) changed.wait(lock);
  EXPECT_GE(guard.lockCalls(), 1);
  lock.unlock();
  other.join();
}

TEST(RealTimeCheck, FailsForEitherKindUnlessItIsLifted) {
  static std::mutex mutex;
  const auto lock = [] { const std::lock_guard held(mutex); };
  const auto take = [] { giveBack(std::malloc(16)); };
  EXPECT_NONFATAL_FAILURE(inRealTime(lock), "heap calls and 1 lock calls");
  EXPECT_NONFATAL_FAILURE(inRealTime(take), "and 0 lock calls");
  {
    const RealTimeCheck::Exception lifted;
    inRealTime(lock);
  }
  EXPECT_NONFATAL_FAILURE(inRealTime(lock), "1 lock calls");
  inRealTime([] { escape(nullptr); });
}

TEST(SeccompChild, EndsAtTheFirstSystemCall) {
  static std::mutex held;
  static std::vector<double> signal;
  const auto made = [](int number) { return "made system call " + std::to_string(number); };
  const std::pair<std::string, void (*)()> rows[] = {
      {SeccompEnd::kClean, [] { signal.back() = std::sin(signal.back()); }},
      {made(SYS_openat), [] { escape(std::fopen("/dev/null", "r")); }},
      {made(SYS_write), [] { syscall(SYS_write, STDERR_FILENO, "", 0); }},
      {made(SYS_read), [] { syscall(SYS_read, STDIN_FILENO, nullptr, 0); }},
      {made(SYS_futex), [] { held.lock(); }},
      {SeccompEnd::kCrashed, [] { __builtin_trap(); }},
  };
  for (const auto& [end, process] : rows) {
    const auto prepare = [] {
      signal.assign(4096, 0.25);
      held.lock();
    };
    const SeccompEnd found = runUnderSeccomp(prepare, process);
    if (found.unavailable()) GTEST_SKIP();
    EXPECT_EQ(found.text(), end);
    EXPECT_TRUE(signal.empty()) << "the child must not work on the caller's memory";
  }
}

}  // namespace
