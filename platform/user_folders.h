#pragma once

#include <string>

// By the environment of the process; no slash at the end. Empty when it does not tell.

[[nodiscard]] std::string userConfigFolder();  ///< `XDG_CONFIG_HOME`, else `.config` of the home
[[nodiscard]] std::string userDataFolder();    ///< `XDG_DATA_HOME`, else `.local/share` of the home
[[nodiscard]] std::string userHomeFolder();
/// A path whose first part may be `~`, which stands for the user's home.
[[nodiscard]] std::string withHomeFolder(const std::string& path);
/// Where the program or the shared library that holds this code lies.
[[nodiscard]] std::string codeFolder();
/// A variable of the environment; empty if it is not set.
[[nodiscard]] std::string environmentText(const char* name);
