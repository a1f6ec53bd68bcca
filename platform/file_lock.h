#pragma once

#include <string>
#include <system_error>

/// Keeps other processes out while it lives, by a lock on a file that stands for what is guarded.
/// Ends with the process, however that ends. Not for threads of one process.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Makes the file if there is none and waits for the lock, at most some seconds.
  [[nodiscard]] std::error_code lock(const std::string& path);

 private:
  int descriptor = -1;
};
