#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

// Paths as plain text. `std::filesystem::path` does not survive running out of memory while a path
// is put together; these functions then throw std::bad_alloc.

/// `name` in `folder`, which may end in a slash; just `name` if `folder` is empty.
[[nodiscard]] std::string joinedPath(std::string_view folder, std::string_view name);
/// The path without its last part and the slash before it: empty if there is no slash, `/` for what
/// lies in the root.
[[nodiscard]] std::string parentFolder(std::string_view path);

/// The last part of the path from its last dot on, with the dot. Empty if there is no dot or only a
/// leading one.
[[nodiscard]] std::string_view extensionOf(std::string_view path);

[[nodiscard]] bool isFolder(const std::string& path) noexcept;
[[nodiscard]] bool isFile(const std::string& path) noexcept;  ///< a regular one
[[nodiscard]] bool isSameFile(const std::string& a, const std::string& b) noexcept;
[[nodiscard]] bool isThere(const std::string& path) noexcept;
/// Whether anything has this name, even a link to nowhere.
[[nodiscard]] bool isNameTaken(const std::string& path) noexcept;
/// The absolute path without links; none if nothing is there.
[[nodiscard]] std::optional<std::string> realPath(const std::string& path);
/// The end of a chain of symbolic links, even if nothing exists there yet.
[[nodiscard]] std::string resolvedLinks(std::string path);

/// What tells one state of a file from another without reading it.
struct FileStamp {
  bool isThere = false;
  bool isSettled = false;  ///< old enough that any later change gets other times
  std::uint64_t device = 0;
  std::uint64_t node = 0;
  std::uint64_t size = 0;    ///< bytes
  std::int64_t written = 0;  ///< nanoseconds, when the contents changed
  std::int64_t changed = 0;  ///< nanoseconds, when anything changed

  [[nodiscard]] bool isSameState(const FileStamp& other) const noexcept;
};
[[nodiscard]] FileStamp fileStamp(const std::string& path) noexcept;

[[nodiscard]] std::error_code moveFile(const std::string& from, const std::string& to) noexcept;

/// One name in a folder; for a link, `isFolder` and `isFile` describe its target.
struct FolderEntry {
  std::string name;
  bool isFolder = false;
  bool isFile = false;
  bool isLink = false;
};
/// Adds all entries except `.` and `..`, in no particular order, but no more than `most`; then
/// `isWhole` is false.
[[nodiscard]] std::error_code readFolder(const std::string& path, std::size_t most,
                                         std::vector<FolderEntry>& entries, bool& isWhole);
/// All entries except `.` and `..`, in no particular order; empty if the folder cannot be listed.
[[nodiscard]] std::vector<FolderEntry> listFolder(const std::string& path);
