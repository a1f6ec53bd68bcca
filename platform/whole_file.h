#pragma once

#include <cstddef>
#include <string>
#include <system_error>

/// Reads a regular file to its end. Directories, pipes and devices are refused, and so is a file of
/// more than `mostBytes`. `bytes` is untouched on an error. Throws std::bad_alloc: want of memory
/// is no fault of the file, and must not look like one.
[[nodiscard]] std::error_code readWholeFile(const std::string& path, std::string& bytes,
                                            std::size_t mostBytes);

/// Replaces the file as a whole; on an error the old one stands as it was. What has been written
/// lasts through a crash of the machine: two waits for the disk.
[[nodiscard]] std::error_code writeWholeFile(const std::string& path, const std::string& bytes);

/// Makes the folder with all its parents; no error when it is there.
[[nodiscard]] std::error_code makeFolders(const std::string& path);
