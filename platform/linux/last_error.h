#pragma once

#include <cerrno>
#include <system_error>

/// What the last system call that failed said.
[[nodiscard]] inline std::error_code lastError() noexcept {
  return {errno, std::generic_category()};
}
