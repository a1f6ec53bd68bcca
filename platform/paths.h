#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

// Files by their names, as plain text: the standard library's own paths do not survive it when
// memory runs out while they are put together. Where it does, these throw std::bad_alloc.

/// `name` in `folder`, which may end in a slash; alone in an empty one.
[[nodiscard]] std::string joinedPath(std::string_view folder, std::string_view name);
/// Without the last part and the slash before it; empty where there is none, `/` of what lies
/// there.
[[nodiscard]] std::string parentFolder(std::string_view path);

/// The last part of a name from its last dot on; empty without one, and where all is behind it.
[[nodiscard]] std::string_view extensionOf(std::string_view path);

[[nodiscard]] bool isFolder(const std::string& path) noexcept;
[[nodiscard]] bool isFile(const std::string& path) noexcept;  ///< a regular one
[[nodiscard]] bool isSameFile(const std::string& a, const std::string& b) noexcept;
[[nodiscard]] bool isThere(const std::string& path) noexcept;
/// Also for a link to nowhere.
[[nodiscard]] bool isNameTaken(const std::string& path) noexcept;
/// Absolute and without links; empty for what is not there.
[[nodiscard]] std::optional<std::string> realPath(const std::string& path);
/// Where a chain of symbolic links ends, even if nothing stands there yet.
[[nodiscard]] std::string resolvedLinks(std::string path);
[[nodiscard]] std::error_code moveFile(const std::string& from, const std::string& to) noexcept;

/// One name in a folder; what a link leads to counts.
struct FolderEntry {
  std::string name;
  bool isFolder = false;
  bool isFile = false;
  bool isLink = false;
};
/// Adds all but `.` and `..`, in no order, but no more than `most`; then `isWhole` is false.
[[nodiscard]] std::error_code readFolder(const std::string& path, std::size_t most,
                                         std::vector<FolderEntry>& entries, bool& isWhole);
/// All but `.` and `..`, in no order; empty for what cannot be listed.
[[nodiscard]] std::vector<FolderEntry> listFolder(const std::string& path);
