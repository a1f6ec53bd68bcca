#pragma once

#include <memory>
#include <string>

#include "state/install_folders.h"
#include "state/ui_settings.h"

// The graph options that new instances start with. They stand in the bank that those load, the
// user's own or otherwise the factory's, and nowhere else. `group`: the name of one group of
// options, case-sensitive; empty for all. Threads: the message thread, since files are read.

/// The program's table of options, the same for all instances.
[[nodiscard]] const std::shared_ptr<const UiTable>& uiTable();

/// Writes the present options of a group into the user's default bank and leaves the rest of that
/// as it is. Returns whether it was written. A default bank that cannot be read is left alone.
bool saveUiDefaults(const UiSettings& from, const std::string& group,
                    const InstallFolders& folders);

/// Sets the options of a group to those that new instances start with.
void restoreUiDefaults(UiSettings& into, const std::string& group, const InstallFolders& folders);
