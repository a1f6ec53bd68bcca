#pragma once

#include <string>

inline constexpr const char* kFileErrorCaption = "Halvekro : File Access Error";

/// Tells the user by `Alerts` that a file could not be opened. `mode` as for `fopen`: one with a
/// `w` speaks of writing and saving, any other of reading and loading. Any thread but the audio
/// thread.
void reportFileError(const std::string& path, const char* mode);

/// Tells the user that a file was opened but holds nothing of use: what it is not ("no band file"),
/// and what has become of the settings.
void reportFileContent(const std::string& path, const std::string& fault,
                       const std::string& consequence);
