#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "dynamics/bands.h"
#include "platform/plug_base_mutex.h"

/// The four lists of a `BandLayout`.
enum BandList : int { kPreList = 0, kXoverList = 1, kPostList = 2, kOffList = 3 };

/// The shape of the chain: which bands run before the crossover, inside it, after it, or not at
/// all. `order` is the concatenation of the lists; the XOver list ascends by frequency.
///
/// Threads: any but the audio thread. Operations lock by themselves; fields must be accessed under
/// the lock (`Scope`). The audio thread sees the chain only through `StagePlan`.
class BandLayout : public PlugBaseMutex {
 public:
  using List = std::vector<std::int32_t>;
  /// A packed order times this is a whole number: seven band numbers of three bits each.
  static constexpr double kOrderScale = 2097152.0;  // 2^21

  /// Band 0 in the XOver list, the others off.
  BandLayout();

  /// Sorts the bands into the four lists by `state`, `isXover`, `frequency` and a packed order (see
  /// `bandOrderValue`). False, with nothing changed, if the value names a band twice or the order
  /// is no valid chain: Pre, XOver by ascending frequency, Post, Off.
  bool applyBandOrder(double value);
  /// As `applyBandOrder`, but arranges the bands even if the order is refused: as far as possible
  /// in the given order, otherwise by number. Dynamic EQ bands before the first crossover band
  /// become Pre. Crossover bands are sorted by frequency; only equal frequencies can leave the
  /// chain invalid.
  void arrangeBands(double value);
  /// The present order: the first seven bands, three bits each from the lowest up, times 2^-21.
  [[nodiscard]] double bandOrderValue();
  /// Moves a band into a list, before the first band that is not below it in frequency. `frequency`
  /// in Hz; 0 keeps the stored one. Does nothing if the band is in that list already.
  void moveBand(int band, int list, double frequency);
  /// Position of a band; an unknown one is off.
  struct Place {
    int list = kOffList;
    int index = -1;  ///< in the list
  };
  [[nodiscard]] Place placeOf(int band);
  /// The band's place in the XOver list, or -1.
  [[nodiscard]] int crossoverIndex(int band);
  /// A number that changes whenever the lists change; any thread.
  [[nodiscard]] unsigned revision() const noexcept { return changes.load(); }
  /// Copies of lists, taken under the lock.
  [[nodiscard]] List copyOf(const List& list);

  std::array<bool, kNumBands> state{};    ///< the band is active
  std::array<bool, kNumBands> isXover{};  ///< the band is a crossover band
  std::array<std::int32_t, kNumBands> order{};
  List pre;
  List post;
  List xover;
  List off;
  List orderList;                             ///< same values as `order`
  std::array<double, kNumBands> frequency{};  ///< Hz, each band's centre

 private:
  using Lists = std::array<List, 4>;  // by `BandList`
  using Order = std::array<std::int32_t, kNumBands>;

  [[nodiscard]] static bool decodeOrder(double value, Order& decoded) noexcept;
  [[nodiscard]] std::size_t listFor(std::int32_t band, bool behindCrossover) const;
  [[nodiscard]] bool sortIntoLists(const Order& wanted, Lists& lists) const;
  [[nodiscard]] List& listNumber(int list) noexcept;
  void takeLists(Lists&& lists);
  void rebuildOrder();

  std::atomic<unsigned> changes{0};
};
