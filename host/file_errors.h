#pragma once

#include <string>

inline constexpr const char* kFileErrorCaption = "Halvekro : File Access Error";

/// Tells the user, through `Alerts`, that a file could not be opened. `mode` is that of `fopen`:
/// with a `w` the message speaks of writing and saving, otherwise of reading and loading. Any
/// thread but the audio thread.
void reportFileError(const std::string& path, const char* mode);

/// Tells the user that a file was opened but could not be used. `fault` says why ("no band file"),
/// `consequence` what has become of the settings. Threads as above.
void reportFileContent(const std::string& path, const std::string& fault,
                       const std::string& consequence);
