#pragma once

#include <cstdint>

/// Milliseconds since a fixed moment in the past; never runs backwards. Any thread, no lock.
[[nodiscard]] std::int64_t monotonicMilliseconds() noexcept;
