#include "platform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "platform/linux/last_error.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kPause{500};

/// Tries at least once and then polls, because a blocking `flock` has no time limit.
std::error_code waitForLock(int descriptor, Clock::time_point deadline) {
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return lastError();
    if (Clock::now() >= deadline) return std::make_error_code(std::errc::timed_out);
    std::this_thread::sleep_for(kPause);
  }
  return {};
}

bool isFileAt(int descriptor, const std::string& path) {
  struct stat held {};
  struct stat named {};
  return ::fstat(descriptor, &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

FileLock::~FileLock() { release(); }

std::error_code FileLock::lock(const std::string& path, std::chrono::milliseconds longestWait) {
  release();
  const Clock::time_point deadline = Clock::now() + longestWait;
  do {
    descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return lastError();
    const std::error_code error = waitForLock(descriptor, deadline);
    // If somebody has removed the file meanwhile, this lock guards nothing: try again.
    if (!error && isFileAt(descriptor, path)) return {};
    release();
    if (error) return error;
  } while (Clock::now() < deadline);
  return std::make_error_code(std::errc::timed_out);
}

void FileLock::release() noexcept {
  const int closing = std::exchange(descriptor, -1);
  if (closing < 0) return;
  // Unlocked explicitly: a process forked meanwhile shares the lock and would keep it after
  // `close`.
  ::flock(closing, LOCK_UN);
  ::close(closing);
}
