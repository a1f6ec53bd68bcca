#include "state/preset_menu.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "platform/paths.h"

namespace {

// Limits that no collection of presets reaches, but a link to the rest of the disk does.
constexpr int kDeepestFolder = 32;
constexpr int kMostFolders = 10'000;

/// An entry of a folder, to be sorted.
struct Found {
  std::string text;
  std::string name;  // with its extension
  int number = 0;    // at the start of the text
  bool isLink = false;
};

struct Listing {
  std::vector<Found> files;
  std::vector<Found> folders;
};

int leadingNumber(const std::string& text) {
  return static_cast<int>(
      std::clamp(std::strtol(text.c_str(), nullptr, 10), long{INT_MIN}, long{INT_MAX}));
}

void sortByNumber(std::vector<Found>& found) {
  std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
    // Folders may differ only after their last dot: compare the whole name.
    return std::tie(a.number, a.text, a.name) < std::tie(b.number, b.text, b.name);
  });
}

/// Adds the entry if it is a folder or a file with that extension.
void addFound(Listing& listing, FolderEntry entry, std::string_view extension) {
  std::string& name = entry.name;
  if (name.empty() || name.front() == '.') return;
  const std::size_t dot = name.rfind('.');
  if (!entry.isFolder) {
    const bool fits = dot != std::string::npos && name.compare(dot + 1, name.npos, extension) == 0;
    // Pipes and links to nothing cannot be loaded.
    if (!fits || !entry.isFile) return;
  }
  std::string text = name.substr(0, dot);
  const int number = leadingNumber(text);
  (entry.isFolder ? listing.folders : listing.files)
      .push_back({std::move(text), std::move(name), number, entry.isLink});
}

Listing listingOf(const std::string& path, std::string_view extension) {
  Listing listing;
  for (FolderEntry& entry : listFolder(path)) addFound(listing, std::move(entry), extension);
  sortByNumber(listing.files);
  sortByNumber(listing.folders);
  return listing;
}

class FolderWalk {
 public:
  explicit FolderWalk(std::string_view wantedExtension) : extension(wantedExtension) {}

  /// `prefix` ends in a slash; `real` is the same folder without links.
  void add(PresetMenu& menu, const std::string& prefix, const std::string& real) {
    Listing listing = listingOf(prefix, extension);
    menu.entries.reserve(menu.entries.size() + listing.files.size() + listing.folders.size());
    for (Found& file : listing.files) menu.entries.push_back({std::move(file.text), nullptr});
    openFolders.push_back(real);
    for (Found& folder : listing.folders) addFolder(menu, prefix, folder);
    openFolders.pop_back();
  }

 private:
  void addFolder(PresetMenu& menu, const std::string& prefix, Found& folder) {
    std::string real = joinedPath(openFolders.back(), folder.name);
    if (folder.isLink) {
      auto target = realPath(real);
      if (!target) return;
      real = std::move(*target);
    }
    const bool isCircle =
        std::find(openFolders.begin(), openFolders.end(), real) != openFolders.end();
    if (isCircle || openFolders.size() > kDeepestFolder || folders == kMostFolders) return;
    ++folders;
    auto submenu = std::make_unique<PresetMenu>();
    submenu->path = prefix + folder.name + '/';
    add(*submenu, submenu->path, real);
    menu.entries.push_back({std::move(folder.text), std::move(submenu)});
  }

  const std::string_view extension;
  std::vector<std::string> openFolders;  // from the first one to the one being listed
  int folders = 0;
};

}  // namespace

PresetMenu* PresetMenu::findSubmenu(std::string_view wanted) {
  if (path == wanted) return this;
  for (const Entry& entry : entries) {
    PresetMenu* const found = entry.submenu ? entry.submenu->findSubmenu(wanted) : nullptr;
    if (found) return found;
  }
  return nullptr;
}

void walkPresetFolder(PresetMenu& menu, const std::string& path, std::string_view extension) {
  const auto real = realPath(path);
  if (real) FolderWalk(extension).add(menu, path.back() == '/' ? path : path + '/', *real);
}
