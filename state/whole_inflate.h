#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The text of a zlib stream (RFC 1950, RFC 1951) that is there as a whole, several times as fast
/// as zlib gives it; bytes after the stream are ignored. Null for a stream that is not whole, that
/// is damaged or uncommon in any way, and for more than `mostBytes`: zlib may still read it. What
/// this reads zlib reads as well, and to the same text. Throws std::bad_alloc.
[[nodiscard]] std::optional<std::string> inflateWhole(std::string_view stream,
                                                      std::size_t mostBytes);
