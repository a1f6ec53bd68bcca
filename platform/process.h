#pragma once

#include <cstdint>

/// Id of the calling process; a child of `fork()` has a different one. Any thread; a system call,
/// no lock.
[[nodiscard]] std::int64_t processId() noexcept;

/// Returns freed heap memory to the system. Any thread but the audio thread; takes milliseconds if
/// much was freed.
void returnFreedMemory() noexcept;
