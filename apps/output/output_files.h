#pragma once

#include <span>
#include <string>
#include <vector>

/// An input file and its output file.
struct RenderItem {
  std::string input;
  std::string output;
};

/// Throws `WrongArguments` if an output is one of the inputs or one of `alsoRead`, even under
/// another name or through a link.
void refuseOverwriting(std::span<const RenderItem> items, const std::vector<std::string>& alsoRead);

/// Replaces the file `path` as a whole. Throws `Failure`, with the old file unchanged, if that
/// fails or the process is asked to stop meanwhile.
void writeOutput(const std::string& path, const std::string& bytes);

/// Creates `directory` and its parents if missing. Throws `Failure`.
void makeDirectory(const std::string& directory);

/// Removes what killed processes have left in the folders of the outputs.
void tidyFolders(std::span<const RenderItem> items);
