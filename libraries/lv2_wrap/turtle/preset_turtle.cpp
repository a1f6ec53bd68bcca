#include "libraries/lv2_wrap/turtle/preset_turtle.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <system_error>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "dynamics/engine_settings.h"
#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/parameter_port.h"
#include "platform/clock.h"
#include "platform/index.h"
#include "platform/whole_file.h"
#include "state/install_folders.h"
#include "state/json_document.h"
#include "state/machine.h"

namespace lv2 {

namespace {

namespace fs = std::filesystem;

constexpr const char* kPresetsStem = "presets";

std::runtime_error failure(const fs::path& file, const std::string& reason) {
  return std::runtime_error(file.string() + ": " + reason);
}

std::array<float, kNumParams> loadValues(const fs::path& file) {
  std::string bytes;
  if (const std::error_code error = readWholeFile(file.string(), bytes, kMostDocumentBytes)) {
    throw failure(file, error.message());
  }
  Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
  plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
  if (plug.chunkRefused()) throw failure(file, "holds no preset");
  std::array<float, kNumParams> values{};
  for (int id = 0; id < kNumParams; ++id) {
    values[at(id)] = roundPlain(id, plug.getPlainValue(id), plug.normalisedValue(id));
  }
  return values;
}

FactoryPreset readPreset(const fs::path& folder, const fs::path& file) {
  const fs::path place = file.lexically_relative(folder).replace_extension();
  FactoryPreset preset;
  preset.stem = kPresetsStem;
  for (const fs::path& step : place) {
    const std::string part = uriStep(step.string());
    if (part.empty()) throw failure(file, "its name has no letter or digit for a URI");
    preset.stem += '/' + part;
  }
  for (const fs::path& step : place.parent_path()) {
    preset.folder += (preset.folder.empty() ? "" : ": ") + shownName(step.string());
  }
  preset.name = shownName(place.filename().string());
  preset.values = loadValues(file);
  return preset;
}

std::vector<fs::path> presetFiles(const fs::path& folder) {
  std::error_code error;
  const fs::recursive_directory_iterator entries(folder, error);
  if (error) throw failure(folder, error.message());
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : entries) {
    const bool isPreset = entry.path().extension() == std::string(".") + kPresetExtension;
    if (isPreset) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::string FactoryPreset::uri() const { return std::string(kBaseUri) + '/' + stem; }

std::string FactoryPreset::bankUri() const {
  return std::string(kBaseUri) + '/' + stem.substr(0, stem.rfind('/'));
}

std::string FactoryPreset::file() const { return stem + ".ttl"; }

bool FactoryPreset::suits(const PortLayout& plugin) const {
  constexpr auto kExternal = static_cast<float>(SidechainRoute::kExternal);
  if (plugin.sideChannels > 0) return true;
  for (int band = 0; band < kNumBands; ++band) {
    const auto valueOf = [&](int row) { return values[at(bandParameterId(band, row))]; };
    if (valueOf(kB1State) != 0.0F && valueOf(kB1SCSrc) == kExternal) return false;
  }
  return true;
}

std::string shownName(const std::string& name) {
  const auto isDigit = [&name](std::size_t i) {
    return std::isdigit(static_cast<unsigned char>(name[i])) != 0;
  };
  const bool isNumbered = name.size() > 3 && isDigit(0) && isDigit(1) && name[2] == ' ';
  return isNumbered ? name.substr(3) : name;
}

std::vector<FactoryPreset> readFactoryPresets(const std::string& folder) {
  std::vector<FactoryPreset> presets;
  std::set<std::string> stems;
  for (const fs::path& file : presetFiles(folder)) {
    presets.push_back(readPreset(folder, file));
    if (!stems.insert(presets.back().stem).second) {
      throw failure(file, "differs from another preset only in what a URI cannot tell");
    }
  }
  if (presets.empty()) throw failure(folder, "holds no preset");
  return presets;
}

Statements presetHead(const FactoryPreset& preset) {
  Statements about;
  about.add("a", "pset:Preset");
  for (const PortLayout& plugin : kPlugins) {
    if (preset.suits(plugin)) about.add("lv2:appliesTo", turtleUri(plugin.uri));
  }
  const std::string head = preset.folder.empty() ? "" : preset.folder + ": ";
  about.add("rdfs:label", turtleString(head + preset.name));
  if (!preset.folder.empty()) about.add("pset:bank", turtleUri(preset.bankUri()));
  return about;
}

std::string presetTurtle(const FactoryPreset& preset) {
  Statements about = presetHead(preset);
  for (int place = 0; place < kNumParams; ++place) {
    const int id = parameterInPlace(place);
    if (id == kABBank || id == kBypass) continue;
    Statements port;
    port.add("lv2:symbol", turtleString(parameterKeyTable().name(id)));
    port.add("pset:value", turtleDecimal(preset.values[at(id)]));
    about.add("lv2:port", port.blankNode());
  }
  Statements state;
  state.add(turtleUri(kPortsOnlyUri), "true");
  about.add("state:state", state.blankNode());
  return std::string(turtlePrefixes()) + about.about(turtleUri(preset.uri()));
}

}  // namespace lv2
