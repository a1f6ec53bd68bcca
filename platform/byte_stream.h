#pragma once

#include <cstddef>
#include <string>
#include <system_error>

/// Whether `path` names bytes that come or go in their order only: `-` for a standard stream, or a
/// pipe.
[[nodiscard]] bool isStream(const std::string& path) noexcept;

/// One end of such a stream. What waits for the other end gives up with `std::errc::interrupted`
/// when the process is asked to stop. Threads: one at a time.
class ByteStream {
 public:
  ByteStream() = default;
  ~ByteStream();
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  // `-` is the standard input or output, which stays open. Opening a pipe to write to waits for its
  // reader.
  [[nodiscard]] std::error_code openToRead(const std::string& path);
  [[nodiscard]] std::error_code openToWrite(const std::string& path);
  /// Reads `count` bytes, or fewer at the end; `got` is their number, whatever the error.
  [[nodiscard]] std::error_code read(void* bytes, std::size_t count, std::size_t& got);
  [[nodiscard]] std::error_code write(const void* bytes, std::size_t count);
  void close() noexcept;

 private:
  [[nodiscard]] std::error_code waitFor(short events) const;

  int descriptor = -1;
};
