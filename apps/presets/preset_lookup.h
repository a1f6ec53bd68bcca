#pragma once

#include <string>
#include <vector>

#include "state/install_folders.h"
#include "state/preset_menu.h"

/// The user's presets and the factory presets, as menus show them.
struct PresetTrees {
  PresetMenu user;
  PresetMenu factory;  ///< `path` is empty if there are none
};

[[nodiscard]] PresetTrees walkPresets(const InstallFolders& folders);

/// Finds the file that a user means by `name`: a file of that name, otherwise a preset in the
/// trees. The full name of a preset is "User/Folder/Name" or "Factory/Folder/Name"; leading parts
/// and the extension may be omitted. Throws `Failure` if there is none or, listing them, if there
/// are several.
[[nodiscard]] std::string findPreset(const std::string& name, const PresetTrees& trees);
