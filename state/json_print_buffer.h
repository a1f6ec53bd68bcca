#pragma once

#include <cstddef>
#include <cstdint>

/// The growing text of the JSON printers. `data` is heap memory of `capacity` bytes and belongs to
/// whoever holds the record; the next text goes to `offset`. All zero when there is no memory.
struct JsonPrintBuffer {
  static constexpr std::int32_t kFirstCapacity = 8192;

  char* data;
  std::int32_t capacity;
  std::int32_t offset;
};

namespace json_detail {

/// Takes the first block.
void start(JsonPrintBuffer& buffer) noexcept;

/// Room for `bytes` bytes at the offset, which stays where it is. A block that is too small is
/// replaced by one of the next power of two. If there is none, or it would pass 2^30 bytes, the
/// buffer is freed and zeroed, and the answer is null from then on.
[[nodiscard]] char* ensure(JsonPrintBuffer& buffer, std::size_t bytes) noexcept;

/// Frees and zeroes.
void release(JsonPrintBuffer& buffer) noexcept;

}  // namespace json_detail
