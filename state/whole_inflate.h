#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The text of a zlib stream that is there as a whole, some times as fast as zlib unpacks it; bytes
/// after the stream are ignored. Null for a stream that is cut or damaged, and for more than
/// `mostBytes`: zlib may still read what there is of it. Codes that zlib refuses and no compressor
/// writes are read, if the checksum fits. Throws std::bad_alloc.
[[nodiscard]] std::optional<std::string> inflateWhole(std::string_view stream,
                                                      std::size_t mostBytes);
