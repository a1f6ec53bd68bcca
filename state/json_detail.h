#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "state/json_document.h"

/// Internals shared by the parts of the JSON document. Only they and their tests include this.
namespace json_detail {

/// Allocates all memory of documents, which is freed by `std::free`. Always `malloc`, except in
/// tests that simulate running out of memory while nothing else runs.
inline void* (*allocate)(std::size_t bytes) = std::malloc;

/// Makes a node of this type, otherwise all zero; null when memory runs out.
[[nodiscard]] JsonNode* createNode(std::uint32_t type) noexcept;

/// Makes the node a number, setting both its number fields.
void setNumber(JsonNode& node, double value) noexcept;

/// Links `item` after `last` in the list of `parent`'s children; a null `last` makes it the first.
void linkBehind(JsonNode& parent, JsonNode* last, JsonNode& item) noexcept;

}  // namespace json_detail
