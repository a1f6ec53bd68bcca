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

/// The file that a user means by `name`: a file of that name, otherwise a preset of this machine.
/// The full name of a preset is "User/Folder/Name" or "Factory/Folder/Name"; leading parts, the
/// numbers before names and the extension may be left out, and case matters only between presets
/// that it tells apart. Throws `Failure` if there is none or, listing them, if there are several.
[[nodiscard]] std::string presetFile(const std::string& name);
