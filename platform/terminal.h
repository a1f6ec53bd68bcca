#pragma once

/// Whether the standard error stream is a terminal.
[[nodiscard]] bool errorStreamIsTerminal() noexcept;

/// Width of that terminal in characters; 80 if unknown.
[[nodiscard]] int errorStreamColumns() noexcept;
