#pragma once

#include <string_view>

/// A file that is part of the program, by its type ("json") and name ("defaults"), in exactly these
/// letters; empty if there is none. A zero byte stands right behind the view, so that a text can be
/// passed on as it is. Lasts as long as the code does. Any thread, also before `main`; whoever
/// calls it links the library that holds the file (resources/CMakeLists.txt).
[[nodiscard]] std::string_view findResource(std::string_view type, std::string_view name) noexcept;
