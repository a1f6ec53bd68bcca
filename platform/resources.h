#pragma once

#include <string_view>

/// A file built into the program, by its type ("json") and name ("defaults"), case-sensitive; empty
/// if there is none. A zero byte follows the view, so that its text can be used as a C string.
/// Valid as long as the code is loaded. Any thread, also before `main`. Callers link the
/// library that holds the file (resources/CMakeLists.txt).
[[nodiscard]] std::string_view findResource(std::string_view type, std::string_view name) noexcept;
