#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Files of one kind in a folder and those below it, as a menu shows them.
struct PresetMenu {
  /// A file without its extension, or a folder.
  struct Entry {
    std::string text;
    std::unique_ptr<PresetMenu> submenu;  ///< null for a file
  };

  std::string path;  ///< prefix of the entries' files; ends in a slash
  std::vector<Entry> entries;

  /// The menu of this tree whose `path` is exactly `wanted`, depth first below this one; null if
  /// there is none.
  [[nodiscard]] PresetMenu* findSubmenu(std::string_view wanted);
};

/// Adds what lies in the folder `path` to `menu`: files with exactly this extension, then folders,
/// each by the number it begins with, then by its bytes. Names that begin with a dot are left out;
/// a folder that cannot be opened adds nothing. Links that lead in a circle end.
void walkPresetFolder(PresetMenu& menu, const std::string& path, std::string_view extension);
