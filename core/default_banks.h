#pragma once

#include <string>

#include "host/state_chunks.h"
#include "state/install_folders.h"

/// Loads the bank that new instances start with: the user's default bank, otherwise the factory
/// bank. A bank with the file extension of older releases is loaded before one with the present
/// extension. The user is told of a file that holds no bank. Returns the path of the user's default
/// bank; empty if there is no folder for it. Any control thread.
std::string loadDefaultBanks(const InstallFolders& folders, StateChunks& state);
