#include "tests/support/seccomp_child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <mutex>
#include <vector>

namespace {

using Kind = SeccompEnd::Kind;

bool sealable() {
  return !runUnderSeccomp([] {}, [] {}).unavailable();
}

TEST(SeccompChild, letsArithmeticOnPreparedMemoryPass) {
  if (!sealable()) GTEST_SKIP();
  std::vector<double> signal;
  std::mutex mutex;
  const SeccompEnd end = runUnderSeccomp([&] { signal.assign(4096, 0.25); },
                                         [&] {
                                           const std::lock_guard uncontended(mutex);
                                           for (double& x : signal) x = std::sin(x);
                                         });
  EXPECT_TRUE(end.clean()) << end.text();
  EXPECT_TRUE(signal.empty()) << "the child must not work on the caller's memory";
}

TEST(SeccompChild, endsAtTheFirstSystemCall) {
  if (!sealable()) GTEST_SKIP();
  std::mutex held;
  const struct {
    const char* name;
    void (*process)(std::mutex& held);
    int systemCall;
  } cases[] = {
      {"opens a file", [](std::mutex&) { open("/dev/null", O_RDONLY); }, SYS_openat},
      {"writes to an open file",
       [](std::mutex&) {
         if (write(STDERR_FILENO, "", 0) < 0) return;
       },
       SYS_write},
      {"waits for a lock", [](std::mutex& mutex) { mutex.lock(); }, SYS_futex},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const SeccompEnd end = runUnderSeccomp([&] { held.lock(); }, [&] { c.process(held); });
    EXPECT_EQ(end.kind, Kind::kSystemCall) << end.text();
    EXPECT_EQ(end.systemCall, c.systemCall);
  }
}

TEST(SeccompChild, tellsACrashFromACleanEnd) {
  if (!sealable()) GTEST_SKIP();
  const SeccompEnd end = runUnderSeccomp([] {}, [] { __builtin_trap(); });
  EXPECT_EQ(end.kind, Kind::kCrashed) << end.text();
}

}  // namespace
