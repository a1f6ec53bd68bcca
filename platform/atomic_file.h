#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

/// A file that takes its name only when it is complete: it is written beside its target and renamed
/// on `commit`, so that an older target stays whole until then. What is not committed is removed.
///
/// A symbolic link as target is followed. A character device (`/dev/null`) is written in place.
/// Threads: one at a time.
class AtomicFile {
 public:
  AtomicFile() = default;
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Begins an empty file for `target`; what was begun before is discarded. Directories, pipes and
  /// the like are refused.
  [[nodiscard]] std::error_code open(const std::string& target);
  /// Writes `count` bytes at `offset` (>= 0), all of them or an error.
  [[nodiscard]] std::error_code write(const void* bytes, std::size_t count, std::int64_t offset);
  /// Takes back all that was written; nothing to a device.
  [[nodiscard]] std::error_code clear();
  /// Flushes to the disk and gives the file its name. On an error nothing is left, and the target
  /// is as it was; a process that was asked to stop gets `std::errc::interrupted`.
  [[nodiscard]] std::error_code commit();
  void discard() noexcept;

  [[nodiscard]] std::int64_t size() const noexcept {
    return length;
  }  ///< bytes, up to the last written

 private:
  [[nodiscard]] std::error_code openBeside();
  [[nodiscard]] std::error_code closeFile() noexcept;

  std::string finalPath;      // links resolved
  std::string temporaryPath;  // empty for a device
  int descriptor = -1;
  std::int64_t length = 0;
};

/// Whether `path` is a device that output goes to without a file being made.
[[nodiscard]] bool isCharacterDevice(const std::string& path);
