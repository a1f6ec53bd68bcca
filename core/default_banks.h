#pragma once

#include <string>

#include "host/state_chunks.h"
#include "state/install_folders.h"

/// Loads the bank that new instances begin with, the user's or else the product's, of an older
/// release first. Of a file that is none the user is told. Returns the path of the user's; empty
/// without a folder for it. Any control thread.
std::string loadDefaultBanks(const InstallFolders& folders, StateChunks& state);
