#pragma once

#include <array>

#include "editing/parameter_edits.h"

class EditedParameters;

/// The bands that an entry of the band menu applies to, numbered by its place in its submenu.
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

// The question asked before bands are sorted, unless the preference is off.
inline constexpr const char* kSortPreference = "Sorting Warning";
inline constexpr const char* kSortCaption = "Halvekro : Confirmation";
inline constexpr const char* kSortQuestion =
    "Sorting bands into order may cause existing automation data to replay for the wrong bands. Do "
    "you still wish to continue?";

/// The actions of a band's menu. Each call is one undo step, but changes of locks and links are not
/// undone. Bands are 0..7; a call for any other band does nothing. Threads: message thread.
class BandEdits {
 public:
  explicit BandEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  // Lock, unlock, link or unlink the rows of the running bands in a `BandScope`: all rows from
  // `kB1Threshold` on, so not state, bypass, type, shape and solo.
  void lock(int band, int scope, BandMask selected) { setLocks(band, scope, selected, true); }
  void unlock(int band, int scope, BandMask selected) { setLocks(band, scope, selected, false); }
  /// Frequencies and gains are left out. The linked rows take the values of `band`.
  void link(int band, int scope, BandMask selected) { setLinks(band, scope, selected, true); }
  /// As `link`: the rows take the values of `band` one last time.
  void unlink(int band, int scope, BandMask selected) { setLinks(band, scope, selected, false); }

  /// Target of `copyBand` for all other bands.
  static constexpr int kEveryTarget = -1;
  /// Copies a band's rows with their locks and links, except those that `lock` leaves out,
  /// frequency and slopes. Locked rows of the target are overwritten, too.
  void copyBand(int source, int target);

  /// Renumbers the bands in the order of the chain. The chain and the sound stay the same: rows,
  /// locks and links move to the new numbers, and parameters that name a band name its new number.
  /// False, with nothing changed, if the bands are in order already or the chain does not agree
  /// with the parameters.
  bool sortBands();

 private:
  using Order = std::array<int, kNumBands>;  // old band number, indexed by the new one

  [[nodiscard]] BandMask bandsIn(int band, int scope, BandMask selected) const;
  void setLocks(int band, int scope, BandMask selected, bool on);
  void setLinks(int band, int scope, BandMask selected, bool on);
  void copyRow(int from, int to);
  [[nodiscard]] bool findOrder(Order& order);
  void moveRows(const Order& order);
  void change(int index, float normalised);

  EditedParameters& parameters;
};
