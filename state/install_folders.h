#pragma once

#include <string>

class UserStore;

/// Where presets, bands and banks lie. Paths may or may not end in a slash; an empty one names
/// nothing, and nothing is looked for there.
struct InstallFolders {
  std::string install;  ///< the user's own files
  std::string factory;  ///< what the product brings along: read only; empty if it was not found

  /// Both end in a slash, and are used as prefixes. Empty without an install folder.
  [[nodiscard]] std::string presets() const;
  [[nodiscard]] std::string bands() const;
  [[nodiscard]] std::string factoryPresets() const;  ///< empty if there is none
};

inline constexpr const char* kPresetExtension = "CorvanthelisPreset";
inline constexpr const char* kBankExtension = "CorvanthelisBank";
inline constexpr const char* kOldBankExtension = "bnk";
inline constexpr const char* kBandExtension = "cvb";

/// Whether a file is there that `loadInstallFile` passes over for its size, without reading it.
[[nodiscard]] bool isTooLargeToLoad(const std::string& path);

/// The folders of this machine: the environment's `CORVANTHELIS_PATH`, else the store's "Path",
/// else the user's data folder; factory content lies beside the program or in a `share` folder next
/// to its folder.
[[nodiscard]] InstallFolders findInstallFolders(UserStore& store);

/// The first folder of factory content that exists: around the absolute `codeFolder`, then in the
/// `dataFolders`, absolute ones with colons between them (empty for the system's). Empty if none.
[[nodiscard]] std::string findFactoryFolder(const std::string& codeFolder,
                                            const std::string& dataFolders);

/// Reads the file `first` of the install folder or else `second` of the install or else of the
/// factory folder. `pathOut` gets the path of `first` in the install folder, whether it is there or
/// not: the place to write it to; empty without an install folder. The result is empty when none
/// could be read; an empty file and one larger than any document count as such.
[[nodiscard]] std::string loadInstallFile(const InstallFolders& folders, const std::string& first,
                                          const std::string& second, std::string& pathOut);
