#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

/// A file that gets its name only when it is complete: it is written next to its target and renamed
/// on `commit`, so that an existing target stays whole until then. Without `commit` it is removed.
/// While it is written it is locked, so that `removeDeadParts` can tell it from what a killed
/// process has left.
///
/// Symbolic links are followed. A character device (`/dev/null`) is written in place. Threads: one
/// at a time.
class AtomicFile {
 public:
  AtomicFile() = default;
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Begins an empty file for `target`, discarding one that was begun before. Directories, pipes
  /// and the like are refused.
  [[nodiscard]] std::error_code open(const std::string& target);
  /// Writes `count` bytes at `offset` (>= 0), all of them or an error.
  [[nodiscard]] std::error_code write(const void* bytes, std::size_t count, std::int64_t offset);
  /// Empties the file; does nothing on a device.
  [[nodiscard]] std::error_code clear();
  /// Flushes to the disk and gives the file its name. On an error the new file is gone and the
  /// target is unchanged; `std::errc::interrupted` if the process was asked to stop.
  [[nodiscard]] std::error_code commit();
  void discard() noexcept;

  [[nodiscard]] std::int64_t size() const noexcept {
    return length;
  }  ///< bytes, up to the last one written

 private:
  [[nodiscard]] std::error_code openBeside();
  [[nodiscard]] std::error_code closeFile() noexcept;

  std::string finalPath;      // links resolved
  std::string temporaryPath;  // empty for a device
  int descriptor = -1;
  std::int64_t length = 0;
};

/// Removes from `folder` (empty for the current one) what processes that ended in the middle of
/// writing an `AtomicFile` have left there. Where files cannot be locked, nothing is removed.
void removeDeadParts(const std::string& folder);

/// Whether `path` is a character device, which is written in place.
[[nodiscard]] bool isCharacterDevice(const std::string& path);
