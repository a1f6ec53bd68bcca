#pragma once

#include <cstddef>
#include <string>
#include <system_error>

/// Reads a whole regular file. Directories, pipes, devices and files of more than `mostBytes` are
/// refused. On an error `bytes` is untouched. Throws std::bad_alloc, since running out of memory
/// must not look like a fault of the file.
[[nodiscard]] std::error_code readWholeFile(const std::string& path, std::string& bytes,
                                            std::size_t mostBytes);

/// Replaces a file as a whole; on an error the old one is unchanged. Once written, the contents
/// survive a crash of the machine, at the cost of two waits for the disk.
[[nodiscard]] std::error_code writeWholeFile(const std::string& path, const std::string& bytes);

/// Creates the folder with all its parents; no error if it exists.
[[nodiscard]] std::error_code makeFolders(const std::string& path);
