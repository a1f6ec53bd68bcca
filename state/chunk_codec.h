#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "state/json_document.h"

/// The bytes "ZIP " that tell a packed chunk from plain text.
inline constexpr std::string_view kPackedMark = "ZIP ";

[[nodiscard]] bool isPackedChunk(std::string_view bytes) noexcept;

/// The mark and a zlib stream of `text`, at `level` 1 (fast) to 9 (small). Empty when the
/// compressor does not start; a fault of its stream is told on the standard error stream, too.
[[nodiscard]] std::optional<std::string> packChunk(std::string_view text, int level);

/// The text of a packed chunk. A stream that ends too soon gives what it holds; null for one that
/// is damaged, that wants a dictionary or holds more than `kMostDocumentBytes`. Throws
/// std::bad_alloc.
[[nodiscard]] std::optional<std::string> unpackChunk(std::string_view bytes);

/// The root of the document that `bytes`, packed or plain, are: text that holds an object, of a
/// size that documents have; null for any other. As `jsonReadInPlace` reads it. Throws
/// std::bad_alloc.
[[nodiscard]] std::shared_ptr<const JsonNode> readDocument(std::string_view bytes);
