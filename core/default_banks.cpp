#include "core/default_banks.h"

#include "host/file_errors.h"
#include "platform/paths.h"

std::string loadDefaultBank(const InstallFolders& folders, const std::string& extension,
                            const std::function<bool(const std::string& bytes)>& take) {
  const std::string factoryFile = "Factory Bank." + extension;
  std::string path;
  const std::string bytes =
      loadInstallFile(folders, "Default Bank." + extension, factoryFile, path);
  const bool isPassedOver = isTooLargeToLoad(path);
  if (isPassedOver) reportFileContent(path, "is too large for a bank", "It has been passed over");
  if (bytes.empty() || take(bytes)) return path;
  const bool isUsers = !isPassedOver && isThere(path);
  reportFileContent(isUsers ? path : factoryFile, "holds no bank",
                    "The settings are the program's own");
  return path;
}
