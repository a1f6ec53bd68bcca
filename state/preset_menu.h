#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Files of one kind in a folder and its subfolders, as a menu shows them.
struct PresetMenu {
  /// A file without its extension, or a folder.
  struct Entry {
    std::string text;
    std::unique_ptr<PresetMenu> submenu;  ///< null for a file
  };

  std::string path;  ///< the folder, as a prefix of the entries' files; ends in a slash
  std::vector<Entry> entries;

  /// The menu whose `path` is exactly `wanted`: this one or one below it, depth first; null if
  /// there is none.
  [[nodiscard]] PresetMenu* findSubmenu(std::string_view wanted);
};

/// Adds the contents of folder `path` to `menu`: files with exactly this extension, then folders,
/// each sorted by the number at the start of the name, then by bytes. Names that begin with a dot
/// are left out; a folder that cannot be opened adds nothing. `path` may or may not end in a slash.
/// Links are followed, except back to a folder that contains them. Folders deeper than 32 levels
/// and those after the first 10,000 are left out. `menu.path` and existing entries stay.
void walkPresetFolder(PresetMenu& menu, const std::string& path, std::string_view extension);
