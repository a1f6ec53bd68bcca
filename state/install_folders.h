#pragma once

#include <memory>
#include <string>

class UserStore;
struct FileContents;

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

/// The folders of this machine. The install folder is the environment's `CORVANTHELIS_PATH`,
/// otherwise the store's "Path", otherwise in the user's data folder. For factory content see
/// `findFactoryFolder`.
[[nodiscard]] InstallFolders findInstallFolders(UserStore& store);

/// The first folder of factory content that exists: in a `share` folder next to or in the absolute
/// `codeFolder`, as `Corvanthelis.resources` in it, then in the `dataFolders`, absolute paths
/// separated by colons (empty for the system's default). Empty if there is none.
[[nodiscard]] std::string findFactoryFolder(const std::string& codeFolder,
                                            const std::string& dataFolders);

/// A file of the install folder, or the one in its place.
struct InstallFile {
  std::shared_ptr<const FileContents> contents;  ///< null if there is none
  bool isUsers = false;                          ///< it is the user's own
  bool isTooLarge = false;                       ///< the user's own was skipped for its size
};

/// The file `first` in the install folder, otherwise `second` in the install folder, otherwise
/// `second` in the factory folder; each is read only if it has changed since it was read last.
/// Empty files and files larger than `kMostDocumentBytes` are skipped. `pathOut` gets the path of
/// `first`, the user's own, which need not exist: the place to write it to; empty without an
/// install folder.
[[nodiscard]] InstallFile loadInstallFile(const InstallFolders& folders, const std::string& first,
                                          const std::string& second, std::string& pathOut);
