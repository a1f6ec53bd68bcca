#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "editing/parameter_ids.h"
#include "state/preset_menu.h"

class Dialogs;
class EditedParameters;
struct InstallFolders;
struct JsonNode;

/// The rows of a band that a band file holds, in the file's order, as ids of band 1: all rows
/// except state, bypass, type, solo, frequency and the sidechain's source band.
inline constexpr auto kBandFileRows = [] {
  std::array<std::int32_t, 45> rows{};
  std::size_t count = 0;
  for (std::int32_t id = kB1State; id <= kB1SCHFType; ++id) {
    const bool isPlace = id == kB1State || id == kB1Bypass || id == kB1Type || id == kB1Solo ||
                         id == kB1Frequency || id == kB1SCSBand;
    if (!isPlace) rows.at(count++) = id;
  }
  return rows;
}();

/// Band files, and the band template, which the user's default band may replace.
///
/// A band file is a JSON object "params" of plain values under the keys of band 1, whichever band
/// was saved, followed by a zero byte. Bands are 0..7; a call for any other band does nothing. Each
/// change of a band is one undo step and reaches the engine as one. Threads: message thread.
class BandFiles {
 public:
  BandFiles(EditedParameters& edited, const InstallFolders& installed) noexcept
      : parameters(edited), folders(installed) {}

  /// Writes a band to the text of a band file. Returns its length including the zero byte; 0 if
  /// there is no such band.
  std::int32_t saveBand(std::string& text, int band) const;
  /// Loads a band from the text of a band file, zero-terminated or not. Rows that it lacks stay as
  /// they are. False, with nothing changed, if the text is no band file.
  bool loadBandFromText(const char* text, std::size_t size, int band);
  /// Sets the rows of a band to the values of the band template.
  void resetBand(int band);

  /// Reads the default band into the template of all bands: the user's, otherwise the factory one.
  /// Without either the template stays; the user is told of a file that is no band file.
  void loadBandTemplate();
  /// Makes a band the user's default. If its file cannot be written, nothing changes.
  void saveDefaultBand(int band);

  // Save and load files that the user has chosen. On failure they tell the user and return false.
  bool saveBandFile(const std::string& path, int band) const;
  bool loadBandFile(const std::string& path, int band);

  /// The present contents of the user's folder of bands and its subfolders.
  [[nodiscard]] PresetMenu bandPresets() const;
  // Ask for a file in that folder, which is created if missing, and act on it once the user has
  // answered; nothing happens on cancel. This must live until then.
  void saveBandDialog(Dialogs& dialogs, int band) const;
  void loadBandDialog(Dialogs& dialogs, int band);

 private:
  using Values = std::array<std::optional<float>, kBandFileRows.size()>;  // plain

  [[nodiscard]] std::optional<Values> valuesIn(const JsonNode* root) const;
  void apply(int band, const Values& values);
  [[nodiscard]] std::string ownFolder() const;
  [[nodiscard]] bool writeBand(const std::string& path, int band) const;

  EditedParameters& parameters;
  const InstallFolders& folders;
  std::string defaultPath;  // file of the user's default band; empty without a folder for it
};
