#pragma once

/// Whether a person watches what goes to the standard error stream.
[[nodiscard]] bool errorStreamIsTerminal() noexcept;

/// Width of that terminal in characters; 80 if it does not tell.
[[nodiscard]] int errorStreamColumns() noexcept;
