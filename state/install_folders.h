#pragma once

#include <string>

class UserStore;

/// The folders of presets, bands and banks. Paths may or may not end in a slash; an empty path
/// means that there is no such folder.
struct InstallFolders {
  std::string install;  ///< the user's own files
  std::string factory;  ///< factory content, read-only; empty if it was not found

  // Both end in a slash, to be used as prefixes. Empty without an install folder.
  [[nodiscard]] std::string presets() const;
  [[nodiscard]] std::string bands() const;
  [[nodiscard]] std::string factoryPresets() const;  ///< empty if there is none
};

inline constexpr const char* kPresetExtension = "CorvanthelisPreset";
inline constexpr const char* kBankExtension = "CorvanthelisBank";
inline constexpr const char* kOldBankExtension = "bnk";
inline constexpr const char* kBandExtension = "cvb";

/// Whether there is a file that `loadInstallFile` skips because of its size. Does not read it.
[[nodiscard]] bool isTooLargeToLoad(const std::string& path);

/// The folders of this machine. The install folder is the environment's `CORVANTHELIS_PATH`,
/// otherwise the store's "Path", otherwise in the user's data folder. For factory content see
/// `findFactoryFolder`.
[[nodiscard]] InstallFolders findInstallFolders(UserStore& store);

/// The first folder of factory content that exists: in a `share` folder next to or in the absolute
/// `codeFolder`, as `Corvanthelis.resources` in it, then in the `dataFolders`, absolute paths
/// separated by colons (empty for the system's default). Empty if there is none.
[[nodiscard]] std::string findFactoryFolder(const std::string& codeFolder,
                                            const std::string& dataFolders);

/// Reads the file `first` in the install folder, otherwise `second` in the install folder,
/// otherwise `second` in the factory folder. `pathOut` gets the path of `first`, which need not
/// exist: the place to write it to; empty without an install folder. Returns an empty text if none
/// could be read; empty files and files larger than `kMostDocumentBytes` are skipped.
[[nodiscard]] std::string loadInstallFile(const InstallFolders& folders, const std::string& first,
                                          const std::string& second, std::string& pathOut);
