#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// A message under the program's name, in one line without its end.
[[nodiscard]] std::string messageLine(std::string_view message);
[[nodiscard]] std::string warningLine(std::string_view message);

/// The same, written to the standard error stream.
void printError(std::string_view message);
inline constexpr const char* kOutOfMemory = "corvanthelis: not enough memory\n";
void printOutOfMemory();  ///< takes none for it
void printWarning(std::string_view message);
void printWarnings(const std::vector<std::string>& messages);

/// How many faults of one file are told.
inline constexpr std::size_t kMostTold = 10;
/// Adds a line that tells how many `more` there are than those in the list; none for 0.
void addCountOfMore(std::vector<std::string>& messages, std::size_t more);
