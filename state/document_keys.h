#pragma once

// Names of members in stored documents, shared by the files that write and read them.
namespace documentKey {

inline constexpr const char* kPresets = "presets";        ///< programs of the full form
inline constexpr const char* kBanks = "ab";               ///< banks A to H of the full form
inline constexpr const char* kParameters = "parameters";  ///< values, or `kAllDefault`
inline constexpr const char* kAllDefault = "default";
inline constexpr const char* kName = "name";
inline constexpr const char* kSettings = "settings";  ///< the editor's part
inline constexpr const char* kUiPrefs = "uiprefs";    ///< options of the graphs
inline constexpr const char* kVersionMark = "v101";
inline constexpr const char* kBandParameters = "params";  ///< of a band file

}  // namespace documentKey
