#pragma once

#include <cstddef>
#include <cstdint>

/// A number from 0 up as the standard containers count.
[[nodiscard]] constexpr std::size_t at(std::int32_t number) noexcept {
  return static_cast<std::size_t>(number);
}
