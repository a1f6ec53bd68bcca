#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "state/json_document.h"

/// What the parts of the JSON document share; nothing outside includes this but its tests.
namespace json_detail {

/// All memory of the document comes from here and goes back by `std::free`. Always `malloc`; only a
/// test that lets memory run out puts another one here, while it is alone.
inline void* (*allocate)(std::size_t bytes) = std::malloc;

/// An all-zero node with that type; null when memory runs out.
[[nodiscard]] JsonNode* createNode(std::uint32_t type) noexcept;

/// Makes the node a number in both its forms.
void setNumber(JsonNode& node, double value) noexcept;

/// Puts `item` behind `last` in the list of `parent`'s children; a null `last` makes it the first.
void linkBehind(JsonNode& parent, JsonNode* last, JsonNode& item) noexcept;

}  // namespace json_detail
