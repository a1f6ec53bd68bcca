#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A message with the program's name, as one line without a line end.
[[nodiscard]] std::string messageLine(std::string_view message);
[[nodiscard]] std::string warningLine(std::string_view message);

// Print such lines to the standard error stream.
void printError(std::string_view message);
inline constexpr const char* kOutOfMemory = "corvanthelis: not enough memory\n";
void printOutOfMemory();  ///< allocates nothing
void printWarning(std::string_view message);
void printWarnings(const std::vector<std::string>& messages);

/// How many faults of one file are reported.
inline constexpr std::size_t kMostTold = 10;
/// Adds a line that says how many `more` there are than the list contains; none if 0.
void addCountOfMore(std::vector<std::string>& messages, std::size_t more);
