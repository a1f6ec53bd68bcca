#pragma once

#include <chrono>
#include <string>
#include <system_error>

/// Keeps other processes out while it lives, by a lock on a file that stands for what is guarded.
/// Ends with the process, however that ends. The file stays: removing it would open a gap.
/// Threads: one at a time; those of one process that share an object need a mutex of their own.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Makes the file if there is none, not its folder, and waits for the lock, at most as long as
  /// told (0 tries once): then `std::errc::timed_out`. A lock held before is given up first.
  [[nodiscard]] std::error_code lock(const std::string& path,
                                     std::chrono::milliseconds longestWait);

 private:
  void release() noexcept;

  int descriptor = -1;
};
