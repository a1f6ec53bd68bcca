#pragma once

#include <cstdint>

/// Milliseconds since some fixed moment of the past; never runs backwards. Any thread, no lock.
[[nodiscard]] std::int64_t monotonicMilliseconds() noexcept;
