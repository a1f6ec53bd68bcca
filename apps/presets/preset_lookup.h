#pragma once

#include <string>
#include <vector>

#include "state/install_folders.h"
#include "state/preset_menu.h"

/// The presets of a user and those that come with the program, each as its menu shows them.
struct PresetTrees {
  PresetMenu user;
  PresetMenu factory;  ///< `path` is empty where there is none
};

[[nodiscard]] PresetTrees walkPresets(const InstallFolders& folders);

/// The file that a user means by `name`: the file of that name, or else the preset that the trees
/// have under it. A preset has the name "User/Folder/Name" or "Factory/Folder/Name", of which any
/// part from the end will do, with or without the extension. Throws `Failure` for none, and for
/// several with their names.
[[nodiscard]] std::string findPreset(const std::string& name, const PresetTrees& trees);
