#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What a folder holds that can be chosen: folders first, then files with one of the extensions,
/// each by its name as people sort them. Hidden names are left out. Threads: any.
class FolderList {
 public:
  struct Row {
    std::string name;
    bool isFolder = false;
  };

  /// Reads a folder. `extensions` without dot; none shows all files. What it held stays where the
  /// folder cannot be read: the reason in words, empty for none.
  [[nodiscard]] std::string read(const std::string& path,
                                 const std::vector<std::string>& extensions);
  [[nodiscard]] const std::string& path() const noexcept { return folder; }
  [[nodiscard]] const std::vector<Row>& rows() const noexcept { return list; }
  /// More lies there than is read of any folder.
  [[nodiscard]] bool isCut() const noexcept { return !isWhole; }
  /// The row of a name; -1 for none.
  [[nodiscard]] int find(std::string_view name) const;

 private:
  std::string folder;
  std::vector<Row> list;
  bool isWhole = true;
};

/// Whether `a` comes before `b`: numbers in names count as such, small letters and capitals are
/// alike.
[[nodiscard]] bool comesBefore(std::string_view a, std::string_view b);

/// A path to save under: with this extension, without dot, if its last part has none at all.
[[nodiscard]] std::string withExtension(const std::string& path, const std::string& extension);
