#pragma once

#include <cerrno>
#include <system_error>

/// The error of the last failed system call.
[[nodiscard]] inline std::error_code lastError() noexcept {
  return {errno, std::generic_category()};
}
