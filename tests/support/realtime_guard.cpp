#include "tests/support/realtime_guard.h"

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>

// Takes the place of the C library's function in the whole process, so it must stay visible, and it
// runs before the sanitizers are ready, so it must not be instrumented.
#define CORVANTHELIS_INTERPOSED \
  extern "C" __attribute__((visibility("default"), no_sanitize("address", "thread", "undefined")))

namespace {

// Of the executable itself, so that reaching them never allocates.
thread_local int heapCallsOfThread = 0;
thread_local int lockCallsOfThread = 0;

bool (*allocationFails)() noexcept = nullptr;

// The next definition after ours: a sanitizer's or the C library's.
template <auto function>
void* next = nullptr;

template <auto function, typename... Arguments>
__attribute__((no_sanitize("address", "thread", "undefined"))) int countedLock(
    const char* name, Arguments... arguments) {
  ++lockCallsOfThread;
  // Built-ins, because std::atomic's operations would be instrumented.
  void* found = __atomic_load_n(&next<function>, __ATOMIC_RELAXED);
  if (found == nullptr) {
    found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) std::abort();
    __atomic_store_n(&next<function>, found, __ATOMIC_RELAXED);
  }
  return reinterpret_cast<int (*)(Arguments...)>(found)(arguments...);
}

using Mutex = pthread_mutex_t;
using Condition = pthread_cond_t;

}  // namespace

CORVANTHELIS_INTERPOSED int pthread_mutex_lock(Mutex* mutex) noexcept {
  return countedLock<&pthread_mutex_lock>("pthread_mutex_lock", mutex);
}

CORVANTHELIS_INTERPOSED int pthread_mutex_timedlock(Mutex* mutex, const timespec* until) noexcept {
  return countedLock<&pthread_mutex_timedlock>("pthread_mutex_timedlock", mutex, until);
}

CORVANTHELIS_INTERPOSED int pthread_mutex_clocklock(Mutex* mutex, clockid_t clock,
                                                    const timespec* until) noexcept {
  return countedLock<&pthread_mutex_clocklock>("pthread_mutex_clocklock", mutex, clock, until);
}

CORVANTHELIS_INTERPOSED int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  return countedLock<&pthread_rwlock_rdlock>("pthread_rwlock_rdlock", lock);
}

CORVANTHELIS_INTERPOSED int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  return countedLock<&pthread_rwlock_wrlock>("pthread_rwlock_wrlock", lock);
}

// The waits are cancellation points and may unwind, hence not noexcept.
CORVANTHELIS_INTERPOSED int pthread_cond_wait(Condition* condition, Mutex* mutex) {
  return countedLock<&pthread_cond_wait>("pthread_cond_wait", condition, mutex);
}

CORVANTHELIS_INTERPOSED int pthread_cond_timedwait(Condition* condition, Mutex* mutex,
                                                   const timespec* until) {
  return countedLock<&pthread_cond_timedwait>("pthread_cond_timedwait", condition, mutex, until);
}

CORVANTHELIS_INTERPOSED int pthread_cond_clockwait(Condition* condition, Mutex* mutex,
                                                   clockid_t clock, const timespec* until) {
  return countedLock<&pthread_cond_clockwait>("pthread_cond_clockwait", condition, mutex, clock,
                                              until);
}

CORVANTHELIS_INTERPOSED int sem_wait(sem_t* semaphore) {
  return countedLock<&sem_wait>("sem_wait", semaphore);
}

#if CORVANTHELIS_SANITIZED

// Declared here: the compiler's header of it comes with another package.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocation)(const volatile void*,
                                                                              std::size_t),
                                                         void (*onRelease)(const volatile void*));

namespace {

void countAllocation(const volatile void*, std::size_t) { ++heapCallsOfThread; }
void countRelease(const volatile void*) { ++heapCallsOfThread; }

// The sanitizers own the malloc family and report each call.
[[maybe_unused]] const int hooksInstalled =
    __sanitizer_install_malloc_and_free_hooks(countAllocation, countRelease);

}  // namespace

#else

// The C library's own entries, which need no look-up: a look-up would allocate.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* memory);
}

namespace {

/// Counts an allocation; whether it is to fail.
bool countsAndFails() noexcept {
  ++heapCallsOfThread;
  if (allocationFails == nullptr || !allocationFails()) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

CORVANTHELIS_INTERPOSED void* malloc(std::size_t bytes) noexcept {
  return countsAndFails() ? nullptr : __libc_malloc(bytes);
}

CORVANTHELIS_INTERPOSED void* calloc(std::size_t count, std::size_t bytes) noexcept {
  return countsAndFails() ? nullptr : __libc_calloc(count, bytes);
}

CORVANTHELIS_INTERPOSED void* realloc(void* memory, std::size_t bytes) noexcept {
  return countsAndFails() ? nullptr : __libc_realloc(memory, bytes);
}

CORVANTHELIS_INTERPOSED void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  return countsAndFails() ? nullptr : __libc_memalign(alignment, bytes);
}

CORVANTHELIS_INTERPOSED void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
  return countsAndFails() ? nullptr : __libc_memalign(alignment, bytes);
}

CORVANTHELIS_INTERPOSED int posix_memalign(void** memory, std::size_t alignment,
                                           std::size_t bytes) noexcept {
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0) {
    return EINVAL;
  }
  void* const made = countsAndFails() ? nullptr : __libc_memalign(alignment, bytes);
  if (made == nullptr) return ENOMEM;
  *memory = made;
  return 0;
}

CORVANTHELIS_INTERPOSED void free(void* memory) noexcept {
  if (memory != nullptr) ++heapCallsOfThread;
  __libc_free(memory);
}

#endif

void letAllocationsFail(bool (*fails)() noexcept) noexcept { allocationFails = fails; }

RealtimeGuard::RealtimeGuard() noexcept
    : firstHeapCall(heapCallsOfThread), firstLockCall(lockCallsOfThread) {}

int RealtimeGuard::heapCalls() const noexcept { return heapCallsOfThread - firstHeapCall; }

int RealtimeGuard::lockCalls() const noexcept { return lockCallsOfThread - firstLockCall; }
