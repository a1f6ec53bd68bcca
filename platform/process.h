#pragma once

#include <cstdint>

/// Number of the calling process: another one in a child of `fork()`. Any thread, no lock; a system
/// call.
[[nodiscard]] std::int64_t processId() noexcept;

/// Gives heap memory that nobody uses any more back to the system. Any thread but the audio thread;
/// milliseconds where much was freed.
void returnFreedMemory() noexcept;
