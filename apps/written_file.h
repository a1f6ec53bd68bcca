#pragma once

#include <string>

/// Replaces the file `path` as a whole. Throws `Failure`, and leaves what stood there, when that
/// cannot be done or the process is asked to stop meanwhile.
void writeOutput(const std::string& path, const std::string& bytes);
