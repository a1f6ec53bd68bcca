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

/// Rows of a band that a band file holds, in its order, as ids of band 1: all but where the band
/// sits, of which kind it is, whether it runs or is heard alone, and which band it listens to.
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

/// Band files, and the band template that one of them may replace.
///
/// A band file is an object "params" of plain values under the keys of band 1, whichever band it is
/// of, with a zero byte behind the text. Bands are 0..7; another one does nothing. What changes a
/// band does it as one step of the history, and the engine hears of all of it at once. Threads:
/// message thread.
class BandFiles {
 public:
  BandFiles(EditedParameters& edited, const InstallFolders& installed) noexcept
      : parameters(edited), folders(installed) {}

  /// Gives the text of a band's file. Returns its length with the zero behind it; 0 for no band.
  std::int32_t saveBand(std::string& text, int band) const;
  /// Takes the text of a band file, zero-terminated or not. Rows it does not hold stay. False, with
  /// nothing changed, when it is none.
  bool loadBandFromText(const char* text, std::size_t size, int band);
  /// Takes the values of the band template.
  void resetBand(int band);

  /// Reads the user's or else the product's default band into the template of all bands. Where
  /// there is none the template stays; of one that is no band file the user is told.
  void loadBandTemplate();
  /// Makes a band the user's default. When it cannot be written, all stays as it is.
  void saveDefaultBand(int band);

  // Files that the user has chosen: false when it failed, and the user has been told.
  bool saveBandFile(const std::string& path, int band) const;
  bool loadBandFile(const std::string& path, int band);

  /// The user's folder of bands with those below it, as it is now.
  [[nodiscard]] PresetMenu bandPresets() const;
  // Ask for a file in that folder, which is made if it is missing, and act on it once the user has
  // answered; nothing happens on cancel. This must live until then.
  void saveBandDialog(Dialogs& dialogs, int band) const;
  void loadBandDialog(Dialogs& dialogs, int band);

 private:
  using Values = std::array<std::optional<float>, kBandFileRows.size()>;  // plain

  [[nodiscard]] std::optional<Values> parse(const std::string& text) const;
  void apply(int band, const Values& values);
  [[nodiscard]] std::string ownFolder() const;
  [[nodiscard]] bool writeBand(const std::string& path, int band) const;

  EditedParameters& parameters;
  const InstallFolders& folders;
  std::string defaultPath;  // of the user's default band; empty without a folder for it
};
