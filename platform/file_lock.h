#pragma once

#include <chrono>
#include <string>
#include <system_error>

/// Keeps other processes out while it lives, by locking a file that stands for the guarded
/// resource. The lock ends with the process at the latest, even if that crashes. The file is never
/// removed, since removing it would let two processes lock different files.
/// Threads: one at a time; threads that share an object need a mutex as well.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Creates the file (but not its folder) if missing and waits for the lock. Fails with
  /// `std::errc::timed_out` after `longestWait`; 0 tries once. A lock already held is released
  /// first.
  [[nodiscard]] std::error_code lock(const std::string& path,
                                     std::chrono::milliseconds longestWait);

 private:
  void release() noexcept;

  int descriptor = -1;
};
