// What watches the audio thread in all other tests must see what it is for.

#include "tests/support/real_time.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cmath>
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

#include "tests/support/sanitizers.h"
#include "tests/support/seccomp_child.h"

namespace {

#if CORVANTHELIS_THREAD_SANITIZER  // reports an aligned allocation only when it is given back
constexpr int kHeap = 1;
#else
constexpr int kHeap = 2;  // taken and given back
#endif

// Keeps the compiler from proving that an allocation is not needed.
int escape(const void* pointer) {
  asm volatile("" : : "g"(pointer) : "memory");
  return 0;
}

int giveBack(void* memory) {
  escape(memory);
  std::free(memory);
  return 0;
}

TEST(RealtimeGuard, SeesEveryKindOfHeapAndLockCallOfItsOwnThread) {
  // Free locks, and conditions that time out at once or that another thread changes all the time.
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_rwlock_t shared = PTHREAD_RWLOCK_INITIALIZER;
  pthread_cond_t never = PTHREAD_COND_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  sem_t semaphore;
  sem_init(&semaphore, 0, 2);
  const timespec past{};
  void* aligned = nullptr;
  const auto unlocked = [&](int result) { return pthread_mutex_unlock(&mutex) + result; };
  const auto held = [&](const auto& call) {
    return pthread_mutex_trylock(&mutex) != 0 ? -1 : unlocked(call());
  };
  const auto clockWait = [&] {
    return pthread_cond_clockwait(&never, &mutex, CLOCK_MONOTONIC, &past);
  };
  const struct {
    const char* name;
    int heapCalls, lockCalls;
    std::function<int()> run;
  } rows[] = {
    {"malloc", kHeap, 0, [] { return giveBack(std::malloc(16)); }},
    {"calloc", kHeap, 0, [] { return giveBack(std::calloc(4, 16)); }},
    {"realloc", kHeap, 0, [] { return giveBack(std::realloc(nullptr, 100)); }},
    {"aligned_alloc", kHeap, 0, [] { return giveBack(std::aligned_alloc(64, 128)); }},
    {"memalign", kHeap, 0, [] { return giveBack(memalign(64, 128)); }},
    {"posix_memalign", kHeap, 0,
     [&] { return posix_memalign(&aligned, 64, 128) != 0 ? -1 : giveBack(aligned); }},
    {"new", kHeap, 0, [] { return escape(std::make_unique<double>(1.0).get()); }},
    {"inside a shared library", kHeap, 0, [] { return escape(std::string(100, 'x').data()); }},
    {"lock", 0, 1, [&] { return unlocked(pthread_mutex_lock(&mutex)); }},
    {"timed lock", 0, 1, [&] { return unlocked(pthread_mutex_timedlock(&mutex, &past)); }},
#if !CORVANTHELIS_THREAD_SANITIZER  // which overlooks this call, and then wonders at the release
    {"clock lock", 0, 1,
     [&] { return unlocked(pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &past)); }},
#endif
    {"read lock", 0, 1,
     [&] { return pthread_rwlock_rdlock(&shared) + pthread_rwlock_unlock(&shared); }},
    {"write lock", 0, 1,
     [&] { return pthread_rwlock_wrlock(&shared) + pthread_rwlock_unlock(&shared); }},
    {"wait", 0, 1, [&] { return held([&] { return pthread_cond_wait(&changed, &mutex); }); }},
    {"timed wait", 0, 1,
     [&] { return held([&] { return pthread_cond_timedwait(&never, &mutex, &past); }); }},
    {"clock wait", 0, 1, [&] { return held(clockWait); }},
    {"semaphore", 0, 1, [&] { return sem_wait(&semaphore); }},
    {"try-lock and releases", 0, 0, [&] { return held([&] { return sem_post(&semaphore); }); }},
  };
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    for (std::mutex own; !isOver; pthread_cond_broadcast(&changed)) {
      const std::lock_guard lock(own);
      giveBack(std::malloc(16));
    }
  });
  for (const auto& row : rows) row.run();  // also finds what the C library does once
  for (const auto& row : rows) {
    const RealtimeGuard guard;
    const int result = row.run();
    EXPECT_TRUE(result == 0 || result == ETIMEDOUT) << row.name;
    EXPECT_GE(guard.heapCalls(), row.heapCalls) << row.name;
    EXPECT_EQ(guard.heapCalls() > 0, row.heapCalls > 0) << row.name;
    EXPECT_EQ(guard.lockCalls(), row.lockCalls) << row.name;
  }
  isOver = true;
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
