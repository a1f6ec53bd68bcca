#pragma once

#include <string>

// Folders from the environment of the process, without a slash at the end. Empty if unknown.

[[nodiscard]] std::string userConfigFolder();  ///< `XDG_CONFIG_HOME`, or `~/.config`
[[nodiscard]] std::string userDataFolder();    ///< `XDG_DATA_HOME`, or `~/.local/share`
[[nodiscard]] std::string userHomeFolder();
/// A path whose first part may be `~`, the user's home.
[[nodiscard]] std::string withHomeFolder(const std::string& path);
/// The folder of the program or shared library that contains this code.
[[nodiscard]] std::string codeFolder();
/// The value of an environment variable; empty if it is not set.
[[nodiscard]] std::string environmentText(const char* name);
