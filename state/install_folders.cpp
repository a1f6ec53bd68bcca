#include "state/install_folders.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/paths.h"
#include "platform/user_folders.h"
#include "state/known_files.h"
#include "state/user_store.h"

namespace {

constexpr const char* kProductFolder = "Halvekro/Corvanthelis";

std::vector<std::string> splitAtColons(const std::string& text) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(':', begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::string findInstallFolder(UserStore& store) {
  constexpr std::size_t kLongestPath = 2047;
  if (std::string told = environmentText("CORVANTHELIS_PATH"); !told.empty()) return told;
  const std::optional<std::string> stored = store.read("Path");
  if (stored && stored->size() <= kLongestPath) return *stored;
  const std::string data = userDataFolder();
  return data.empty() ? "" : joinedPath(data, kProductFolder);
}

}  // namespace

std::string InstallFolders::presets() const {
  if (install.empty()) return {};
  return install + (install.back() == '/' ? "" : "/") + "Presets/";
}

std::string InstallFolders::bands() const {
  return install.empty() ? "" : install + "/BandPresets/";
}

std::string InstallFolders::factoryPresets() const {
  return factory.empty() ? "" : factory + "/Presets/";
}

std::string findFactoryFolder(const std::string& codeFolder, const std::string& dataFolders) {
  std::vector<std::string> candidates;
  const std::string shared = std::string("share/") + kProductFolder;
  if (codeFolder.starts_with('/')) {
    candidates.push_back(joinedPath(parentFolder(codeFolder), shared));
    candidates.push_back(joinedPath(codeFolder, shared));
    candidates.push_back(joinedPath(codeFolder, "Corvanthelis.resources"));
  }
  const std::string data = dataFolders.empty() ? "/usr/local/share:/usr/share" : dataFolders;
  for (const std::string& folder : splitAtColons(data)) {
    if (folder.starts_with('/')) candidates.push_back(joinedPath(folder, kProductFolder));
  }
  for (const std::string& candidate : candidates) {
    if (isFolder(candidate)) return candidate;
  }
  return {};
}

InstallFolders findInstallFolders(UserStore& store) {
  return {findInstallFolder(store),
          findFactoryFolder(codeFolder(), environmentText("XDG_DATA_DIRS"))};
}

InstallFile loadInstallFile(const InstallFolders& folders, const std::string& first,
                            const std::string& second, std::string& pathOut) {
  InstallFile file;
  const auto take = [&file](const std::string& folder, const std::string& name) {
    if (folder.empty() || file.contents != nullptr) return false;
    auto contents = readKnownFile(folder + '/' + name);
    const bool isTooLarge = contents->error == std::errc::file_too_large;
    if (!contents->bytes.empty()) file.contents = std::move(contents);
    return isTooLarge;
  };
  pathOut = folders.install.empty() ? "" : folders.install + '/' + first;
  file.isTooLarge = take(folders.install, first);
  file.isUsers = file.contents != nullptr;
  take(folders.install, second);
  take(folders.factory, second);
  return file;
}
