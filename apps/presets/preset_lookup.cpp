#include "apps/presets/preset_lookup.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "platform/paths.h"
#include "state/machine.h"

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

/// A name without the number by which folders are sorted, as in "01 De-esser".
std::string_view withoutNumber(std::string_view name) {
  const std::size_t end = name.find_first_not_of("0123456789");
  const bool isNumbered = end != 0 && end != name.npos && name[end] == ' ';
  return isNumbered ? trimmed(name.substr(end)) : name;
}

/// In lower case, each part without its number.
std::string plainName(std::string_view name) {
  std::string result;
  while (true) {
    const std::size_t end = std::min(name.find('/'), name.size());
    result += lowered(withoutNumber(name.substr(0, end)));
    if (end == name.size()) return result;
    result += '/';
    name.remove_prefix(end + 1);
  }
}

bool isSame(const std::string& name, const std::string& wanted) {
  return name == wanted || name.ends_with("/" + wanted);
}

/// The presets whose name ends in `wanted`; those that are so called first of all.
std::vector<Preset> presetsNamed(const std::string& wanted, const std::vector<Preset>& all) {
  std::vector<Preset> found;
  const auto take = [&](const auto& isMeant) {
    if (found.empty()) std::ranges::copy_if(all, std::back_inserter(found), isMeant);
  };
  take([&](const Preset& preset) { return preset.name == wanted; });
  take([&](const Preset& preset) { return isSame(preset.name, wanted); });
  take([&](const Preset& preset) { return isSame(lowered(preset.name), lowered(wanted)); });
  take([&](const Preset& preset) { return isSame(plainName(preset.name), plainName(wanted)); });
  return found;
}

/// The file of the preset called `name` in `trees`.
std::string findPreset(const std::string& name, const PresetTrees& trees) {
  std::string wanted = name;
  if (wanted.ends_with(extension())) wanted.resize(wanted.size() - extension().size());
  std::vector<Preset> all;
  addPresets(trees.user, "User/", all);
  addPresets(trees.factory, "Factory/", all);
  const std::vector<Preset> found = presetsNamed(wanted, all);
  if (found.size() == 1) return found.front().path;
  if (found.empty() && isThere(name)) return name;  // a folder: reading it gives the error message
  if (found.empty()) {
    throw Failure(name, "no such file, nor a preset of that name (see presets list)");
  }
  throw Failure(name, std::to_string(found.size()) + " presets have that name: " + namesOf(found));
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

std::string presetFile(const std::string& name) {
  if (name.empty()) throw WrongArguments("the name of a file is empty");
  if (isThere(name) && !isFolder(name)) return name;
  return findPreset(name, walkPresets(Machine::ofProcess().folders()));
}
