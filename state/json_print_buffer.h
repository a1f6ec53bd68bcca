#pragma once

#include <cstddef>
#include <cstdint>

/// The growing text of the JSON printers. `data` is heap memory of `capacity` bytes, owned by the
/// holder of the record; the next text goes to `offset`. All zero if there is no memory.
struct JsonPrintBuffer {
  static constexpr std::int32_t kFirstCapacity = 8192;

  char* data;
  std::int32_t capacity;
  std::int32_t offset;
};

namespace json_detail {

/// Allocates the first block.
void start(JsonPrintBuffer& buffer) noexcept;

/// Makes room for `bytes` bytes at the offset, which does not move, and returns where they go. A
/// block that is too small is replaced by one whose size is the next power of two. If that fails or
/// would exceed 2^30 bytes, the buffer is freed and zeroed, and this and all further calls return
/// null.
[[nodiscard]] char* ensure(JsonPrintBuffer& buffer, std::size_t bytes) noexcept;

/// Frees and zeroes the buffer.
void release(JsonPrintBuffer& buffer) noexcept;

}  // namespace json_detail
