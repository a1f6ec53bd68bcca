#pragma once

#include <cstddef>
#include <cstdint>

/// Converts a number >= 0 to the index type of the standard containers.
[[nodiscard]] constexpr std::size_t at(std::int32_t number) noexcept {
  return static_cast<std::size_t>(number);
}
