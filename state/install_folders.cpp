#include "state/install_folders.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/user_folders.h"
#include "platform/whole_file.h"
#include "state/json_document.h"
#include "state/user_store.h"

namespace {

namespace fs = std::filesystem;

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
  return data.empty() ? "" : (fs::path(data) / kProductFolder).string();
}

/// The text of a file that holds something, or an empty one.
std::string readInstallFile(const std::string& folder, const std::string& name) {
  std::string text;
  if (folder.empty() || readWholeFile(folder + '/' + name, text, kMostDocumentBytes)) return {};
  return text;
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
  std::vector<fs::path> candidates;
  if (const fs::path code = codeFolder; code.is_absolute()) {
    candidates.push_back(code.parent_path() / "share" / kProductFolder);
    candidates.push_back(code / "share" / kProductFolder);
    candidates.push_back(code / "Corvanthelis.resources");
  }
  const std::string data = dataFolders.empty() ? "/usr/local/share:/usr/share" : dataFolders;
  for (const fs::path folder : splitAtColons(data)) {
    if (folder.is_absolute()) candidates.push_back(folder / kProductFolder);
  }
  for (const fs::path& candidate : candidates) {
    std::error_code error;
    if (fs::is_directory(candidate, error)) return candidate.string();
  }
  return {};
}

bool isTooLargeToLoad(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && fs::file_size(path, error) > kMostDocumentBytes &&
         !error;
}

InstallFolders findInstallFolders(UserStore& store) {
  return {findInstallFolder(store),
          findFactoryFolder(codeFolder(), environmentText("XDG_DATA_DIRS"))};
}

std::string loadInstallFile(const InstallFolders& folders, const std::string& first,
                            const std::string& second, std::string& pathOut) {
  pathOut = folders.install.empty() ? "" : folders.install + '/' + first;
  std::string text = readInstallFile(folders.install, first);
  if (text.empty()) text = readInstallFile(folders.install, second);
  if (text.empty()) text = readInstallFile(folders.factory, second);
  return text;
}
