#pragma once

#include <functional>
#include <string>

#include "state/install_folders.h"

/// Loads the bank that new instances begin with, the user's or else the product's: `take` gets its
/// bytes and answers whether they are one. Of a file that is none the user is told. Returns the
/// path of the user's; empty without a folder for it. Any control thread.
std::string loadDefaultBank(const InstallFolders& folders, const std::string& extension,
                            const std::function<bool(const std::string& bytes)>& take);
