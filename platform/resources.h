#pragma once

#include <string_view>

/// A file that is part of the program, by its type ("json") and name ("defaults"); empty if there
/// is none. Text resources end in a zero byte right behind the view.
[[nodiscard]] std::string_view findResource(std::string_view type, std::string_view name) noexcept;
