#include "core/default_banks.h"

#include <cstdint>

#include "host/file_errors.h"
#include "state/known_files.h"

namespace {

std::string loadDefaultBank(const InstallFolders& folders, const std::string& extension,
                            StateChunks& state) {
  const std::string factoryFile = "Factory Bank." + extension;
  std::string path;
  const InstallFile file = loadInstallFile(folders, "Default Bank." + extension, factoryFile, path);
  if (file.isTooLarge) {
    reportFileContent(path, "is too large for a bank", "It has been passed over");
  }
  if (file.contents == nullptr) return path;
  if (const auto& root = file.contents->root) {
    state.take(root.get(), false);
    return path;
  }
  const std::string& bytes = file.contents->bytes;
  state.set(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
  reportFileContent(file.isUsers ? path : factoryFile, "holds no bank",
                    "The settings are the program's own");
  return path;
}

}  // namespace

std::string loadDefaultBanks(const InstallFolders& folders, StateChunks& state) {
  loadDefaultBank(folders, kOldBankExtension, state);
  return loadDefaultBank(folders, kBankExtension, state);
}
