// Writes the Turtle files of the LV2 bundle: manifest, plug-ins and factory presets. Run by the
// build.

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/manifest.h"
#include "libraries/lv2_wrap/turtle/plugin_turtle.h"
#include "libraries/lv2_wrap/turtle/preset_turtle.h"
#include "platform/whole_file.h"

namespace {

namespace fs = std::filesystem;

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongArguments = 2 };

void writeFile(const fs::path& path, const std::string& text) {
  std::error_code error = makeFolders(path.parent_path().string());
  if (!error) error = writeWholeFile(path.string(), text);
  if (error) throw std::runtime_error(path.string() + ": " + error.message());
}

void writeBundle(const fs::path& bundle, const std::string& presetFolder) {
  const std::vector<lv2::FactoryPreset> presets = lv2::readFactoryPresets(presetFolder);
  for (const lv2::FactoryPreset& preset : presets) {
    writeFile(bundle / preset.file(), lv2::presetTurtle(preset));
  }
  for (const lv2::PortLayout& plugin : lv2::kPlugins) {
    writeFile(bundle / (std::string(plugin.fileStem) + ".ttl"), lv2::pluginTurtle(plugin));
  }
  // Last, when the files that it names exist.
  writeFile(bundle / "manifest.ttl", lv2::manifestTurtle(presets));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: lv2_turtle BUNDLE_DIR PRESETS_DIR\n";
    return kWrongArguments;
  }
  try {
    writeBundle(argv[1], argv[2]);
    return kDone;
  } catch (const std::exception& fault) {
    std::cerr << fault.what() << '\n';
    return kFailed;
  }
}
