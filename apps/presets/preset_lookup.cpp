#include "apps/presets/preset_lookup.h"

#include "apps/output/failure.h"
#include "platform/paths.h"

namespace {

struct Preset {
  std::string name;
  std::string path;
};

std::string extension() { return std::string(".") + kPresetExtension; }

void addPresets(const PresetMenu& menu, const std::string& prefix, std::vector<Preset>& presets) {
  for (const PresetMenu::Entry& entry : menu.entries) {
    if (entry.submenu) {
      addPresets(*entry.submenu, prefix + entry.text + "/", presets);
    } else {
      presets.push_back({prefix + entry.text, menu.path + entry.text + extension()});
    }
  }
}

std::string namesOf(const std::vector<Preset>& presets) {
  std::string names;
  for (std::size_t i = 0; i < presets.size(); ++i) {
    if (i > 0) names += i + 1 == presets.size() ? " or " : ", ";
    names += presets[i].name;
  }
  return names;
}

}  // namespace

PresetTrees walkPresets(const InstallFolders& folders) {
  PresetTrees trees;
  trees.user.path = folders.presets();
  trees.factory.path = folders.factoryPresets();
  for (PresetMenu* const menu : {&trees.user, &trees.factory}) {
    if (!menu->path.empty()) walkPresetFolder(*menu, menu->path, kPresetExtension);
  }
  return trees;
}

std::string findPreset(const std::string& name, const PresetTrees& trees) {
  const bool exists = isThere(name);
  if (exists && !isFolder(name)) return name;
  std::string wanted = name;
  if (wanted.ends_with(extension())) wanted.resize(wanted.size() - extension().size());
  std::vector<Preset> all;
  addPresets(trees.user, "User/", all);
  addPresets(trees.factory, "Factory/", all);
  std::vector<Preset> found;
  for (const Preset& preset : all) {
    if (preset.name == wanted) return preset.path;
    if (preset.name.ends_with("/" + wanted)) found.push_back(preset);
  }
  if (found.size() == 1) return found.front().path;
  if (found.empty() && exists) return name;  // a folder: reading it gives the error message
  if (found.empty()) {
    throw Failure(name, "no such file, nor a preset of that name (see presets list)");
  }
  throw Failure(name, std::to_string(found.size()) + " presets have that name: " + namesOf(found));
}
