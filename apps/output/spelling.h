#pragma once

#include <cstddef>
#include <string_view>

/// Levenshtein distance: insertions, deletions and replacements of one character each.
[[nodiscard]] std::size_t editDistance(std::string_view a, std::string_view b);
