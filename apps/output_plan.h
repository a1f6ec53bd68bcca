#pragma once

#include <span>
#include <string>
#include <vector>

/// A file and what becomes of it.
struct RenderItem {
  std::string input;
  std::string output;
};

/// The outputs of `inputs` under their own names in `directory`. Throws `WrongArguments` if two of
/// them would be one file.
[[nodiscard]] std::vector<RenderItem> planDirectory(const std::vector<std::string>& inputs,
                                                    const std::string& directory);

/// Throws `WrongArguments` if an output is one of the inputs or of `alsoRead`, by whatever name or
/// link.
void refuseOverwriting(std::span<const RenderItem> items, const std::vector<std::string>& alsoRead);

/// Makes `directory` and those above it where they are missing. Throws `Failure`.
void makeDirectory(const std::string& directory);
