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
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
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
  const struct {
    const char* name;
    void (*run)();
  } rows[] = {
      {"malloc", [] { giveBack(std::malloc(16)); }},
      {"calloc", [] { giveBack(std::calloc(4, 16)); }},
      {"realloc", [] { giveBack(std::realloc(nullptr, 100)); }},
      {"aligned_alloc", [] { giveBack(std::aligned_alloc(64, 128)); }},
      {"memalign", [] { giveBack(memalign(64, 128)); }},
      {"posix_memalign",
       [] {
         void* memory = nullptr;
         EXPECT_EQ(posix_memalign(&memory, 64, 128), 0);
         giveBack(memory);
       }},
      {"new", [] { escape(std::make_unique<double>(1.0).get()); }},
      {"inside a shared library", [] { escape(std::string(100, 'x').data()); }},
  };
  for (const auto& row : rows) {
    const RealtimeGuard guard;
    row.run();
    EXPECT_GE(guard.heapCalls(), kLeastHeapCalls) << row.name;
    EXPECT_EQ(guard.lockCalls(), 0) << row.name;
  }
}

/// Free locks, and conditions that time out at once.
struct Locks {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_rwlock_t shared = PTHREAD_RWLOCK_INITIALIZER;
  pthread_cond_t never = PTHREAD_COND_INITIALIZER;
  sem_t semaphore;
  timespec past{};
};

TEST(RealtimeGuard, SeesEveryKindOfLockCallOfItsOwnThread) {
  const struct {
    const char* name;
    int (*run)(Locks& locks);
    int calls = 1;
  } rows[] = {
      {"lock", [](Locks& l) { return pthread_mutex_lock(&l.mutex); }},
      {"timed lock", [](Locks& l) { return pthread_mutex_timedlock(&l.mutex, &l.past); }},
      {"clock lock",
       [](Locks& l) { return pthread_mutex_clocklock(&l.mutex, CLOCK_MONOTONIC, &l.past); }},
      {"read lock", [](Locks& l) { return pthread_rwlock_rdlock(&l.shared); }},
      {"write lock", [](Locks& l) { return pthread_rwlock_wrlock(&l.shared); }},
      {"timed wait",
       [](Locks& l) {
         pthread_mutex_trylock(&l.mutex);
         return pthread_cond_timedwait(&l.never, &l.mutex, &l.past);
       }},
      {"clock wait",
       [](Locks& l) {
         pthread_mutex_trylock(&l.mutex);
         return pthread_cond_clockwait(&l.never, &l.mutex, CLOCK_MONOTONIC, &l.past);
       }},
      {"semaphore", [](Locks& l) { return sem_wait(&l.semaphore); }},
      {"try-lock", [](Locks& l) { return pthread_mutex_trylock(&l.mutex); }, 0},
      {"release", [](Locks& l) { return sem_post(&l.semaphore); }, 0},
  };
  for (const auto& row : rows) {
    Locks locks;
    sem_init(&locks.semaphore, 0, 1);
    const RealtimeGuard guard;
    EXPECT_NE(row.run(locks), EINVAL) << row.name;
    EXPECT_EQ(guard.lockCalls(), row.calls) << row.name;
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool isDone = false;
  std::thread other([&] {
    const RealtimeGuard own;
    const std::lock_guard lock(mutex);
    isDone = true;
    changed.notify_one();
    EXPECT_EQ(own.lockCalls(), 1) << "not those of the thread that waits for it";
  });
  const RealtimeGuard guard;
  std::unique_lock lock(mutex);
  while (!isDone) changed.wait(lock);
  EXPECT_GE(guard.lockCalls(), 1);
  lock.unlock();
  other.join();
}

TEST(RealTimeCheck, FailsForEitherKindUnlessItIsLifted) {
  static std::mutex mutex;
  const auto lock = [] { const std::lock_guard held(mutex); };
  const auto take = [] { giveBack(std::malloc(16)); };
  EXPECT_NONFATAL_FAILURE(inRealTime(lock), "0 heap calls and 1 lock calls");
  EXPECT_NONFATAL_FAILURE(inRealTime(take), "and 0 lock calls");
  {
    const RealTimeCheck::Exception lifted;
    inRealTime(lock);
  }
  EXPECT_NONFATAL_FAILURE(inRealTime(lock), "1 lock calls");
  inRealTime([] {
    double y = 0.0;
    for (int i = 0; i < 4096; ++i) y += (std::sin(i) - y) * 0.1;
    escape(&y);
  });
}

TEST(SeccompChild, EndsAtTheFirstSystemCall) {
  using Kind = SeccompEnd::Kind;
  static std::mutex held;
  static std::vector<double> signal;
  const struct {
    const char* name;
    void (*process)();
    Kind kind;
    int systemCall = -1;
  } rows[] = {
      {"works on what is prepared",
       [] {
         for (double& x : signal) x = std::sin(x);
       },
       Kind::kClean},
      {"opens a file", [] { escape(std::fopen("/dev/null", "r")); }, Kind::kSystemCall, SYS_openat},
      {"writes", [] { syscall(SYS_write, STDERR_FILENO, "", 0); }, Kind::kSystemCall, SYS_write},
      {"reads", [] { syscall(SYS_read, STDIN_FILENO, nullptr, 0); }, Kind::kSystemCall, SYS_read},
      {"waits for a lock", [] { held.lock(); }, Kind::kSystemCall, SYS_futex},
      {"crashes", [] { __builtin_trap(); }, Kind::kCrashed},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto prepare = [] {
      signal.assign(4096, 0.25);
      held.lock();
    };
    const SeccompEnd end = runUnderSeccomp(prepare, row.process);
    if (end.unavailable()) GTEST_SKIP();
    EXPECT_EQ(end.kind, row.kind) << end.text();
    EXPECT_EQ(end.systemCall, row.systemCall);
    EXPECT_TRUE(signal.empty()) << "the child must not work on the caller's memory";
  }
}

}  // namespace
