#pragma once

#include <array>

#include "editing/parameter_edits.h"

class EditedParameters;

/// Which bands an entry of the band menu means, by its place in its submenu.
enum BandScope : int {
  kThisBand,
  kOtherBands,
  kAllBands,
  kCrossoverBands,
  kDynamicBands,
  kSelectedBands,
};
inline constexpr std::array<const char*, 6> kBandScopeTexts = {
    "This band",       "All other bands",   "All bands",
    "All XOver bands", "All Dynamic bands", "All selected bands"};

// Asked before the bands are sorted, unless this preference is off.
inline constexpr const char* kSortPreference = "Sorting Warning";
inline constexpr const char* kSortCaption = "Halvekro : Confirmation";
inline constexpr const char* kSortQuestion =
    "Sorting bands into order may cause existing automation data to replay for the wrong bands. Do "
    "you still wish to continue?";

/// Does what the menu of a band offers, each call as one step of the history; locks and links
/// themselves are no part of that. Bands are 0..7; another one does nothing. Threads: message
/// thread.
class BandEdits {
 public:
  explicit BandEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  // Locks and links of all rows of the running bands in a `BandScope`, but for what says where a
  // band sits, of which kind it is and whether it is heard.
  void lock(int band, int scope, BandMask selected) { setLocks(band, scope, selected, true); }
  void unlock(int band, int scope, BandMask selected) { setLocks(band, scope, selected, false); }
  /// Frequencies and gains stay alone; their rows take the values of `band`.
  void link(int band, int scope, BandMask selected) { setLinks(band, scope, selected, true); }
  /// As `link`: the rows take the values of `band` a last time.
  void unlink(int band, int scope, BandMask selected) { setLinks(band, scope, selected, false); }

  /// What `copyBand` takes for all bands.
  static constexpr int kEveryTarget = -1;
  /// Copies rows with their locks and links, but for what `lock` leaves out, frequency and slopes.
  /// A lock of the target does not hold this off.
  void copyBand(int source, int target);

  /// Numbers the bands by their order in the chain, which stays as it is, and so does the sound:
  /// rows, locks and links move, and what names a band names it by its new number. False, with
  /// nothing changed, when they are in order, and while the chain does not follow its parameters.
  bool sortBands();

 private:
  using Order = std::array<int, kNumBands>;  // old numbers by new ones

  [[nodiscard]] BandMask bandsIn(int band, int scope, BandMask selected) const;
  void setLocks(int band, int scope, BandMask selected, bool on);
  void setLinks(int band, int scope, BandMask selected, bool on);
  void copyRow(int from, int to);
  [[nodiscard]] bool findOrder(Order& order);
  void moveRows(const Order& order);
  void change(int index, float normalised);

  EditedParameters& parameters;
};
