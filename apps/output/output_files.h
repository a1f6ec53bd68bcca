#pragma once

#include <span>
#include <string>
#include <vector>

/// A file and what becomes of it.
struct RenderItem {
  std::string input;
  std::string output;
};

/// Throws `WrongArguments` if an output is one of the inputs or of `alsoRead`, by whatever name or
/// link.
void refuseOverwriting(std::span<const RenderItem> items, const std::vector<std::string>& alsoRead);

/// Replaces the file `path` as a whole. Throws `Failure`, and leaves what stood there, when that
/// cannot be done or the process is asked to stop meanwhile.
void writeOutput(const std::string& path, const std::string& bytes);

/// Makes `directory` and those above it where they are missing. Throws `Failure`.
void makeDirectory(const std::string& directory);
