#pragma once

// Whether a standard stream is a terminal.
[[nodiscard]] bool inputStreamIsTerminal() noexcept;
[[nodiscard]] bool outputStreamIsTerminal() noexcept;
[[nodiscard]] bool errorStreamIsTerminal() noexcept;

/// Width of the error stream's terminal in characters; 80 if unknown.
[[nodiscard]] int errorStreamColumns() noexcept;
