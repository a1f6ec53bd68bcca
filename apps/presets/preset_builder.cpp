// Builds the factory content from its readable sources: presets, the factory bank and the factory
// band, with which new bands start. Run by the build.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "apps/output/failure.h"
#include "apps/presets/preset_source.h"
#include "core/plug.h"
#include "platform/clock.h"
#include "state/install_folders.h"
#include "state/machine.h"

namespace {

namespace fs = std::filesystem;

/// An instance that ignores this machine's user and stores presets without the editor's part, so
/// that loading them does not change the window.
class StoringPlug : public Plug {
 public:
  StoringPlug() : Plug(nullptr, Idle::kCaller, &monotonicMilliseconds, Machine::detached()) {
    setLoadingFlags(0);
  }
};

/// Writes a file as a whole or not at all: an interrupted build must not leave incomplete content.
void writeFile(const fs::path& path, std::string_view bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (out) return;
  fs::remove(path);
  throw Failure(path.string(), "cannot be written");
}

std::string_view storedState(Plug& plug, bool isPreset, const PresetSource& source) {
  void* data = nullptr;
  const std::int32_t size = plug.getChunk(&data, isPreset);
  if (size <= 0 || data == nullptr) throw Failure(source.file, "the effect stores no state");
  return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

void buildPreset(const fs::path& from, const fs::path& to) {
  const PresetSource source = readPresetSource(from.string());
  StoringPlug plug;
  applyPreset(plug, source);
  plug.setProgramName(source.name.c_str());
  writeFile(to, storedState(plug, true, source));
}

/// Makes each bank in turn the live one and applies its entry.
void buildBank(const fs::path& from, const fs::path& to) {
  const std::vector<PresetSource> entries = readBankSource(from.string());
  StoringPlug plug;
  const auto choose = [&plug](std::size_t bank) {
    plug.setParameter(kABBank, plug.plainToNormalised(kABBank, static_cast<float>(bank)));
  };
  for (std::size_t bank = 0; bank < entries.size(); ++bank) {
    choose(bank);
    applyPreset(plug, entries[bank]);
  }
  choose(0);
  plug.setProgramName(entries.front().name.c_str());
  writeFile(to, storedState(plug, false, entries.front()));
}

void buildBand(const fs::path& from, const fs::path& to) {
  const PresetSource source = readBandSource(from.string());
  StoringPlug plug;
  applyPreset(plug, source);
  std::string text;
  const auto size = static_cast<std::size_t>(plug.saveBand(text, 0));
  writeFile(to, {text.c_str(), size});  // the zero byte is part of the file
}

/// Removes presets of earlier builds whose source no longer exists.
void removeStale(const fs::path& presets, const std::set<fs::path>& built) {
  std::vector<fs::path> stale;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(presets)) {
    const bool isPreset = entry.path().extension() == std::string(".") + kPresetExtension;
    if (isPreset && !built.contains(entry.path())) stale.push_back(entry.path());
  }
  for (const fs::path& path : stale) fs::remove(path);
}

void buildAll(const fs::path& sources, const fs::path& content) {
  std::set<fs::path> built;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(sources)) {
    const fs::path place = fs::relative(entry.path(), sources);
    if (place.extension() != ".json" || !place.has_parent_path()) continue;
    fs::path to = content / "Presets" / place;
    to.replace_extension(kPresetExtension);
    buildPreset(entry.path(), to);
    built.insert(to);
  }
  buildBank(sources / "Factory Bank.json",
            content / (std::string("Factory Bank.") + kBankExtension));
  buildBand(sources / "Default Band.json",
            content / (std::string("Factory Band.") + kBandExtension));
  removeStale(content / "Presets", built);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw WrongArguments("usage: preset_builder SOURCES CONTENT");
    buildAll(argv[1], argv[2]);
    return kDone;
  } catch (const WrongArguments& fault) {
    std::cerr << fault.what() << '\n';
    return kWrongArguments;
  } catch (const std::exception& fault) {
    std::cerr << fault.what() << '\n';
    return kFailed;
  }
}
