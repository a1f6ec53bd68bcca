#include "core/default_banks.h"

#include "host/file_errors.h"
#include "platform/paths.h"

namespace {

std::string loadDefaultBank(const InstallFolders& folders, const std::string& extension,
                            StateChunks& state) {
  const std::string factoryFile = "Factory Bank." + extension;
  std::string path;
  const std::string bytes =
      loadInstallFile(folders, "Default Bank." + extension, factoryFile, path);
  const bool isPassedOver = isTooLargeToLoad(path);
  if (isPassedOver) reportFileContent(path, "is too large for a bank", "It has been passed over");
  if (bytes.empty()) return path;
  state.set(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
  if (!state.refused()) return path;
  const bool isUsers = !isPassedOver && isThere(path);
  reportFileContent(isUsers ? path : factoryFile, "holds no bank",
                    "The settings are the program's own");
  return path;
}

}  // namespace

std::string loadDefaultBanks(const InstallFolders& folders, StateChunks& state) {
  loadDefaultBank(folders, kOldBankExtension, state);
  return loadDefaultBank(folders, kBankExtension, state);
}
