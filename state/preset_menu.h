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

  /// The menu whose `path` is exactly `wanted`: this one or one below it, depth first; null if
  /// there is none.
  [[nodiscard]] PresetMenu* findSubmenu(std::string_view wanted);
};

/// Adds what lies in the folder `path` to `menu`: files with exactly this extension, then folders,
/// each by the number it begins with, then by its bytes. Names that begin with a dot are left out;
/// a folder that cannot be opened adds nothing. `path` may or may not end in a slash.
/// Links are followed; one that leads back to a folder it lies in is left out, and so are folders
/// deeper than 32 and those past 10,000. `menu.path` and the entries that it has stay.
void walkPresetFolder(PresetMenu& menu, const std::string& path, std::string_view extension);
