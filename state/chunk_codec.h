#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "state/json_document.h"

/// The bytes "ZIP ", which distinguish a packed chunk from plain text.
inline constexpr std::string_view kPackedMark = "ZIP ";

[[nodiscard]] bool isPackedChunk(std::string_view bytes) noexcept;

/// Returns the mark and a zlib stream of `text`, at `level` 1 (fast) to 9 (small). None if the
/// compressor fails; a fault of its stream is also reported on the standard error stream.
[[nodiscard]] std::optional<std::string> packChunk(std::string_view text, int level);

/// Returns the text of a packed chunk. A stream that ends early gives what it contains. None if the
/// stream is damaged, needs a dictionary or contains more than `kMostDocumentBytes`. Throws
/// std::bad_alloc.
[[nodiscard]] std::optional<std::string> unpackChunk(std::string_view bytes);

/// Parses a document, packed or plain, by `jsonReadInPlace` and returns its root. Null unless it is
/// an object and within `kMostDocumentBytes`. Throws std::bad_alloc.
[[nodiscard]] std::shared_ptr<const JsonNode> readDocument(std::string_view bytes);
