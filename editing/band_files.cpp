#include "editing/band_files.h"

#include <algorithm>
#include <cmath>

#include "editing/edited_parameters.h"
#include "host/file_errors.h"
#include "host/parameter_keys.h"
#include "platform/dialogs.h"
#include "platform/whole_file.h"
#include "state/chunk_codec.h"
#include "state/document_keys.h"
#include "state/install_folders.h"
#include "state/json_memory.h"
#include "state/json_writer.h"
#include "state/known_files.h"

namespace {

constexpr const char* kDefaultFile = "Default Band.cvb";
constexpr const char* kFactoryFile = "Factory Band.cvb";
constexpr const char* kNoBandFile = "is no band file";
constexpr const char* kOpenTitle = "Select band file";
constexpr const char* kSaveTitle = "Choose destination filename";

/// The index in `kBandFileRows` of the row with this key; past the end if there is none. Tries
/// `hint` first, since files usually follow the order of the list.
std::size_t placeOf(const ParameterKeys& keys, const char* key, std::size_t hint) {
  if (hint < kBandFileRows.size() && keys.name(kBandFileRows.at(hint)) == key) return hint;
  const auto* const found = std::find(kBandFileRows.begin(), kBandFileRows.end(), keys.find(key));
  return static_cast<std::size_t>(found - kBandFileRows.begin());
}

}  // namespace

std::int32_t BandFiles::saveBand(std::string& text, int band) const {
  if (!isBand(band)) return 0;
  const JsonTree root(jsonCreateObject());
  JsonWriter params(JsonWriter(root.get()).add(documentKey::kBandParameters, jsonCreateObject()));
  const bool isDynamicEq = parameters.getPlain(bandParameterId(band, kB1Type)) != 0.0F;
  for (const std::int32_t row : kBandFileRows) {
    auto plain = static_cast<double>(parameters.getPlain(bandParameterId(band, row)));
    if (row == kB1Slope && isDynamicEq) plain = std::floor(plain / 6.0) * 6.0;
    params.add(parameters.keys().name(row).c_str(), jsonCreateNumber(plain));
  }
  const JsonText printed(made(jsonPrintFormatted(root.get())));
  text = printed.get();
  return static_cast<std::int32_t>(text.size()) + 1;
}

/// The values in the document of a band file; none if it is no band file or `root` is null.
std::optional<BandFiles::Values> BandFiles::valuesIn(const JsonNode* root) const {
  if (!jsonIsType(root, kJsonObject)) return std::nullopt;
  const JsonNode* const params = jsonGetObjectItem(root, documentKey::kBandParameters);
  if (!jsonIsType(params, kJsonObject)) return std::nullopt;
  Values values{};
  std::size_t hint = 0;
  for (const JsonNode* member = params->child; member != nullptr; member = member->next, ++hint) {
    const std::size_t place =
        member->key != nullptr ? placeOf(parameters.keys(), member->key, hint) : values.size();
    const auto plain =
        jsonIsType(member, kJsonNumber) ? static_cast<float>(member->valueDouble) : 0.0F;
    if (place < values.size() && std::isfinite(plain)) values.at(place) = plain;
  }
  return values;
}

void BandFiles::apply(int band, const Values& values) {
  const UpdateHold hold(parameters.updates());
  const HistoryGroup group(parameters);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto& plain = values.at(i);
    if (plain) editPlain(parameters, bandParameterId(band, kBandFileRows.at(i)), *plain);
  }
}

bool BandFiles::loadBandFromText(const char* text, std::size_t size, int band) {
  if (text == nullptr || !isBand(band)) return false;
  const JsonTree root = parsedJson(std::string(text, size).c_str());
  const auto values = valuesIn(root.get());
  if (values) apply(band, *values);
  return values.has_value();
}

void BandFiles::resetBand(int band) {
  if (!isBand(band)) return;
  Values values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int id = bandParameterId(band, kBandFileRows.at(i));
    values.at(i) = parameters.toPlain(id, parameters.getDefault(id));
  }
  apply(band, values);
}

void BandFiles::loadBandTemplate() {
  const InstallFile file = loadInstallFile(folders, kDefaultFile, kFactoryFile, defaultPath);
  if (file.isTooLarge) {
    reportFileContent(defaultPath, "is too large for a band", "It has been passed over");
  }
  if (file.contents == nullptr) return;
  const bool isBandFile = !isPackedChunk(file.contents->bytes);
  const auto values = valuesIn(isBandFile ? file.contents->root.get() : nullptr);
  if (!values) {
    reportFileContent(file.isUsers ? defaultPath : kFactoryFile, kNoBandFile,
                      "New bands begin with the program's own settings");
    return;
  }
  for (std::size_t i = 0; i < values->size(); ++i) {
    const auto& plain = values->at(i);
    for (int band = 0; plain && band < kNumBands; ++band) {
      const int id = bandParameterId(band, kBandFileRows.at(i));
      parameters.setDefault(id, parameters.toNormalised(id, *plain));
    }
  }
}

bool BandFiles::writeBand(const std::string& path, int band) const {
  std::string text;
  saveBand(text, band);
  text.push_back('\0');
  return !writeWholeFile(path, text);
}

void BandFiles::saveDefaultBand(int band) {
  if (!isBand(band) || defaultPath.empty()) return;
  if (makeFolders(folders.install)) return;
  if (writeBand(defaultPath, band)) loadBandTemplate();
}

bool BandFiles::saveBandFile(const std::string& path, int band) const {
  if (!isBand(band)) return false;
  if (writeBand(path, band)) return true;
  reportFileError(path, "wb");
  return false;
}

bool BandFiles::loadBandFile(const std::string& path, int band) {
  if (!isBand(band)) return false;
  std::string text;
  const std::error_code error = readWholeFile(path, text, kMostDocumentBytes);
  if (error && error != std::errc::file_too_large) {
    reportFileError(path, "rb");
    return false;
  }
  if (!error && loadBandFromText(text.data(), text.size(), band)) return true;
  reportFileContent(path, kNoBandFile, "The band has not been changed");
  return false;
}

/// The user's folder of bands, created if missing. If that fails, saving reports it.
std::string BandFiles::ownFolder() const {
  std::string folder = folders.bands();
  if (!folder.empty()) static_cast<void>(makeFolders(folder));
  return folder;
}

PresetMenu BandFiles::bandPresets() const {
  PresetMenu menu;
  menu.path = folders.bands();
  if (!menu.path.empty()) walkPresetFolder(menu, menu.path, kBandExtension);
  return menu;
}

void BandFiles::saveBandDialog(Dialogs& dialogs, int band) const {
  dialogs.openFileDialog({false, kSaveTitle, ownFolder(), {}, kBandExtension},
                         [this, band](const std::string& path) {
                           if (!path.empty()) saveBandFile(path, band);
                         });
}

void BandFiles::loadBandDialog(Dialogs& dialogs, int band) {
  dialogs.openFileDialog({true, kOpenTitle, ownFolder(), {}, kBandExtension},
                         [this, band](const std::string& path) {
                           if (!path.empty()) loadBandFile(path, band);
                         });
}
